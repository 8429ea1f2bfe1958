#pragma once

#include <QHash>
#include <QString>

#include <tuple>

/// Which property of which tree; compared and hashed by its parts.
struct PropertyId
{
    QString treeFile;
    QString path; ///< relative URL of the node
    QString key;

    friend bool operator==(const PropertyId &a, const PropertyId &b)
    {
        return std::tie(a.key, a.path, a.treeFile) == std::tie(b.key, b.path, b.treeFile);
    }
    friend bool operator<(const PropertyId &a, const PropertyId &b)
    {
        return std::tie(a.treeFile, a.path, a.key) < std::tie(b.treeFile, b.path, b.key);
    }
    friend uint qHash(const PropertyId &id, uint seed = 0)
    {
        return qHash(id.treeFile, seed) ^ (31 * qHash(id.path, seed)) ^ (961 * qHash(id.key, seed));
    }
};
