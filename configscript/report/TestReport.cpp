#include "TestReport.h"

#include "configscript/report/JsonReport.h"
#include "configscript/report/Output.h"
#include "filehost/Project.h"
#include "runner/record/LineDiff.h"
#include "runner/scripttest/OutcomeText.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

using Style = Output::Style;

constexpr int s_linesOfADifference = 200; ///< of each side

QString secondsText(std::chrono::nanoseconds duration)
{
    return QString::number(std::chrono::duration<double>(duration).count(), 'f', 4);
}

/// The first of many lines, and how many there are besides.
QByteArray limited(const QList<QByteArray> &lines)
{
    if (lines.size() <= s_linesOfADifference) {
        return lines.join('\n') + '\n';
    }
    return lines.mid(0, s_linesOfADifference).join('\n') + "\n("
        + QByteArray::number(lines.size() - s_linesOfADifference)
        + " lines more; --json shows them)\n";
}

/// What was expected and what was found, line by line.
QStringList differenceOf(const ScriptTestRun::Step &step)
{
    QList<QByteArray> oldLines = OutcomeText::toLines(step.expected);
    QList<QByteArray> newLines = OutcomeText::toLines(step.found);
    if (std::max(oldLines.size(), newLines.size()) > s_linesOfADifference) {
        const auto ends =
            std::mismatch(oldLines.cbegin(), oldLines.cend(), newLines.cbegin(), newLines.cend());
        const int equal = int(ends.first - oldLines.cbegin());
        oldLines = oldLines.mid(equal);
        newLines = newLines.mid(equal);
    }
    QStringList lines = unifiedDiff(limited(oldLines), limited(newLines),
                                    QStringLiteral("expected"), QStringLiteral("found"))
                            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (QString &line : lines) {
        line = Output::shortened(line);
    }
    return lines;
}

QString placeOf(const TestReport::Test &test, int step)
{
    return QStringLiteral("%1:%2: step %3, %4")
        .arg(test.file)
        .arg(test.steps.at(step).line)
        .arg(step + 1)
        .arg(test.steps.at(step).title);
}

/// XML has no form for control characters, nor for halves of characters.
QString xmlText(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines) {
        line = QString::fromUtf8(Output::printable(line).toUtf8());
        line.replace(QChar(0xfffe), QChar::ReplacementCharacter);
        line.replace(QChar(0xffff), QChar::ReplacementCharacter);
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

TestReport::TestReport(const Project &project)
    : m_project(project)
{
}

void TestReport::add(const Test &test)
{
    m_tests.append(test);
}

void TestReport::setDuration(std::chrono::nanoseconds duration)
{
    m_duration = duration;
}

int TestReport::failedTests() const
{
    return int(std::count_if(m_tests.begin(), m_tests.end(),
                             [](const Test &test) { return !test.hasPassed(); }));
}

void TestReport::print(const Test &test, Output &output)
{
    const QString file = Output::printable(test.file);
    if (test.hasPassed()) {
        const QString state = test.isUpdated
            ? output.styled(Style::Warning, QStringLiteral("UPDATED"))
            : output.styled(Style::Good, QStringLiteral("ok     "));
        output.line(state + QStringLiteral("  ") + file + QStringLiteral("  ")
                    + Output::counted(test.steps.size(), QStringLiteral("step"))
                    + QStringLiteral(", ")
                    + output.styled(Style::Dim, Output::milliseconds(test.result.duration)));
        return;
    }
    output.line(output.styled(Style::Bad, QStringLiteral("FAILED ")) + QStringLiteral("  ") + file
                + (test.description.isEmpty()
                       ? QString()
                       : QStringLiteral(": ") + Output::printable(test.description)));
    const QString indentation(9, QLatin1Char(' '));
    for (int i = 0; i < test.result.steps.size(); ++i) {
        const ScriptTestRun::Step &step = test.result.steps.at(i);
        if (step.hasPassed()) {
            continue;
        }
        output.line(indentation + Output::printable(placeOf(test, i)));
        const QStringList lines = differenceOf(step);
        for (const QString &line : lines) {
            const Style style = line.startsWith(QLatin1Char('-')) ? Style::Bad
                : line.startsWith(QLatin1Char('+'))               ? Style::Good
                : line.startsWith(QLatin1Char('@'))               ? Style::Dim
                                                                  : Style::Plain;
            output.line(indentation + output.styled(style, line));
        }
    }
    if (!test.result.error.message.isEmpty()) {
        output.line(indentation + Output::printable(test.result.error.toString()));
    }
}

void TestReport::printSummary(Output &output) const
{
    const int failed = failedTests();
    const QString text = QStringLiteral("%1 failed").arg(failed);
    output.line();
    output.line(Output::counted(m_tests.size(), QStringLiteral("test")) + QStringLiteral(", ")
                + (failed > 0 ? output.styled(Style::Bad, text) : text) + QStringLiteral("; ")
                + Output::milliseconds(m_duration));
}

QJsonObject TestReport::toJson() const
{
    QJsonArray tests;
    for (const Test &test : m_tests) {
        QJsonArray steps;
        for (int i = 0; i < test.result.steps.size(); ++i) {
            const ScriptTestRun::Step &step = test.result.steps.at(i);
            steps.append(QJsonObject{
                {QStringLiteral("title"), test.steps.at(i).title},
                {QStringLiteral("line"), test.steps.at(i).line},
                {QStringLiteral("succeeded"), step.hasPassed()},
                {QStringLiteral("expected"), QJsonObject::fromVariantMap(step.expected)},
                {QStringLiteral("found"), QJsonObject::fromVariantMap(step.found)}});
        }
        QJsonObject object{
            {QStringLiteral("file"), test.file},
            {QStringLiteral("description"), test.description},
            {QStringLiteral("succeeded"), test.hasPassed()},
            {QStringLiteral("updated"), test.isUpdated},
            {QStringLiteral("milliseconds"), JsonReport::milliseconds(test.result.duration)},
            {QStringLiteral("steps"), steps}};
        if (!test.result.error.message.isEmpty()) {
            object.insert(QStringLiteral("error"), test.result.error.toString());
        }
        tests.append(object);
    }
    return {{QStringLiteral("project"), m_project.path()},
            {QStringLiteral("succeeded"), failedTests() == 0},
            {QStringLiteral("tests"), tests},
            {QStringLiteral("summary"),
             QJsonObject{{QStringLiteral("tests"), m_tests.size()},
                         {QStringLiteral("failed"), failedTests()},
                         {QStringLiteral("milliseconds"), JsonReport::milliseconds(m_duration)}}}};
}

QByteArray TestReport::toJUnit() const
{
    const QString suite = xmlText(m_project.objectName());
    const int errors = int(std::count_if(m_tests.begin(), m_tests.end(), [](const Test &test) {
        return !test.result.error.message.isEmpty();
    }));
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    const auto writeCounts = [&] {
        xml.writeAttribute(QStringLiteral("tests"), QString::number(m_tests.size()));
        xml.writeAttribute(QStringLiteral("failures"), QString::number(failedTests() - errors));
        xml.writeAttribute(QStringLiteral("errors"), QString::number(errors));
        xml.writeAttribute(QStringLiteral("time"), secondsText(m_duration));
    };
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuites"));
    writeCounts();
    xml.writeStartElement(QStringLiteral("testsuite"));
    xml.writeAttribute(QStringLiteral("name"), suite);
    writeCounts();
    xml.writeAttribute(QStringLiteral("skipped"), QStringLiteral("0"));
    for (const Test &test : m_tests) {
        xml.writeStartElement(QStringLiteral("testcase"));
        xml.writeAttribute(
            QStringLiteral("classname"),
            xmlText(suite + QLatin1Char('.')
                    + QFileInfo(test.file).path().replace(QLatin1Char('/'), QLatin1Char('.'))));
        xml.writeAttribute(QStringLiteral("name"), xmlText(QFileInfo(test.file).fileName()));
        xml.writeAttribute(QStringLiteral("file"), xmlText(test.file));
        xml.writeAttribute(QStringLiteral("time"), secondsText(test.result.duration));
        if (!test.result.error.message.isEmpty()) {
            xml.writeStartElement(QStringLiteral("error"));
            xml.writeAttribute(QStringLiteral("message"), xmlText(test.result.error.toString()));
            xml.writeEndElement();
        } else if (!test.hasPassed()) {
            QStringList places;
            QStringList lines;
            for (int i = 0; i < test.result.steps.size(); ++i) {
                if (!test.result.steps.at(i).hasPassed()) {
                    places.append(placeOf(test, i));
                    lines += places.constLast();
                    lines += differenceOf(test.result.steps.at(i));
                }
            }
            xml.writeStartElement(QStringLiteral("failure"));
            xml.writeAttribute(
                QStringLiteral("message"),
                xmlText(test.description.isEmpty() ? places.constFirst() : test.description));
            xml.writeCharacters(xmlText(lines.join(QLatin1Char('\n'))));
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndDocument();
    return text;
}
