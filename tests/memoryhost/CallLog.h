#pragma once

#include <QString>
#include <QStringList>

/**
 * The operations of the memory host that were called, in order, as text:
 *  - static operations: getConfigurationFolderPath("/project"); the access operations with their
 *    folder's path and, last, "configuration" or "process":
 *    getParsedConfigurationProcessDescription("/project/setups", "line1", process)
 *  - operations of nodes, below the root with the node's path: getNode("motor") on a root,
 *    motor: setProperty("speed", QVariant(int, 5)) on its child
 *  - constructors, operations and destructors of the service objects, as they are written in code
 *  - operations of URL handlers while a UrlHandlerCalls object lives: SelectorUrlHandler("…"),
 *    url: isValid(), url: setUrl("")
 *
 * Getters of provider containers and items are not recorded.
 */
class CallLog
{
public:
    CallLog() = delete;

    static void add(const QString &call);

    /// The calls since the last take().
    static QStringList take();

    /// Records the calls of URL handlers, too, for its life.
    class UrlHandlerCalls
    {
    public:
        UrlHandlerCalls();
        ~UrlHandlerCalls();

    private:
        Q_DISABLE_COPY(UrlHandlerCalls)
    };

    static void addUrlHandlerCall(const QString &call);

private:
    static bool s_withUrlHandlers;
    static QStringList s_calls;
};
