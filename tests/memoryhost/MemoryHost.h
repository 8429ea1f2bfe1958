#pragma once

#include "MemoryNode.h"

#include <QDir>
#include <QHash>
#include <QString>
#include <QVariantMap>

#include <functional>

/// What the memory host holds instead of files, and its switches.
class MemoryHost
{
public:
    MemoryHost() = delete;

    /// Puts a copy of a tree into a folder.
    static void store(const QDir &folder, const QString &instance, bool isProcess,
                      const QSharedPointer<const MemoryNode> &root);

    /// A copy of a stored tree; null when there is none.
    static QSharedPointer<MemoryNode> load(const QDir &folder, const QString &instance,
                                           bool isProcess);

    /// Has every request for a tree call @p callback with the folder from now on.
    static void onLoad(const std::function<void(const QDir &folder)> &callback);

    /// Whether the host's write operation fails from now on, without a message.
    static void failWrites(bool fail);
    static bool areWritesFailing();

    /// The units of UnitManagerWrapper objects constructed from now on.
    static void setUnits(const QHash<QString, QVariantMap> &units);
    static QHash<QString, QVariantMap> units();

private:
    static QHash<QString, QSharedPointer<MemoryNode>> s_trees;
    static QHash<QString, QVariantMap> s_units;
    static std::function<void(const QDir &)> s_onLoad;
    static bool s_failWrites;
};
