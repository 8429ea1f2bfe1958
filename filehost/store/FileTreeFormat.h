#pragma once

#include "filehost/json/JsonText.h"

namespace ConfigScript {

/// Checks whether a JSON text is a tree; see FileTree for the format.
class FileTreeFormat
{
public:
    FileTreeFormat(const JsonText &json, Diagnostic &error);

    /// Whether the element is a node, with all below it; if not, the error is set.
    bool isNode(int element);

private:
    bool isProperties(int element);
    bool isReadOnlyKeys(int element);
    bool isChildren(int element);
    bool expect(int element, JsonText::Type type, const char *expected);

    const JsonText &m_json;
    Diagnostic &m_error;
};

} // namespace ConfigScript
