#pragma once

#include "JavaScript/JavaScriptApi.h"
#include "RecordingNode.h"
#include "RecordingRootPointerHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"
#include "support/CallText.h"
#include "support/MessageRecorder.h"

#include <QSharedPointer>
#include <QString>
#include <QStringList>

#include <utility>

/// A text store whose text for "id" is "text of id", and that records its calls.
class RecordingTextManager : public TextManager
{
public:
    explicit RecordingTextManager(QStringList &calls)
        : m_calls(calls)
    {
    }

    QString getText(const QString &textId, const QString &context) const override
    {
        m_calls.append(QLatin1String("texts.") + callText("getText", textId, context));
        return QLatin1String("text of ") + textId;
    }

private:
    QStringList &m_calls;
};

/// A JavaScriptApi of the module "pumps" and the object "station" whose collaborators record their
/// calls in one list.
struct ApiFixture
{
    explicit ApiFixture(bool acceptAllObjects = false)
        : rootPointerHandler(calls)
        , texts(calls)
        , units(false, false)
        , api(units, rootPointerHandler, texts, QStringLiteral("pumps"), QStringLiteral("station"),
              acceptAllObjects, nullptr)
    {
    }

    /// A root whose descendants "motor" and "" have the property "speed".
    QSharedPointer<RecordingNode> makeRoot(const QVariant &speed = 1200, int writeStatus = 0)
    {
        const auto root = makeNode(QStringLiteral("root"));
        for (const QString &relUrl : {QStringLiteral("motor"), QString()}) {
            const auto node = makeNode(relUrl);
            node->properties.insert(QStringLiteral("speed"), speed);
            node->writeStatus = writeStatus;
            root->nodes.insert(relUrl, node);
        }
        return root;
    }

    QSharedPointer<RecordingNode> makeNode(const QString &name)
    {
        return QSharedPointer<RecordingNode>::create(calls, name);
    }

    /// The calls since the last time.
    QStringList takeCalls() { return std::exchange(calls, {}); }

    QStringList calls;
    RecordingRootPointerHandler rootPointerHandler;
    RecordingTextManager texts;
    UnitManagerWrapper units;
    JavaScriptApi api;
};

/// What the API's shared read and write warn of.
namespace ApiWarnings {

inline const QString read = QStringLiteral(
    "QVariant JavaScriptApi::getPropertyInternal("
    "ConfigurationAndProcessDataBase::BaseClassSharedPointer, const QString&, const QString&) "
    "const");
inline const QString write = QStringLiteral(
    "bool JavaScriptApi::setPropertyInternal("
    "ConfigurationAndProcessDataBase::BaseClassSharedPointer, const QString&, const QString&, "
    "const QVariant&)");
inline const QString initialize =
    QStringLiteral("void JavaScriptApi::initializeJavaScriptApi("
                   "ConfigurationAndProcessDataBase::BaseClassSharedPointer, const QString&)");

inline Message rootIsNull(const QString &function)
{
    return warning(function, QStringLiteral("Root is null."));
}

inline Message leafIsNull(const QString &function, const QString &relUrl)
{
    return warning(function, QStringLiteral("Leaf for url %1 is null.").arg(argumentText(relUrl)));
}

inline Message newRootIsNull()
{
    return warning(initialize, QStringLiteral("New root is null."));
}

} // namespace ApiWarnings
