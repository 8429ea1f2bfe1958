#pragma once

#include "filehost/Diagnostic.h"

#include <QString>

class FileTreeNode;
class Project;

/// The user-interface script of an instance, as its file is now.
struct DialogScript
{
    DialogScript() = default;
    DialogScript(const Project &project, const FileTreeNode &root);

    bool isNamed = false; ///< by the instance, which may do without
    QString filePath; ///< empty when it is not named, or leads out of the scripts' folder
    QString text;
    Diagnostic error; ///< why there is no script to run; without a message when there is one
};
