#pragma once

#include <QString>
#include <QtGlobal>

/// A store of label texts.
class TextManagerBase
{
public:
    TextManagerBase() = default;
    virtual ~TextManagerBase() = default;

    /**
     * The text for an identifier.
     * @param context narrows the search where a host keeps several texts for one identifier;
     *        empty for the general one.
     */
    virtual QString getText(const QString &textId, const QString &context) const = 0;

private:
    Q_DISABLE_COPY(TextManagerBase)
};
