#include "ChildProcess.h"

#include <QFile>
#include <QTemporaryFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Texts as the system's calls take them: pointers, ended by a null pointer.
class CStrings
{
public:
    explicit CStrings(const QStringList &texts)
    {
        m_texts.reserve(texts.size());
        for (const QString &text : texts) {
            m_texts.append(QFile::encodeName(text));
        }
        for (QByteArray &text : m_texts) {
            m_pointers.append(text.data());
        }
        m_pointers.append(nullptr);
    }

    char *const *data() const { return m_pointers.constData(); }

private:
    QList<QByteArray> m_texts;
    QVector<char *> m_pointers;
};

ChildProcess notRun(const QByteArray &reason)
{
    return {-1, QByteArray(), "did not run to its end: " + reason + '\n'};
}

QByteArray contents(QTemporaryFile &file)
{
    file.seek(0);
    return file.readAll();
}

} // namespace

ChildProcess runChildProcess(const QStringList &command, const QString &folder,
                             const QProcessEnvironment &environment)
{
    QTemporaryFile output;
    QTemporaryFile errors;
    if (!output.open() || !errors.open()) {
        return notRun("no temporary file");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, QFile::encodeName(folder).constData());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output.handle(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors.handle(), STDERR_FILENO);

    const CStrings arguments(QStringList{QStringLiteral("timeout"), QStringLiteral("--foreground"),
                                         QStringLiteral("--signal=KILL"), QStringLiteral("120")}
                             + command);
    const CStrings variables(environment.toStringList());
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, "timeout", &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        return notRun(std::strerror(error));
    }
    int status = 0;
    while (waitpid(process, &status, 0) == -1 && errno == EINTR) { }
    // The shells' convention for a program that is not there, cannot run, or ended by a signal.
    constexpr int firstFailureToRun = 125;
    if (!WIFEXITED(status) || WEXITSTATUS(status) >= firstFailureToRun) {
        return notRun("status " + QByteArray::number(status) + "\n" + contents(errors));
    }
    return {WEXITSTATUS(status), contents(output), contents(errors)};
}
