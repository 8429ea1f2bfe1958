#pragma once

#include "configscript/Output.h"
#include "runner/RunReport.h"

#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QStringList>

#include <chrono>

namespace ConfigScript {

class FileTreeNode;
class Project;
class ScriptWatchdog;
struct Diagnostic;

/// Resolves the dependencies of an instance inside one tree file.
class InplaceResolve
{
public:
    enum class Writing { File, Nothing };
    enum class Format { Text, Json };

    /**
     * @param treePath the file. Below the project's configuration folder it is the tree of the
     *        instance it is named after; anywhere else the tree of @p instance itself.
     * @param timeout of each script; zero for none
     */
    InplaceResolve(const Project &project, const QString &treePath, const QString &instance,
                   std::chrono::milliseconds timeout);

    /// Runs the scripts, prints what they changed as a diff, and writes it if all succeeded.
    /// @return the program's exit code
    int run(Writing writing, Format format, Output &output) const;

private:
    bool write(const FileTreeNode &root, Diagnostic &error) const;
    QStringList selectedInstances() const;
    QMap<QString, QSharedPointer<FileTreeNode>> nodesOf(const QStringList &instances,
                                                        const FileTreeNode &root) const;
    RunReport resolve(const QSharedPointer<FileTreeNode> &root,
                      const QMap<QString, QSharedPointer<FileTreeNode>> &nodes,
                      ScriptWatchdog &watchdog) const;

    const Project &m_project;
    QString m_treePath;
    QString m_instance;
    QString m_rootInstance;
    std::chrono::milliseconds m_timeout;
};

} // namespace ConfigScript
