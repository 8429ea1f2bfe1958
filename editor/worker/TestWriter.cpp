#include "TestWriter.h"

#include "filehost/Project.h"
#include "filehost/TextFile.h"
#include "runner/run/ScratchCopy.h"
#include "runner/scripttest/OutcomeText.h"
#include "runner/scripttest/ScriptTest.h"
#include "runner/scripttest/ScriptTestRecorder.h"
#include "runner/scripttest/ScriptTestRun.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

constexpr int s_shownLines = 3; ///< of each side of a difference
constexpr int s_shownText = 200; ///< characters of a line

/// The first lines of a step that are not as expected.
QString differenceOf(const ScriptTestRun::Step &step)
{
    const QList<QByteArray> expected = OutcomeText::toLines(step.expected);
    const QList<QByteArray> found = OutcomeText::toLines(step.found);
    const auto ends =
        std::mismatch(expected.cbegin(), expected.cend(), found.cbegin(), found.cend());
    const int equal = int(ends.first - expected.cbegin());
    QString text;
    const auto show = [&](const QList<QByteArray> &lines, const QString &mark) {
        const QList<QByteArray> shown = lines.mid(equal, s_shownLines);
        for (const QByteArray &line : shown) {
            text += QLatin1Char('\n') + mark + QString::fromUtf8(line).left(s_shownText);
        }
    };
    show(expected, QStringLiteral("- "));
    show(found, QStringLiteral("+ "));
    return text;
}

} // namespace

TestWriter::TestWriter(const Project &project, ScriptGuard &guard)
    : m_project(project)
    , m_guard(guard)
{
}

RecordingReport TestWriter::write(const QString &filePath, const QByteArray &text) const
{
    RecordingReport report;
    report.file = m_project.relativePath(filePath);
    Diagnostic error = ScriptTestRecorder::fileError(filePath);
    if (error.message.isEmpty()) {
        QDir().mkpath(QFileInfo(filePath).path()); // when this fails, so does writing, and says why
        TextFile::write(filePath, text, error);
    }
    if (error.message.isEmpty()) {
        report.difference = replay(filePath);
    } else {
        report.error = m_project.relative(error).toString();
    }
    return report;
}

/// @return why the test does not pass; empty when it does
QString TestWriter::replay(const QString &filePath) const
{
    Diagnostic error;
    const auto copy = ScratchCopy::make(m_project, error);
    if (!copy) {
        return error.toString();
    }
    const ScriptTest test(filePath);
    const ScriptTestRun::Result result = ScriptTestRun(*copy, m_guard).run(test);
    if (!result.error.message.isEmpty()) {
        return m_project.relative(result.error).toString();
    }
    const auto failed = std::find_if(result.steps.cbegin(), result.steps.cend(),
                                     [](const auto &step) { return !step.hasPassed(); });
    if (failed == result.steps.cend()) {
        return QString();
    }
    const int index = int(failed - result.steps.cbegin());
    return QStringLiteral("step %1, %2%3")
        .arg(QString::number(index + 1), test.steps().at(index).title(), differenceOf(*failed));
}
