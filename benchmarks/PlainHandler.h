#pragma once

#include "host/ConfigurationAndProcessDataBase.h"

#include <QHash>
#include <QJSEngine>
#include <QJSValue>
#include <QJsonArray>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QVector>

/**
 * The floor of what scripts call: the same methods on the host's own trees, each with as little
 * around the look-up as plain Qt allows.
 */
class PlainApi : public QObject
{
    Q_OBJECT

public:
    using Node = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

    struct Error
    {
        QString relUrl;
        QString errorLabelTextId;
        QVariant value;
    };

    Q_INVOKABLE QVariant getProperty(const QString &relUrl, const QString &propertyKey) const;
    Q_INVOKABLE void setProperty(const QString &relUrl, const QString &propertyKey,
                                 const QVariant &value);
    Q_INVOKABLE QVariant getPropertyExtern(const QString &absUrl, const QString &propertyKey) const;
    Q_INVOKABLE void setPropertyExtern(const QString &absUrl, const QString &propertyKey,
                                       const QVariant &value);
    Q_INVOKABLE void setError(const QString &relUrl, const QString &errorLabelTextId,
                              const QVariant &value = QVariant());
    Q_INVOKABLE QJsonArray getListOfNodeInstancesWithText(const QString &absUrl,
                                                          bool withDynTexts) const;

    struct Tree
    {
        Node root;
        bool changed = false;
    };

    Node root; ///< the tree of relative URLs
    QHash<QString, Tree> trees; ///< those of absolute URLs, by instance
    QHash<QString, QString> texts;
    QVector<Error> errors;
};

/// The floor of a handler: an engine with the API, in which the functions of a script are called.
class PlainHandler
{
public:
    PlainHandler();

    /// @return false when the script throws, or does not compile
    bool evaluate(const QString &script);

    /// As JavaScriptHandler::callFunction(): false when the function failed or returned false.
    bool call(const QString &functionName, const QString &argument = QString());

    PlainApi api;

private:
    QJSEngine m_engine;
    QJSValue m_wrappedApi;
};
