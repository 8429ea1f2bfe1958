#include "FindingList.h"

#include "filehost/Project.h"

#include <algorithm>
#include <tuple>

FindingList::FindingList(const Project &project)
    : m_project(project)
{
}

void FindingList::add(Finding::Kind kind, const Diagnostic &place)
{
    m_findings.append(Finding::of(kind, inProject(place)));
}

void FindingList::add(Finding::Kind kind, Finding::Severity severity, const Diagnostic &place)
{
    m_findings.append({severity, inProject(place), kind});
}

Diagnostic FindingList::inProject(Diagnostic place) const
{
    place.file = m_project.relativePath(place.file);
    return place;
}

QVector<Finding> FindingList::sorted() const
{
    QVector<Finding> findings = m_findings;
    std::stable_sort(findings.begin(), findings.end(), [](const Finding &a, const Finding &b) {
        return std::tie(a.place.file, a.place.line) < std::tie(b.place.file, b.place.line);
    });
    return findings;
}
