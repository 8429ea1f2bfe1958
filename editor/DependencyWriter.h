#pragma once

#include "editor/Reports.h"

namespace ConfigScript {

class Project;
class TreeWriter;

/// Writes what dependency scripts would change, just as the user has seen it: all files or none,
/// and none when a value is no longer the one that was shown as the old one.
class DependencyWriter
{
public:
    explicit DependencyWriter(const Project &project);

    /// Makes a HostSession: there must be none.
    DependencyReport write(const DependencyReport &proposal) const;

private:
    bool addTree(const ChangedTree &tree, TreeWriter &writer, QString &error) const;

    const Project &m_project;
};

} // namespace ConfigScript
