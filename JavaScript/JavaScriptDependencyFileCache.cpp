#include "JavaScriptDependencyFileCache.h"

#include "host/PropertyManagerConst.h"

#include <QDebug>
#include <QFile>
#include <QTextStream>

JavaScriptDependencyFileCache::JavaScriptDependencyFileCache(const QString &projectPath)
    : m_projectPath(projectPath)
{
}

JavaScriptDependencyFileCache::~JavaScriptDependencyFileCache() = default;

QString JavaScriptDependencyFileCache::getJavaScriptContent(const QString &fileName)
{
    if (!m_fileContentCache.contains(fileName)) {
        const QString filePath = PropertyManagerConst::getDependencyFolderPath(m_projectPath)
            + QLatin1Char('/') + fileName;
        m_fileContentCache.insert(fileName, readContentOfFile(filePath));
    }
    return m_fileContentCache.value(fileName);
}

QString JavaScriptDependencyFileCache::readContentOfFile(const QString &filePath) const
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning() << "Can not open file:" << filePath;
        return QString();
    }
    QTextStream stream(&file);
    QString content = stream.readAll();
    file.close();
    return content;
}
