#pragma once

#include "filehost/Project.h"

#include <optional>
#include <string>

/// The project that an argument names; nothing, after a message on standard error, when it cannot
/// be read.
std::optional<Project> openProject(const std::string &argument);
