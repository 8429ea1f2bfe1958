#pragma once

#include <QExplicitlySharedDataPointer>
#include <QString>

/**
 * An absolute URL taken apart and put together again.
 *
 * A selector URL names a scheme, a module, an object, an instance of the object, and a node inside
 * the instance's tree by its relative URL. The text that toString() gives parses back to the same
 * parts. A handler and its copies belong to one thread.
 */
class SelectorUrlHandler
{
public:
    /// Parses @p url. A text that is no selector URL leaves all parts empty.
    explicit SelectorUrlHandler(const QString &url);
    SelectorUrlHandler(const SelectorUrlHandler &other);
    SelectorUrlHandler &operator=(const SelectorUrlHandler &other);
    ~SelectorUrlHandler();

    bool isValid() const;

    QString getScheme() const;
    QString getModuleName() const;
    QString getObjectName() const;
    QString getInstance() const;

    /// The relative URL of the addressed node inside the instance's tree; empty for its root.
    QString getUrl() const;

    bool isConfigurationScheme() const;
    bool isProcessDataScheme() const;

    QString toString() const;

    SelectorUrlHandler &setScheme(const QString &scheme);
    SelectorUrlHandler &setModuleName(const QString &moduleName);
    SelectorUrlHandler &setObjectName(const QString &objectName);
    SelectorUrlHandler &setInstance(const QString &instance);
    SelectorUrlHandler &setUrl(const QString &relUrl);

private:
    class Parts;

    Parts &changeableParts();

    QExplicitlySharedDataPointer<Parts> m_parts;
};
