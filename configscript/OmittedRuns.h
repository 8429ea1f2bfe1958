#pragma once

#include "configscript/RunReport.h"

class Project;

/// The instances among @p selected that did not run, and why.
QVector<OmittedRun> omittedRuns(const Project &project, const QStringList &selected,
                                const QVector<ScriptRun> &runs);

/**
 * Notes on runs, given in their order, in which the function of another script ran.
 *
 * All scripts of a run share one engine. A script that does not compile, or does not define the
 * function, leaves the function of the script before it in place.
 */
void noteForeignFunctions(const Project &project, QVector<ScriptRun> &runs);
