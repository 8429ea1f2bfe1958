#pragma once

#include "runner/record/RunRecord.h"

#include <functional>

class Project;
class ScriptGuard;

/// The instances among @p selected that did not run, and why.
QVector<OmittedRun> omittedRuns(const QStringList &selected, const QVector<ScriptRun> &runs,
                                const std::function<QString(const QString &instance)> &reason);

/// Why the dependency script of a listed instance could not run.
QString reasonOfOmission(const Project &project, const QString &instance);

/**
 * Notes on runs, given in their order, in which the function of another script ran.
 *
 * All scripts of a run share one engine. A script that does not compile, or does not define the
 * function, leaves the function of the script before it in place. Such a run has failed.
 */
void noteForeignFunctions(const Project &project, ScriptGuard &guard, QVector<ScriptRun> &runs);
