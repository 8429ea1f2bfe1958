#include "ScratchCopy.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <iterator>

namespace {

/// The parts of a project's folder.
QStringList projectEntries()
{
    return {QStringLiteral("project.json"), QStringLiteral("providers.json"),
            QStringLiteral("units.json"),   QStringLiteral("configuration"),
            QStringLiteral("dependency"),   QStringLiteral("process"),
            QStringLiteral("scripts"),      QStringLiteral("texts")};
}

/// The files, and links, that make the project in @p folder.
QStringList projectFiles(const QString &folder)
{
    QStringList files;
    const QStringList entries = projectEntries();
    for (const QString &entry : entries) {
        const QFileInfo info(folder + QLatin1Char('/') + entry);
        if (info.isDir() && !info.isSymLink()) {
            QDirIterator iterator(info.filePath(),
                                  QDir::Files | QDir::Dirs | QDir::Hidden | QDir::System
                                      | QDir::NoDotAndDotDot,
                                  QDirIterator::Subdirectories);
            while (iterator.hasNext()) {
                iterator.next();
                const QFileInfo file = iterator.fileInfo();
                if (file.isSymLink() || file.isFile()) {
                    files.append(file.filePath());
                }
            }
        } else if (info.isSymLink() || info.isFile()) {
            files.append(info.filePath());
        }
    }
    return files;
}

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

bool areEqual(const TextFile::Stamp &left, const TextFile::Stamp &right)
{
    return left.device == right.device && left.inode == right.inode && left.size == right.size
        && left.modified == right.modified && left.changed == right.changed;
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
    copy->m_commonFolder = QFileInfo(commonFolderOf(originals)).path();
    for (const QString &original : qAsConst(originals)) {
        copy->m_folders.append(copy->copyOf(original));
        const QStringList files = projectFiles(original);
        for (const QString &file : files) {
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
    return m_commonFolder + filePath.mid(m_scratch.path().size());
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
        isCopied = QFile::link(QDir(info.path()).relativeFilePath(info.symLinkTarget()), to);
        reason = QStringLiteral("it is a link");
    } else {
        QFile file(from);
        isCopied = file.copy(to);
        reason = file.errorString();
    }
    if (!isCopied) {
        error = {from, 0, 0, QStringLiteral("cannot be copied to %1: %2").arg(to, reason)};
        return false;
    }
    m_files.insert(to, TextFile::stampOf(to));
    return true;
}

bool ScratchCopy::restore(Diagnostic &error)
{
    QStringList changed;
    for (auto file = m_files.cbegin(); file != m_files.cend(); ++file) {
        if (!areEqual(TextFile::stampOf(file.key()), *file)) {
            changed.append(file.key());
        }
    }
    QStringList superfluous = changed;
    for (const QString &folder : qAsConst(m_folders)) {
        const QStringList files = projectFiles(folder);
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
