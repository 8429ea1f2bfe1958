#pragma once

#include "filehost/json/JsonText.h"
#include "filehost/store/TextFile.h"

#include <QByteArray>
#include <QString>

namespace ConfigScript {

/// The file of a tree, as one reader knows it.
struct TreeFile
{
    QString path;
    JsonText json; ///< the text of a tree; see FileTree for the format
    TextFile::Stamp stamp; ///< of the file when it was read
    QByteArray storedText; ///< what the file holds, as far as is known
    TextFile::Stamp batchedStamp; ///< of the file once a batch is committed

    /// Null, with @p error set but for its file, when the text is no tree.
    static JsonText parse(const QByteArray &text, Diagnostic &error);

    /// Whether nobody else has written the file since it was read; if not, @p error is set.
    bool isAsRead(Diagnostic &error) const;
};

} // namespace ConfigScript
