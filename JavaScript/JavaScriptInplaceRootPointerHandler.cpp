#include "JavaScriptInplaceRootPointerHandler.h"

#include "host/SelectorUrlHandler.h"

#include <QDebug>

#include <utility>

JavaScriptInplaceRootPointerHandler::JavaScriptInplaceRootPointerHandler(
    const QString &rootInstancePath)
    : JavaScriptRootPointerHandler(QString(), QHash<QString, QString>())
    , m_rootInstancePath(rootInstancePath)
{
}

JavaScriptInplaceRootPointerHandler::~JavaScriptInplaceRootPointerHandler() = default;

void JavaScriptInplaceRootPointerHandler::setRootPointer(
    ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer)
{
    m_rootPointer = std::move(rootPointer);
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer JavaScriptInplaceRootPointerHandler::
    getRootPointer(const QString &url) const
{
    if (m_rootPointer.isNull()) {
        qWarning() << "m_rootPointer invalid!";
        return {};
    }
    auto node = findInstance(SelectorUrlHandler(url).getInstance());
    if (node.isNull()) {
        qWarning() << "Couldn't find" << url << "in" << m_rootInstancePath;
    }
    return node;
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer JavaScriptInplaceRootPointerHandler::
    getInstanceConfigPointer(const QString &instance) const
{
    if (m_rootPointer.isNull()) {
        qWarning() << "m_rootPointer invalid!";
        return {};
    }
    auto node = findInstance(instance);
    if (node.isNull()) {
        qWarning() << "Couldn't find" << instance << "in" << m_rootInstancePath;
    }
    return node;
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer JavaScriptInplaceRootPointerHandler::
    findInstance(const QString &instance) const
{
    if (!instance.startsWith(m_rootInstancePath, Qt::CaseSensitive)) {
        return {};
    }
    return m_rootPointer->getNode(instance.mid(m_rootInstancePath.length() + 1, -1));
}

void JavaScriptInplaceRootPointerHandler::setChangedUrl(const QString & /*url*/) { }

void JavaScriptInplaceRootPointerHandler::saveChangedInstances() { }

QStringList JavaScriptInplaceRootPointerHandler::getChangedExternalConfigUrls() const
{
    return {};
}

QStringList JavaScriptInplaceRootPointerHandler::getChangedExternalProcessUrls() const
{
    return {};
}

void JavaScriptInplaceRootPointerHandler::deleteChangeFlagConfigUrls() { }

void JavaScriptInplaceRootPointerHandler::deleteChangeFlagProcessDataUrl() { }
