#pragma once

#include "editor/data/DependencyReport.h"

namespace ConfigScript {

class Project;
class TreeWriter;

/// Writes what dependency scripts would change, just as the user has seen it: all files or none.
/// None when a value has changed since it was shown as the old one.
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
