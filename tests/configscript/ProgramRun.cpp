#include "ProgramRun.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <unistd.h>

namespace {

QString withoutDurations(QString text)
{
    static const QRegularExpression textDuration(QStringLiteral("\\d+\\.\\d ms"));
    static const QRegularExpression jsonDuration(QStringLiteral("\"milliseconds\": [-+.e\\d]+"));
    return text.replace(textDuration, QStringLiteral("# ms"))
        .replace(jsonDuration, QStringLiteral("\"milliseconds\": \"#\""));
}

/// The command that starts the program. An emulator stands in front of the program where the
/// machine is not the one it is built for.
QStringList command()
{
    return QStringLiteral(CONFIGSCRIPT_COMMAND).split(QLatin1Char('|'), Qt::SkipEmptyParts);
}

} // namespace

QString ProgramRun::outputWithoutProgress() const
{
    static const QRegularExpression progress(QStringLiteral("(\r\033\\[K[A-Z][^\r]*)+\r\033\\[K"));
    return QString(output).remove(progress);
}

Files ProgramRun::files() const
{
    return {{QStringLiteral("exit code"), QByteArray::number(exitCode) + '\n'},
            {QStringLiteral("standard output"), output.toUtf8()},
            {QStringLiteral("standard error"), errors.toUtf8()}};
}

Program::Program(const QString &folder)
    : m_folder(QFileInfo(folder).canonicalFilePath())
    , m_environment(QProcessEnvironment::systemEnvironment())
{
    const QStringList names = m_environment.keys();
    for (const QString &name : names) {
        if (name == QLatin1String("LANG") || name == QLatin1String("LANGUAGE")
            || name == QLatin1String("TZ") || name == QLatin1String("NO_COLOR")
            || name.startsWith(QLatin1String("LC_")) || name.startsWith(QLatin1String("QT_"))) {
            m_environment.remove(name);
        }
    }
    setVariable(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
}

void Program::setVariable(const QString &name, const QString &value)
{
    m_environment.insert(name, value);
}

void Program::setLauncher(const QStringList &launcher)
{
    m_launcher = launcher;
}

void Program::setShellCommand(const QString &command)
{
    setLauncher({QStringLiteral("bash"), QStringLiteral("-c"), command, QStringLiteral("bash")});
}

void Program::runInTerminal()
{
    m_outputs = Outputs::Terminal;
}

void Program::runWithoutPrivilege()
{
    if (geteuid() == 0) {
        setLauncher({QStringLiteral("setpriv"),
                     QStringLiteral("--bounding-set=-dac_override,-dac_read_search"),
                     QStringLiteral("--inh-caps=-dac_override,-dac_read_search")});
    }
}

ProgramRun Program::run(const QStringList &arguments) const
{
    const ChildProcess process =
        runChildProcess(m_launcher + command() + arguments, m_folder, m_environment, m_outputs);
    const auto text = [this](const QByteArray &bytes) {
        return QString::fromUtf8(bytes).replace(m_folder, QLatin1String("<folder>"));
    };
    return {process.exitCode, withoutDurations(text(process.output)), text(process.errors)};
}

std::unique_ptr<RunningProcess> Program::start(const QStringList &arguments) const
{
    return std::make_unique<RunningProcess>(m_launcher + command() + arguments, m_folder,
                                            m_environment, m_outputs);
}

bool Program::isEmulated()
{
    return command().size() > 1;
}
