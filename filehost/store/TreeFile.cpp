#include "TreeFile.h"

#include "filehost/store/FileTreeFormat.h"

namespace ConfigScript {

JsonText TreeFile::parse(const QByteArray &text, Diagnostic &error)
{
    const JsonText json = JsonText::parse(text, error);
    return !json.isNull() && FileTreeFormat(json, error).isNode(0) ? json : JsonText();
}

bool TreeFile::isAsRead(Diagnostic &error) const
{
    if (TextFile::isUnchanged(path, stamp)) {
        return true;
    }
    QByteArray text;
    TextFile::Stamp now;
    const auto result = TextFile::read(path, TextFile::maximumSize, text, error, &now);
    const bool isBatched = now.device == batchedStamp.device && now.inode == batchedStamp.inode
        && now.size == batchedStamp.size && now.modified == batchedStamp.modified;
    if (result == TextFile::ReadResult::Read && !isBatched && text != storedText) {
        error = {path, 0, 0,
                 QStringLiteral("cannot be written: the file has changed since it was read")};
        return false;
    }
    return result != TextFile::ReadResult::Unreadable;
}

} // namespace ConfigScript
