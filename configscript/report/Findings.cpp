#include "Findings.h"

#include "configscript/report/Output.h"
#include "filehost/Project.h"

#include <algorithm>

namespace Findings {

namespace {

int count(const QVector<Finding> &findings, Finding::Severity severity)
{
    return int(std::count_if(findings.begin(), findings.end(), [severity](const Finding &finding) {
        return finding.severity == severity;
    }));
}

} // namespace

bool hasErrors(const QVector<Finding> &findings)
{
    return count(findings, Finding::Severity::Error) > 0;
}

void print(Output &output, const QVector<Finding> &findings)
{
    for (const Finding &finding : findings) {
        output.line(output.styled(finding.severity == Finding::Severity::Error
                                      ? Output::Style::Bad
                                      : Output::Style::Warning,
                                  Output::printable(finding.toString())));
    }
}

void printRefusal(Output &output, const QVector<Finding> &findings, const QString &remedy)
{
    print(output, findings);
    output.line(QStringLiteral("No script was run: %1.").arg(summary(findings))
                + (remedy.isEmpty() ? QString() : QLatin1Char(' ') + remedy));
}

QJsonObject toRefusal(const Project &project, const QVector<Finding> &findings)
{
    QJsonObject object = toJson(project, findings);
    object.insert(QStringLiteral("succeeded"), false);
    return object;
}

QString summary(const QVector<Finding> &findings)
{
    return Output::counted(count(findings, Finding::Severity::Error), QStringLiteral("error"))
        + QStringLiteral(", ")
        + Output::counted(count(findings, Finding::Severity::Warning), QStringLiteral("warning"));
}

QJsonArray toArray(const QVector<Finding> &findings)
{
    QJsonArray array;
    for (const Finding &finding : findings) {
        array.append(
            QJsonObject{{QStringLiteral("severity"),
                         finding.severity == Finding::Severity::Error ? QStringLiteral("error")
                                                                      : QStringLiteral("warning")},
                        {QStringLiteral("file"), finding.place.file},
                        {QStringLiteral("line"), finding.place.line},
                        {QStringLiteral("message"), finding.place.message},
                        {QStringLiteral("name"), finding.name()}});
    }
    return array;
}

QJsonObject toJson(const Project &project, const QVector<Finding> &findings)
{
    return {{QStringLiteral("project"), project.path()},
            {QStringLiteral("errors"), count(findings, Finding::Severity::Error)},
            {QStringLiteral("warnings"), count(findings, Finding::Severity::Warning)},
            {QStringLiteral("findings"), toArray(findings)}};
}

} // namespace Findings
