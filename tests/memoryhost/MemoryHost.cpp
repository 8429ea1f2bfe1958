#include "MemoryHost.h"

#include "support/CallText.h"

QHash<QString, QSharedPointer<MemoryNode>> MemoryHost::s_trees;
QHash<QString, QVariantMap> MemoryHost::s_units;
std::function<void(const QDir &)> MemoryHost::s_onLoad;
bool MemoryHost::s_failWrites = false;

namespace {

QString keyOf(const QDir &folder, const QString &instance, bool isProcess)
{
    return callText("tree", folder.absolutePath(), instance, isProcess);
}

} // namespace

void MemoryHost::store(const QDir &folder, const QString &instance, bool isProcess,
                       const QSharedPointer<const MemoryNode> &root)
{
    s_trees.insert(keyOf(folder, instance, isProcess), root->clone());
}

QSharedPointer<MemoryNode> MemoryHost::load(const QDir &folder, const QString &instance,
                                            bool isProcess)
{
    if (s_onLoad) {
        s_onLoad(folder);
    }
    const auto root = s_trees.value(keyOf(folder, instance, isProcess));
    return root ? root->clone() : nullptr;
}

void MemoryHost::onLoad(const std::function<void(const QDir &folder)> &callback)
{
    s_onLoad = callback;
}

void MemoryHost::failWrites(bool fail)
{
    s_failWrites = fail;
}

bool MemoryHost::areWritesFailing()
{
    return s_failWrites;
}

void MemoryHost::setUnits(const QHash<QString, QVariantMap> &units)
{
    s_units = units;
}

QHash<QString, QVariantMap> MemoryHost::units()
{
    return s_units;
}
