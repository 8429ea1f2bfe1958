#pragma once

#include <QString>

class JsonDataIteratorKeyComparator
{
public:
    JsonDataIteratorKeyComparator(const QString &key);

    bool accepts(const QString &key) const;

private:
    QString m_acceptedKey;
};
