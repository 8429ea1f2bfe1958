#pragma once

#include <QString>

class JsonDataIteratorKeyComparator
{
public:
    explicit JsonDataIteratorKeyComparator(const QString &key)
        : m_key(key)
    {
    }

    bool accepts(const QString &key) const { return key == m_key; }

private:
    QString m_key;
};
