#pragma once

#include "runner/record/RunRecord.h"
#include "runner/run/DependencyRun.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class Project;

/**
 * What came of a step of a script's test: values in the form of JsonText::value(), by the names of
 * the members that docs/script-authors.md describes.
 *
 * Paths in texts are relative to the project, so an outcome does not tell where the project lies.
 */
namespace StepOutcome {

/// Of each event of a dialog's life.
/// @param instance the dialog's
/// @param record recorded with RunRecorder::Recording::Accesses
QVector<QVariantMap> ofDialog(const Project &project, const QString &instance,
                              const RunRecord &record);

/// Of a run of dependency scripts.
/// @param instance whose relative URLs are used
/// @param resolved the instance that was asked for; entries of others name theirs
QVariantMap ofResolve(const Project &project, const QString &instance, const QString &resolved,
                      DependencyRun::Result result);

/**
 * What a step that expects @p expected is compared with, in its words: URLs as spelt there, what is
 * compared only if expected left out, and of the rest what is not the default or stands there, too.
 */
QVariantMap inTermsOf(const Project &project, const QString &instance, const QVariantMap &expected,
                      const QVariantMap &outcome);

/// With the defaults of all members that it does not have.
QVariantMap completed(QVariantMap outcome);

/// What is worth being written down of an outcome that nobody has expected yet.
QVariantMap recorded(const QVariantMap &outcome);

} // namespace StepOutcome
