#pragma once

#include <QString>

class TextManagerBase
{
public:
    virtual ~TextManagerBase() = default;

    virtual QString getText(const QString &textId, const QString &context) const = 0;
};
