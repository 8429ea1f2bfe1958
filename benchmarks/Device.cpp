#include "Device.h"

#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include <QDir>

namespace {

const QString s_instance = QStringLiteral("device");

} // namespace

Device::Device(const QByteArray &tree, const QString &script)
    : m_units(false, false)
    , m_rootPointerHandler(m_project.path(), {{QStringLiteral("station"), m_project.path()}})
    , m_api(m_units, m_rootPointerHandler, m_texts, QStringLiteral("plant"),
            QStringLiteral("station"), true, nullptr)
    , m_handler(m_api, nullptr)
{
    m_project.store(QStringLiteral("configuration/device.json"), tree);
    m_root = readTree();
    m_handler.initializeHandler(m_root, script, url());
    m_floor.api.root = readTree();
    m_floor.api.trees.insert(s_instance, {readTree()});
    if (!m_floor.evaluate(script)) {
        Fixture::fail(QStringLiteral("the script does not compile"));
    }
}

PlainApi::Node Device::oursExternRoot() const
{
    return m_rootPointerHandler.getRootPointer(url());
}

PlainApi::Node Device::readTree() const
{
    const auto root =
        ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
            m_project.configurationFolder(), s_instance, false);
    if (root.isNull()) {
        Fixture::fail(QStringLiteral("no tree"));
    }
    return root;
}
