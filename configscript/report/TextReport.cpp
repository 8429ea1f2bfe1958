#include "TextReport.h"

#include "filehost/JsonValue.h"
#include "filehost/Project.h"

#include <algorithm>

namespace {

using Style = Output::Style;

constexpr int s_linesOfAKind = 100; ///< for each run

QString valueText(const QVariant &value)
{
    return Output::shortened(
        QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Spaced)));
}

QString place(const QString &file, int line)
{
    return Diagnostic{file, line, 0, QString()}.toString().trimmed();
}

} // namespace

TextReport::TextReport(const Project &project, Output &output, Detail detail)
    : m_project(project)
    , m_output(output)
    , m_detail(detail)
    , m_texts(project.texts())
{
}

void TextReport::print(const RunRecord &report, bool isDryRun)
{
    for (const QString &text : report.projectWarnings) {
        m_output.line(m_output.styled(Style::Warning, QStringLiteral("warning: ")) + text);
    }
    printRuns(report);
    printTrees(report, isDryRun);
    if (m_detail == Detail::Everything) {
        printAnnounced(report);
        m_output.line();
        printSummary(report, isDryRun);
    }
}

void TextReport::printRuns(const RunRecord &report)
{
    int instanceWidth = 0;
    int scriptWidth = 0;
    for (const ScriptRun &run : report.runs) {
        instanceWidth = std::max(instanceWidth, run.instance.size());
        scriptWidth = std::max(scriptWidth, run.script.size());
    }
    for (const OmittedRun &omitted : report.notRun) {
        instanceWidth = std::max(instanceWidth, omitted.instance.size());
    }
    for (const ScriptRun &run : report.runs) {
        const bool isTrouble = !run.succeeded || !run.errors.isEmpty() || !run.warnings.isEmpty()
            || !run.unsavedChanges.isEmpty() || !run.ranInstead.isEmpty();
        if (isTrouble || m_detail == Detail::Everything) {
            printHeading(run,
                         run.instance.leftJustified(instanceWidth) + QStringLiteral("  ")
                             + run.script.leftJustified(scriptWidth));
            printDetails(run);
        }
    }
    for (const OmittedRun &omitted : report.notRun) {
        m_output.line(m_output.styled(Style::Bad, QStringLiteral("NOT RUN")) + QStringLiteral("  ")
                      + omitted.instance.leftJustified(instanceWidth) + QStringLiteral("  ")
                      + omitted.reason);
    }
}

void TextReport::printEvents(const RunRecord &report)
{
    for (const ScriptRun &run : report.runs) {
        printHeading(
            run,
            (run.argument.isEmpty() ? run.function : run.function + QLatin1Char(' ') + run.argument)
                + QStringLiteral("  ") + run.script);
        printDetails(run);
        printWrites(run);
    }
}

void TextReport::printWrites(const ScriptRun &run)
{
    QVector<PropertyChange> writes;
    for (const TreeAccess &access : run.accesses) {
        if (!access.isWrite()) {
            continue;
        }
        PropertyChange change = access.change();
        if (access.tree.instance != run.instance
            || access.tree.kind != FileTree::Kind::Configuration) {
            change.path =
                m_project.relativePath(access.tree.filePath) + QLatin1Char('#') + change.path;
        }
        writes.append(change);
    }
    printChanges(writes, QString(9, QLatin1Char(' ')));
}

void TextReport::printTrees(const RunRecord &report, bool isDryRun)
{
    for (const ChangedTree &tree : report.trees) {
        const bool isStored = tree.error.isEmpty();
        if (!isStored || m_detail == Detail::Everything) {
            printTree(tree,
                      !isStored      ? m_output.styled(Style::Bad, QStringLiteral("NOT WRITTEN"))
                          : isDryRun ? QStringLiteral("would change")
                                     : QStringLiteral("changed"));
        }
    }
}

void TextReport::printDropped(const QVector<ChangedTree> &trees)
{
    for (const ChangedTree &tree : trees) {
        printTree(tree, QStringLiteral("would no longer change"));
    }
}

void TextReport::printWithdrawn(const ScriptRun &run)
{
    for (const JavaScriptApi::ErrorMessage &error : run.errors) {
        m_output.line(m_output.styled(Style::Good, QStringLiteral("withdrawn: ")) + run.instance
                      + QStringLiteral(": ") + errorText(error));
    }
}

void TextReport::printHeading(const ScriptRun &run, const QString &text)
{
    const QString state = run.succeeded ? m_output.styled(Style::Good, QStringLiteral("ok     "))
                                        : m_output.styled(Style::Bad, QStringLiteral("FAILED "));
    m_output.line(state + QStringLiteral("  ") + text + QStringLiteral("  ")
                  + m_output.styled(Style::Dim, Output::milliseconds(run.duration)));
}

/// Prints the first of a script's many lines, and how many there are besides.
template <typename List, typename Print>
void TextReport::printSome(const List &list, const QString &noun, Print print)
{
    std::for_each(list.cbegin(), list.cbegin() + std::min(list.size(), s_linesOfAKind), print);
    if (list.size() > s_linesOfAKind) {
        m_output.line(QString(9, QLatin1Char(' '))
                      + Output::counted(list.size() - s_linesOfAKind, noun)
                      + QStringLiteral(" more; --json shows them"));
    }
}

void TextReport::printDetails(const ScriptRun &run)
{
    const QString indentation(9, QLatin1Char(' '));
    for (const ScriptException &exception : run.exceptions) {
        m_output.line(indentation + place(run.scriptOf(exception.isOfFunction), exception.line)
                      + QLatin1Char(' ')
                      + m_output.styled(Style::Bad, Output::shortened(exception.text)));
    }
    if (!run.ranInstead.isEmpty()) {
        m_output.line(indentation + m_output.styled(Style::Bad, run.foreignFunctionText()));
    }
    if (!run.succeeded && run.exceptions.isEmpty() && run.warnings.isEmpty()
        && run.ranInstead.isEmpty()) {
        m_output.line(indentation + run.function + QStringLiteral(" returned false"));
    }
    QHash<QString, int> times;
    for (const QString &text : run.warnings) {
        ++times[text];
    }
    QStringList warnings = run.warnings;
    warnings.removeDuplicates();
    printSome(warnings, QStringLiteral("warning"), [&](const QString &text) {
        const int count = times.value(text);
        m_output.line(indentation + run.scriptOf(true) + QStringLiteral(": ")
                      + m_output.styled(Style::Warning, QStringLiteral("warning: "))
                      + Output::shortened(text)
                      + (count > 1 ? QStringLiteral(" (%1 times)").arg(count) : QString()));
    });
    printSome(run.console, QStringLiteral("console message"), [&](const ConsoleMessage &message) {
        const QString level = message.level == QtWarningMsg
            ? m_output.styled(Style::Warning, QStringLiteral("warn: "))
            : message.level == QtCriticalMsg
            ? m_output.styled(Style::Bad, QStringLiteral("error: "))
            : QString();
        m_output.line(indentation + place(run.scriptOf(message.isOfFunction), message.line)
                      + QLatin1Char(' ') + level + Output::shortened(message.text));
    });
    printSome(run.errors, QStringLiteral("reported error"),
              [&](const JavaScriptApi::ErrorMessage &error) {
                  m_output.line(indentation
                                + m_output.styled(Style::Warning, QStringLiteral("reported: "))
                                + errorText(error));
              });
    if (!run.unsavedChanges.isEmpty()) {
        m_output.line(indentation + m_output.styled(Style::Warning, QStringLiteral("not saved: "))
                      + QStringLiteral("written by relative URL, which nobody saves; write to ")
                      + run.argument + QStringLiteral(" instead"));
        printChanges(run.unsavedChanges, indentation + QStringLiteral("  "));
    }
}

QString TextReport::errorText(const JavaScriptApi::ErrorMessage &error) const
{
    const QString text = m_texts.value(error.errorLabelTextId);
    return Output::shortened(
               (error.relUrl.isEmpty() ? QString() : error.relUrl + QStringLiteral(": "))
               + (text.isEmpty() ? QString() : text + QLatin1Char(' ')) + QLatin1Char('[')
               + error.errorLabelTextId + QLatin1Char(']'))
        + (error.value.isValid()
               ? QStringLiteral(" value ") + valueText(JsonValue::normalized(error.value))
               : QString());
}

void TextReport::printTree(const ChangedTree &tree, const QString &state)
{
    m_output.line();
    m_output.line(state + QLatin1Char(' ')
                  + m_output.styled(Style::Bold, m_project.relativePath(tree.identity.filePath)));
    if (!tree.error.isEmpty()) {
        m_output.line(QStringLiteral("  ") + tree.error);
    }
    printChanges(tree.changes, QStringLiteral("  "));
}

void TextReport::printChanges(const QVector<PropertyChange> &changes, const QString &indentation)
{
    QVector<PropertyChange> lines;
    for (const PropertyChange &change : changes) {
        lines += change.flattened();
    }
    const auto name = [](const PropertyChange &change) {
        return Output::printable(
            change.path.isEmpty() ? change.key : change.path + QLatin1Char(':') + change.key);
    };
    int width = 0;
    for (const PropertyChange &change : qAsConst(lines)) {
        width = std::max(width, name(change).size());
    }
    for (const PropertyChange &change : qAsConst(lines)) {
        const QString oldText = change.oldValue.isValid()
            ? valueText(change.oldValue) + QStringLiteral(" -> ")
            : QStringLiteral("new ");
        const QString newText =
            change.newValue.isValid() ? valueText(change.newValue) : QStringLiteral("removed");
        m_output.line(indentation + name(change).leftJustified(width) + QStringLiteral("  ")
                      + m_output.styled(Style::Dim, oldText) + newText);
    }
}

void TextReport::printAnnounced(const RunRecord &report)
{
    if (!report.announced.isEmpty()) {
        m_output.line();
        m_output.line(QStringLiteral("Process data changed: ")
                      + report.announced.join(QStringLiteral(", ")));
    }
}

void TextReport::printSummary(const RunRecord &report, bool isDryRun)
{
    const int failed = report.failedRuns();
    const QString failedText = QStringLiteral("%1 failed").arg(failed);
    const QString notRun = report.notRun.isEmpty()
        ? QString()
        : m_output.styled(Style::Bad, QStringLiteral(", %1 not run").arg(report.notRun.size()));
    m_output.line(
        Output::counted(report.runs.size(), QStringLiteral("script")) + QStringLiteral(" run, ")
        + (failed > 0 ? m_output.styled(Style::Bad, failedText) : failedText) + notRun
        + QStringLiteral("; ") + Output::counted(report.storedTrees(), QStringLiteral("file"))
        + (isDryRun ? QStringLiteral(" would change, ") : QStringLiteral(" changed, "))
        + Output::counted(report.changedValues(), QStringLiteral("value")) + QStringLiteral("; ")
        + Output::milliseconds(report.duration));
}
