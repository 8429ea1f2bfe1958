#pragma once

#include "filehost/Diagnostic.h"

#include <QLockFile>
#include <QString>

#include <memory>

/**
 * The right to write a project, which one process has at a time: the file .configscript-lock in the
 * project folder. A process that ends loses it, however it ends.
 */
class ProjectLock
{
public:
    /// How long acquire() waits for another process, in milliseconds.
    static constexpr int patience = 2000;

    /// @return null, with @p error set, when another process keeps the right, and for another
    ///         reason
    static std::unique_ptr<ProjectLock> acquire(const QString &projectPath, Diagnostic &error);

private:
    explicit ProjectLock(const QString &filePath);

    QLockFile m_file;
};
