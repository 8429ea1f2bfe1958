#pragma once

#include <QByteArray>

/// A text as the name of a test's row: on one line, not too long.
inline QByteArray rowName(QByteArray text)
{
    return text.replace('\r', "\\r").replace('\n', "\\n").replace('\t', "\\t").left(60);
}
