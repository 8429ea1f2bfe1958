#pragma once

#include <QByteArray>
#include <QString>

/**
 * The difference of two texts as a unified diff, three lines of context around each change; empty
 * when they are equal.
 *
 * Made by the greedy algorithm of E. W. Myers, "An O(ND) Difference Algorithm and Its Variations"
 * (1986): the time grows with the texts' size times their difference.
 */
QString unifiedDiff(const QByteArray &oldText, const QByteArray &newText, const QString &oldName,
                    const QString &newName);
