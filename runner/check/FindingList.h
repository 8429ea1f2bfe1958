#pragma once

#include "runner/check/Finding.h"

#include <QVector>

class Project;

/// What a check has found in a project so far.
class FindingList
{
public:
    explicit FindingList(const Project &project);

    /// A finding of a kind that has one severity only. The file is made relative to the project.
    void add(Finding::Kind kind, const Diagnostic &place);
    void add(Finding::Kind kind, Finding::Severity severity, const Diagnostic &place);

    /// By file and line.
    QVector<Finding> sorted() const;

private:
    Diagnostic inProject(Diagnostic place) const;

    const Project &m_project;
    QVector<Finding> m_findings;
};
