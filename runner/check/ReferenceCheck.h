#pragma once

#include "filehost/Diagnostic.h"

#include <QHash>
#include <QSet>
#include <QString>

class FileTreeNode;
class FindingList;
class Project;

/// Looks for texts, units and URLs that trees and scripts refer to and that do not exist. A missing
/// text or unit is found once, at the first place.
class ReferenceCheck
{
public:
    /// Project and findings outlive it.
    ReferenceCheck(const Project &project, FindingList &findings);

    /// The files of texts themselves, which what follows is compared with.
    void checkTexts();

    /// A node of a tree, and all below it.
    void checkTree(const FileTreeNode &node);

    /// The literals in a script's text.
    void checkScript(const QString &filePath, const QString &text, bool isDependencyScript);

private:
    void checkUrl(const QString &text, bool isWhole, Diagnostic place);
    template <typename Place>
    void checkText(const QString &textId, Place place);
    template <typename Place>
    void checkUnit(const QString &unit, Place place);

    const Project &m_project;
    FindingList &m_findings;
    QHash<QString, QHash<QString, QString>> m_texts; ///< by language, then identifier
    QSet<QString> m_knownTexts; ///< looked at already
    QSet<QString> m_knownUnits;
};
