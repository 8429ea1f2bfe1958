#include "Graphviz.h"

#include "configscript/report/Output.h"
#include "filehost/TextFile.h"

#include <QProcess>
#include <QStandardPaths>

namespace {

constexpr int s_shownMessages = 10;

} // namespace

Graphviz::Graphviz()
    : m_program(QStandardPaths::findExecutable(QStringLiteral("dot")))
{
}

QString Graphviz::error() const
{
    return m_program.isEmpty()
        ? QStringLiteral("the program dot, which draws, is not in PATH; install the Debian package "
                         "graphviz")
        : QString();
}

bool Graphviz::draw(const QByteArray &dot, const QString &format, const QString &filePath) const
{
    QProcess process;
    process.start(m_program, {QStringLiteral("-T") + format});
    process.write(dot);
    process.closeWriteChannel();
    process.waitForFinished(-1);
    const QStringList messages = QString::fromUtf8(process.readAllStandardError())
                                     .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QStringList shown = messages.mid(0, s_shownMessages);
    for (const QString &message : shown) {
        Output::error(m_program + QStringLiteral(": ") + Output::printable(message));
    }
    if (messages.size() > shown.size()) {
        Output::error(m_program
                      + QStringLiteral(": … %1 more lines").arg(messages.size() - shown.size()));
    }
    const QByteArray picture = process.readAllStandardOutput();
    QString failure;
    if (process.error() != QProcess::UnknownError) {
        failure = process.errorString();
    } else if (process.exitCode() != 0) {
        failure = QStringLiteral("exit code %1").arg(process.exitCode());
    } else if (picture.isEmpty()) {
        failure = QStringLiteral("it drew nothing");
    }
    if (!failure.isEmpty()) {
        Output::error(
            QStringLiteral("%1: not written: %2 failed: %3").arg(filePath, m_program, failure));
        return false;
    }
    Diagnostic error;
    if (!TextFile::write(filePath, picture, error)) {
        Output::error(error.toString());
        return false;
    }
    return true;
}
