#include "BatchJournal.h"

#include "filehost/ProjectLayout.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"
#include "filehost/store/Descriptor.h"
#include "filehost/store/StagedFile.h"
#include "filehost/store/TextFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace ConfigScript {

namespace {

const QLatin1String s_number("number");
const QLatin1String s_file("file");
const QLatin1String s_folder("folder");
const QLatin1String s_otherProject("alsoIn");
const QLatin1String s_owner("belongsTo");
const QLatin1String s_state("state");
const QLatin1String s_saved("saved");

QByteArray lineOf(QLatin1String member, const QString &value)
{
    return JsonValue::toText(QVariantMap{{member, value}}, JsonValue::Layout::Compact) + '\n';
}

} // namespace

BatchJournal::BatchJournal(const QString &projectPath)
    : m_projectPath(projectPath)
    , m_filePath(ProjectLayout(projectPath).journalFile())
{
}

BatchJournal::~BatchJournal() = default;

std::optional<BatchJournal::Content> BatchJournal::read(const QString &projectPath,
                                                        Diagnostic &error)
{
    constexpr qint64 maximumSize = qint64(256) * 1024 * 1024;
    QByteArray text;
    if (TextFile::read(ProjectLayout(projectPath).journalFile(), maximumSize, text, error)
        != TextFile::ReadResult::Read) {
        return std::nullopt;
    }
    // Paths in the journal begin at the real folder, wherever the project is reached from.
    const QDir folder(QFileInfo(projectPath).canonicalFilePath());
    Content content;
    content.filePath = ProjectLayout(projectPath).journalFile();
    for (int begin = 0, end = 0; (end = text.indexOf('\n', begin)) >= 0; begin = end + 1) {
        Diagnostic lineError;
        const JsonText line = JsonText::parse(text.mid(begin, end - begin), lineError);
        const QVariantMap member = line.isNull() ? QVariantMap() : line.value(0).toMap();
        const QString value = member.isEmpty() ? QString() : member.first().toString();
        if (member.size() != 1 || member.first().type() != QVariant::String || value.isEmpty()) {
            error = {content.filePath, text.left(begin).count('\n') + 1, 0,
                     QStringLiteral("expected an object with one member in each line")};
            return std::nullopt;
        }
        const QString &key = member.firstKey();
        const QString path = QDir::cleanPath(folder.absoluteFilePath(value));
        bool isNumber = false;
        const qint64 number = value.toLongLong(&isNumber);
        if (key == s_number && isNumber) {
            content.number = number;
        } else if (key == s_file) {
            content.files.append(path);
        } else if (key == s_folder) {
            content.folders.append(path);
        } else if (key == s_otherProject) {
            content.otherProjects.append(path);
        } else if (key == s_owner) {
            content.owner = path;
        } else if (key == s_state && value == s_saved) {
            content.isSaved = true;
        } else {
            error = {content.filePath, text.left(begin).count('\n') + 1, 0,
                     QStringLiteral("expected a member of a journal, found \"%1\"").arg(key)};
            return std::nullopt;
        }
    }
    return content;
}

bool BatchJournal::create(qint64 number, Diagnostic &error)
{
    m_file = std::make_unique<Descriptor>(::open(QFile::encodeName(m_filePath).constData(),
                                                 O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666));
    m_size = 0;
    if (*m_file < 0) {
        return fail(error);
    }
    if (!append(s_number, QString::number(number), error)) {
        Diagnostic ignored; // recovered as a batch without files
        remove(ignored);
        return false;
    }
    return true;
}

bool BatchJournal::addFile(const QString &filePath, Diagnostic &error)
{
    return append(s_file, relative(filePath), error);
}

bool BatchJournal::addFolder(const QString &folderPath, Diagnostic &error)
{
    return append(s_folder, relative(folderPath), error);
}

bool BatchJournal::addProject(const QString &projectPath, Diagnostic &error)
{
    return append(s_otherProject, relative(projectPath), error);
}

bool BatchJournal::sync(Diagnostic &error) const
{
    const Descriptor file(
        ::open(QFile::encodeName(m_filePath).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return (file >= 0 && ::fsync(file) == 0) || fail(error);
}

bool BatchJournal::setSaved(Diagnostic &error)
{
    const off_t size = m_size;
    if (!append(s_state, s_saved, error)) {
        return false;
    }
    if (sync(error)) {
        return true;
    }
    // Whoever reads the journal now finds the line. Unless it can be taken back, it holds.
    if (::ftruncate(*m_file, size) != 0) {
        return true;
    }
    Diagnostic ignored; // the disk is broken, whatever this says
    sync(ignored);
    return false;
}

bool BatchJournal::pointTo(const QString &ownersPath, qint64 number, Diagnostic &error) const
{
    const StagedFile file(m_filePath, number);
    const bool isMade = file.write(lineOf(s_owner, relative(ownersPath)), error) && file.sync(error)
        && file.placeNew(error);
    Diagnostic ignored;
    giveUpPointing(number, ignored);
    return isMade;
}

bool BatchJournal::giveUpPointing(qint64 number, Diagnostic &error) const
{
    return StagedFile(m_filePath, number).discard(error);
}

bool BatchJournal::remove(Diagnostic &error)
{
    m_file.reset();
    return ::unlink(QFile::encodeName(m_filePath).constData()) == 0 || errno == ENOENT
        || fail(error);
}

bool BatchJournal::append(QLatin1String member, const QString &value, Diagnostic &error)
{
    // A line that was written in part is overwritten by the next one.
    const QByteArray line = lineOf(member, value);
    if (!m_file->write(line, m_size)) {
        return fail(error);
    }
    m_size += line.size();
    return true;
}

QString BatchJournal::relative(const QString &path) const
{
    return QDir(m_projectPath).relativeFilePath(path);
}

bool BatchJournal::fail(Diagnostic &error) const
{
    error = {m_filePath, 0, 0, QStringLiteral("cannot be written: ") + qt_error_string(errno)};
    return false;
}

} // namespace ConfigScript
