#pragma once

#include <QString>
#include <QStringList>

/**
 * URLs are written scheme|module|object|instance|path, all five always there. "\" makes the next
 * character an ordinary one. The schemes are "cfg" and "prc".
 */
class SelectorUrlHandler
{
public:
    explicit SelectorUrlHandler(const QString &url);

    bool isValid() const;
    QString getScheme() const;
    QString getModuleName() const;
    QString getObjectName() const;
    QString getInstance() const;
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
    enum Part { Scheme, Module, Object, Instance, Path, PartCount };

    SelectorUrlHandler &setPart(const char *operation, Part part, const QString &text);

    QStringList m_parts;
};
