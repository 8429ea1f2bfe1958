#pragma once

#include "filehost/Project.h"
#include "filehost/store/ProjectLock.h"

#include <memory>
#include <optional>
#include <string>

namespace ConfigScript {

/**
 * The project that an argument names; nothing, after a message on standard error, when it cannot
 * be read. What an interrupted run left in it is finished or undone first, with a message, too.
 * @param lock not null for those who will write the project; receives the right to
 */
std::optional<Project> openProject(const std::string &argument,
                                   std::unique_ptr<ProjectLock> *lock = nullptr);

/// The right to write a project that is open; null, with @p error set, when it cannot be had. What
/// an interrupted run left is finished or undone first, with a message on standard error.
std::unique_ptr<ProjectLock> lockProject(const Project &project, Diagnostic &error);

/// The project whose folder holds @p filePath, directly or further up.
std::optional<Project> openProjectAround(const std::string &filePath,
                                         std::unique_ptr<ProjectLock> *lock = nullptr);

} // namespace ConfigScript
