#include "BatchJournal.h"

#include "filehost/Descriptor.h"
#include "filehost/JsonText.h"
#include "filehost/JsonValue.h"
#include "filehost/TextFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

const QLatin1String s_file("file");
const QLatin1String s_otherProject("alsoIn");
const QLatin1String s_owner("belongsTo");
const QLatin1String s_state("state");
const QLatin1String s_replacing("replacing");
const QLatin1String s_undoing("undoing");

} // namespace

BatchJournal::BatchJournal(const QString &projectPath)
    : m_projectPath(projectPath)
{
}

BatchJournal::~BatchJournal() = default;

QString BatchJournal::filePath(const QString &projectPath)
{
    return projectPath + QStringLiteral("/.configscript-journal");
}

std::optional<BatchJournal::Content> BatchJournal::read(const QString &projectPath,
                                                        Diagnostic &error)
{
    constexpr qint64 maximumSize = qint64(256) * 1024 * 1024;
    QByteArray text;
    if (TextFile::read(filePath(projectPath), maximumSize, text, error)
        != TextFile::ReadResult::Read) {
        return std::nullopt;
    }
    // Paths in the journal begin at the real folder, wherever the project is reached from.
    const QDir folder(QFileInfo(projectPath).canonicalFilePath());
    Content content;
    for (int begin = 0, end = 0; (end = text.indexOf('\n', begin)) >= 0; begin = end + 1) {
        Diagnostic lineError;
        const JsonText line = JsonText::parse(text.mid(begin, end - begin), lineError);
        const QVariantMap member = line.isNull() ? QVariantMap() : line.value(0).toMap();
        const QString value = member.isEmpty() ? QString() : member.first().toString();
        if (member.size() != 1 || member.first().type() != QVariant::String || value.isEmpty()) {
            error = {filePath(projectPath), text.left(begin).count('\n') + 1, 0,
                     QStringLiteral("expected an object with one member in each line")};
            return std::nullopt;
        }
        const QString &key = member.firstKey();
        const QString path = QDir::cleanPath(folder.absoluteFilePath(value));
        if (key == s_file) {
            content.files.append(path);
        } else if (key == s_otherProject) {
            content.otherProjects.append(path);
        } else if (key == s_owner) {
            content.owner = path;
        } else if (key == s_state && value == s_replacing) {
            content.state = State::Replacing;
        } else if (key == s_state && value == s_undoing) {
            content.state = State::Undoing;
        } else {
            error = {filePath(projectPath), text.left(begin).count('\n') + 1, 0,
                     QStringLiteral("expected a member of a journal, found \"%1\"").arg(key)};
            return std::nullopt;
        }
    }
    return content;
}

bool BatchJournal::create(Diagnostic &error)
{
    m_file = std::make_unique<Descriptor>(
        ::open(QFile::encodeName(filePath(m_projectPath)).constData(),
               O_CREAT | O_EXCL | O_WRONLY | O_APPEND | O_CLOEXEC, 0666));
    return *m_file >= 0 || fail(error);
}

bool BatchJournal::addFile(const QString &filePath, Diagnostic &error)
{
    return append(s_file, relative(filePath), error);
}

bool BatchJournal::addProject(const QString &projectPath, Diagnostic &error)
{
    return append(s_otherProject, relative(projectPath), error);
}

bool BatchJournal::setOwner(const QString &projectPath, Diagnostic &error)
{
    return append(s_owner, relative(projectPath), error) && sync(error);
}

bool BatchJournal::setState(State state, Diagnostic &error)
{
    const QLatin1String value = state == State::Replacing ? s_replacing : s_undoing;
    return sync(error) && append(s_state, value, error) && sync(error);
}

bool BatchJournal::remove(Diagnostic &error)
{
    m_file.reset();
    return ::unlink(QFile::encodeName(filePath(m_projectPath)).constData()) == 0 || errno == ENOENT
        || fail(error);
}

bool BatchJournal::append(QLatin1String member, const QString &value, Diagnostic &error)
{
    const QByteArray line =
        JsonValue::toText(QVariantMap{{member, value}}, JsonValue::Layout::Compact) + '\n';
    const off_t end = ::lseek(*m_file, 0, SEEK_END);
    if (::write(*m_file, line.constData(), size_t(line.size())) == line.size()) {
        return true;
    }
    fail(error);
    // On a full disk a part of the line may have been written.
    const int ignored = end < 0 ? 0 : ::ftruncate(*m_file, end);
    Q_UNUSED(ignored)
    return false;
}

QString BatchJournal::relative(const QString &path) const
{
    return QDir(m_projectPath).relativeFilePath(path);
}

bool BatchJournal::sync(Diagnostic &error)
{
    return ::fsync(*m_file) == 0 || fail(error);
}

bool BatchJournal::fail(Diagnostic &error) const
{
    error = {filePath(m_projectPath), 0, 0,
             QStringLiteral("cannot be written: ") + qt_error_string(errno)};
    return false;
}
