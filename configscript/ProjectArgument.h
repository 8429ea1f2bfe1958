#pragma once

#include "filehost/Project.h"

#include <optional>
#include <string>

/// The project that an argument names; nothing, after a message on standard error, when it cannot
/// be read.
std::optional<Project> openProject(const std::string &argument);

/// The project whose folder holds @p filePath, directly or further up.
std::optional<Project> openProjectAround(const std::string &filePath);
