#pragma once

#include "JavaScript/JavaScriptExport.h"

#include <QHash>
#include <QString>

/**
 * The texts of a project's dependency scripts, each read from its file at most once.
 *
 * A file that changes after its first reading, or could not be read, is not read again.
 */
class JAVASCRIPT_EXPORT JavaScriptDependencyFileCache
{
public:
    explicit JavaScriptDependencyFileCache(const QString &projectPath);
    virtual ~JavaScriptDependencyFileCache();

    /// The text of @p fileName in the project's dependency folder; empty when it cannot be read.
    QString getJavaScriptContent(const QString &fileName);

    /// The whole file as text, in the locale's encoding. Null, with a warning, when it cannot be
    /// opened.
    QString readContentOfFile(const QString &filePath) const;

private:
    QString m_projectPath;
    QHash<QString, QString> m_fileContentCache;
};
