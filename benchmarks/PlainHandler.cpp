#include "PlainHandler.h"

#include "host/SelectorUrlHandler.h"

#include <QJsonObject>
#include <QQmlEngine>

QVariant PlainApi::getProperty(const QString &relUrl, const QString &propertyKey) const
{
    const auto node = root->getNode(relUrl);
    return node ? node->getProperty(propertyKey) : QVariant();
}

void PlainApi::setProperty(const QString &relUrl, const QString &propertyKey, const QVariant &value)
{
    if (const auto node = root->getNode(relUrl)) {
        node->setProperty(propertyKey, value);
    }
}

QVariant PlainApi::getPropertyExtern(const QString &absUrl, const QString &propertyKey) const
{
    const SelectorUrlHandler url(absUrl);
    const auto tree = trees.constFind(url.getInstance());
    if (tree == trees.constEnd()) {
        return QVariant();
    }
    const auto node = tree->root->getNode(url.getUrl());
    return node ? node->getProperty(propertyKey) : QVariant();
}

void PlainApi::setPropertyExtern(const QString &absUrl, const QString &propertyKey,
                                 const QVariant &value)
{
    const SelectorUrlHandler url(absUrl);
    const auto tree = trees.find(url.getInstance());
    if (tree == trees.end()) {
        return;
    }
    const auto node = tree->root->getNode(url.getUrl());
    if (node && node->setProperty(propertyKey, value) == 0) {
        tree->changed = true;
    }
}

void PlainApi::setError(const QString &relUrl, const QString &errorLabelTextId,
                        const QVariant &value)
{
    errors.append({relUrl, errorLabelTextId, value});
}

QJsonArray PlainApi::getListOfNodeInstancesWithText(const QString &absUrl, bool withDynTexts) const
{
    QJsonArray list;
    const auto tree = trees.constFind(SelectorUrlHandler(absUrl).getInstance());
    if (tree == trees.constEnd()) {
        return list;
    }
    const auto children = tree->root->getChildMap();
    for (auto child = children.cbegin(); child != children.cend(); ++child) {
        QString text = child.value()->getProperty(QStringLiteral("labelTextId")).toString();
        if (withDynTexts) {
            text = texts.value(text, text);
        }
        list.append(
            QJsonObject{{QStringLiteral("url"), child.key()}, {QStringLiteral("text"), text}});
    }
    return list;
}

PlainHandler::PlainHandler()
{
    m_engine.installExtensions(QJSEngine::ConsoleExtension);
    QQmlEngine::setObjectOwnership(&api, QQmlEngine::CppOwnership);
    m_wrappedApi = m_engine.newQObject(&api);
}

bool PlainHandler::evaluate(const QString &script)
{
    return !m_engine.evaluate(script).isError();
}

bool PlainHandler::call(const QString &functionName, const QString &argument)
{
    api.errors.clear();
    QJSValue function = m_engine.globalObject().property(functionName);
    if (!function.isCallable()) {
        return false;
    }
    QJSValueList arguments{m_wrappedApi};
    if (!argument.isEmpty()) {
        arguments.append(argument);
    }
    const QJSValue result = function.call(arguments);
    return !result.isError() && (!result.isBool() || result.toBool());
}
