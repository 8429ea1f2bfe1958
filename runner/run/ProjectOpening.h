#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/Project.h"
#include "filehost/ProjectLock.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// A project as programs open and lock it: what an interrupted run left in it, or in one that it
// reaches, is finished or undone first, with a message for each project where that was done.

/**
 * @param lock not null for those who will write the project; receives the right to
 * @return nothing, with @p error set, when the project cannot be read, locked or recovered
 */
std::optional<Project> openRecoveredProject(const QString &folder,
                                            std::unique_ptr<ProjectLock> *lock,
                                            QStringList &recoveries, Diagnostic &error);

/// The right to write a project that is open; null, with @p error set, when it cannot be had.
std::unique_ptr<ProjectLock> lockRecoveredProject(const Project &project, QStringList &recoveries,
                                                  Diagnostic &error);
