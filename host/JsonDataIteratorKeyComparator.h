#pragma once

#include <QString>

/// What a JsonDataIterator looks for: a member with one key.
class JsonDataIteratorKeyComparator
{
public:
    explicit JsonDataIteratorKeyComparator(const QString &key);

private:
    friend class JsonDataIterator;

    QString m_key;
};
