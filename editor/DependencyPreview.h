#pragma once

#include "editor/Reports.h"

#include <QSharedPointer>
#include <QString>

class TextManager;

namespace ConfigScript {

class FileTreeNode;
class Project;
class ScriptGuard;

/// Runs dependency scripts inside one tree in memory, as they would run after it is saved; scripts
/// reach nothing outside the tree.
class DependencyPreview
{
public:
    DependencyPreview(const Project &project, const TextManager &texts, ScriptGuard &guard);

    /// Makes a HostSession: there must be none.
    /// @param root the tree of @p instance, which scripts change
    DependencyReport run(const QString &instance, const QSharedPointer<FileTreeNode> &root) const;

private:
    const Project &m_project;
    const TextManager &m_texts;
    ScriptGuard &m_guard;
};

} // namespace ConfigScript
