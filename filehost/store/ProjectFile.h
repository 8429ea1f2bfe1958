#pragma once

#include "filehost/FileHostExport.h"
#include "filehost/json/JsonText.h"

#include <QHash>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

namespace ConfigScript {

/**
 * One of a project's JSON files, with an object on top, and what is wrong with it.
 *
 * The first thing that is not as expected stays as the error; what is read afterwards means
 * nothing. A file that does not exist reads as an empty object.
 */
class FILEHOST_EXPORT ProjectFile
{
public:
    using Member = QPair<QString, int>; ///< name and element

    explicit ProjectFile(const QString &filePath);

    QString filePath() const { return m_filePath; }
    bool exists() const { return m_exists; }
    bool hasFailed() const { return !m_error.message.isEmpty(); }
    const Diagnostic &error() const { return m_error; }
    const JsonText &json() const { return m_json; } ///< null when the file is no JSON

    /// The members of the object @p element, in the file's order; 0 is the outermost one.
    QVector<Member> members(int element = 0);

    QString string(int element);
    QStringList strings(int element); ///< of an array
    QHash<QString, QString> stringMap(int element = 0); ///< of an object

    QString requiredString(const QString &key);

    /// Where the member stands, for errors that the caller finds.
    void fail(int element, const QString &message);

private:
    bool expect(int element, JsonText::Type type, const QString &expected);
    void setError(const Diagnostic &error);

    JsonText m_json;
    Diagnostic m_error;
    QString m_filePath;
    bool m_exists = false;
};

} // namespace ConfigScript
