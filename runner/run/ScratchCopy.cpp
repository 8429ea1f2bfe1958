#include "ScratchCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace {

/// The parts of a project's folder.
QStringList projectEntries()
{
    return {QStringLiteral("project.json"), QStringLiteral("providers.json"),
            QStringLiteral("units.json"),   QStringLiteral("configuration"),
            QStringLiteral("dependency"),   QStringLiteral("process"),
            QStringLiteral("scripts"),      QStringLiteral("texts")};
}

QString targetOf(const QFileInfo &link)
{
    return QDir::cleanPath(link.symLinkTarget());
}

bool isInside(const QString &folder, const QString &path)
{
    return path.startsWith(folder + QLatin1Char('/'));
}

/// The files and links that make a project.
class ProjectFiles
{
public:
    explicit ProjectFiles(const QString &folder)
        : m_folder(folder)
    {
        const QStringList entries = projectEntries();
        for (const QString &entry : entries) {
            collect(folder + QLatin1Char('/') + entry);
        }
    }

    const QStringList &files() const { return m_files; }

    /// Which folder cannot be read; no message for none.
    const Diagnostic &error() const { return m_error; }

private:
    void collect(const QString &path)
    {
        const QFileInfo info(path);
        if (m_known.contains(path)) {
            return;
        }
        m_known.insert(path);
        if (info.isSymLink()) {
            m_files.append(path);
            // Links that stay inside the project are followed, wherever they lead.
            const QString target = targetOf(info);
            if (isInside(m_folder, target)) {
                collect(target);
            }
        } else if (info.isFile()) {
            m_files.append(path);
        } else if (info.isDir()) {
            collectFolder(info);
        }
    }

    void collectFolder(const QFileInfo &folder)
    {
        if (!folder.isReadable() || !folder.isExecutable()) {
            m_error = {folder.filePath(), 0, 0,
                       QStringLiteral("cannot be copied: no permission to read the folder")};
            return;
        }
        const QStringList names = QDir(folder.filePath())
                                      .entryList(QDir::Files | QDir::Dirs | QDir::Hidden
                                                 | QDir::System | QDir::NoDotAndDotDot);
        for (const QString &name : names) {
            collect(folder.filePath() + QLatin1Char('/') + name);
        }
    }

    const QString m_folder;
    QSet<QString> m_known;
    QStringList m_files;
    Diagnostic m_error;
};

QString commonFolderOf(const QStringList &folders)
{
    QStringList common = folders.constFirst().split(QLatin1Char('/'));
    for (const QString &folder : folders) {
        const QStringList names = folder.split(QLatin1Char('/'));
        int equal = 0;
        while (equal < common.size() && equal < names.size()
               && common.at(equal) == names.at(equal)) {
            ++equal;
        }
        common = common.mid(0, equal);
    }
    return common.join(QLatin1Char('/'));
}

/// @param stamp of a file when it was copied; that of no file for a link
bool isAsCopied(const QString &path, const TextFile::Stamp &stamp)
{
    return stamp.size < 0 ? QFileInfo(path).isSymLink()
                          : TextFile::areEqual(TextFile::stampOf(path), stamp);
}

} // namespace

std::unique_ptr<ScratchCopy> ScratchCopy::make(const Project &project, Diagnostic &error)
{
    std::unique_ptr<ScratchCopy> copy(new ScratchCopy);
    if (!copy->m_scratch.isValid()) {
        error = {QDir::tempPath(), 0, 0,
                 QStringLiteral("no folder for a copy of the project: ")
                     + copy->m_scratch.errorString()};
        return nullptr;
    }
    const QHash<QString, QString> otherFiles = project.otherFiles();
    QStringList originals = otherFiles.values();
    originals.append(project.path());
    originals.removeDuplicates();
    // Its own folder has a name in the copy, even if it is the only one.
    const QString common = commonFolderOf(originals);
    copy->m_commonFolder = common.left(std::max(0, common.lastIndexOf(QLatin1Char('/'))));
    for (const QString &original : qAsConst(originals)) {
        copy->m_folders.append(copy->copyOf(original));
    }
    for (const QString &original : qAsConst(originals)) {
        const ProjectFiles originalFiles(original);
        error = originalFiles.error();
        if (!error.message.isEmpty()) {
            return nullptr;
        }
        for (const QString &file : originalFiles.files()) {
            const QString to = copy->copyOf(file);
            // One project may lie in another one's folder.
            if (!copy->m_files.contains(to) && !copy->copyFile(file, to, error)) {
                return nullptr;
            }
        }
    }
    copy->m_project = Project::open(copy->copyOf(project.path()), error);
    if (!copy->m_project) {
        return nullptr;
    }
    QHash<QString, QString> copiedFiles;
    for (auto other = otherFiles.cbegin(); other != otherFiles.cend(); ++other) {
        copiedFiles.insert(other.key(), copy->copyOf(other.value()));
    }
    copy->m_project->setOtherFiles(copiedFiles);
    return copy;
}

QString ScratchCopy::originalOf(const QString &filePath) const
{
    return filePath.startsWith(m_scratch.path() + QLatin1Char('/'))
        ? m_commonFolder + filePath.mid(m_scratch.path().size())
        : filePath;
}

QString ScratchCopy::copyOf(const QString &path) const
{
    return m_scratch.path() + path.mid(m_commonFolder.size());
}

bool ScratchCopy::copyFile(const QString &from, const QString &to, Diagnostic &error)
{
    QDir().mkpath(QFileInfo(to).path());
    const QFileInfo info(from);
    bool isCopied = false;
    QString reason;
    if (info.isSymLink()) {
        // What a link leads to is copied if it lies in a project, and stays where it is otherwise.
        const QString target = targetOf(info);
        const bool isCopiedToo =
            std::any_of(m_folders.cbegin(), m_folders.cend(), [&](const QString &folder) {
                return isInside(originalOf(folder), target);
            });
        isCopied =
            QFile::link(isCopiedToo ? QDir(info.path()).relativeFilePath(target) : target, to);
        reason = QStringLiteral("it is a link");
    } else {
        // Unlike QFile::copy() it waits for no disk, and keeps the permissions for any user.
        std::error_code code;
        isCopied = std::filesystem::copy_file(QFile::encodeName(from).toStdString(),
                                              QFile::encodeName(to).toStdString(), code);
        reason = QString::fromStdString(code.message());
    }
    if (!isCopied) {
        error = {from, 0, 0, QStringLiteral("cannot be copied to %1: %2").arg(to, reason)};
        return false;
    }
    m_files.insert(to, info.isSymLink() ? TextFile::Stamp() : TextFile::stampOf(to));
    return true;
}

bool ScratchCopy::restore(Diagnostic &error)
{
    QStringList changed;
    for (auto file = m_files.cbegin(); file != m_files.cend(); ++file) {
        if (!isAsCopied(file.key(), *file)) {
            changed.append(file.key());
        }
    }
    QStringList superfluous = changed;
    for (const QString &folder : qAsConst(m_folders)) {
        const QStringList files = ProjectFiles(folder).files();
        std::copy_if(files.begin(), files.end(), std::back_inserter(superfluous),
                     [this](const QString &file) { return !m_files.contains(file); });
    }
    for (const QString &file : qAsConst(superfluous)) {
        if (!QFile::remove(file) && QFileInfo::exists(file)) {
            error = {file, 0, 0, QStringLiteral("cannot be removed")};
            return false;
        }
    }
    return std::all_of(changed.cbegin(), changed.cend(), [&](const QString &file) {
        return copyFile(originalOf(file), file, error);
    });
}
