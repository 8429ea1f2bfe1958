#pragma once

#include "runner/check/Finding.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QVector>

class Output;
class Project;

/// Lists of findings.
namespace Findings {

bool hasErrors(const QVector<Finding> &findings);

/// A line for each.
void print(Output &output, const QVector<Finding> &findings);

/// As in toJson().
QJsonArray toArray(const QVector<Finding> &findings);

/// How many there are of each severity.
QString summary(const QVector<Finding> &findings);

/// Why no script was run.
/// @param remedy a sentence that is put behind it
void printRefusal(Output &output, const QVector<Finding> &findings,
                  const QString &remedy = QString());

/// The same for programs.
QJsonObject toRefusal(const Project &project, const QVector<Finding> &findings);

/// For programs; the format is described in docs/command.md.
QJsonObject toJson(const Project &project, const QVector<Finding> &findings);

} // namespace Findings
