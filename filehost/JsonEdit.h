#pragma once

#include "filehost/JsonText.h"
#include "filehost/JsonValue.h"

#include <QPair>
#include <QVariant>
#include <QVector>

/**
 * Changes of a JSON text, each touching as little of it as it can: the order of members, members
 * that nobody knows, the spelling of equal values and the layout stay.
 *
 * Values are normalized ones (see JsonValue). Changed elements must not overlap.
 */
class JsonEdit
{
public:
    using Member = QPair<QString, QVariant>;

    explicit JsonEdit(const JsonText &json);

    /// Makes @p element hold @p value. Objects and arrays are changed member by member.
    void setValue(int element, const QVariant &value);

    /// Appends members to an object. At most once for each object.
    void appendMembers(int object, const QVector<Member> &members);

    /// Puts a new object with @p members, as the member @p key, in front of an object's members.
    void prependObject(int object, const QString &key, const QVector<Member> &members);

    /// The text of @p element with all changes, which must lie inside it; for the outermost element
    /// the whole text.
    QByteArray result(int element = 0) const;

private:
    struct Replacement
    {
        int begin;
        int end;
        QByteArray text;
    };

    /// A member or an array's element, and the text around it.
    struct Item
    {
        QByteArray before; ///< from the opening bracket or the comma to the value, key included
        int value; ///< the value's element
        QByteArray after; ///< from the value to the comma or the closing bracket
    };

    QVector<Item> itemsOf(int element) const;
    QByteArray merged(int element, const QVariant &value) const;
    QByteArray mergedObject(int element, const QVariantMap &map) const;
    QByteArray mergedArray(int element, const QVariantList &list) const;
    QByteArray newMember(const Item &model, const Member &member) const;
    QByteArray newObject(const QVector<Member> &members, const QByteArray &indentation) const;
    QByteArray slice(int begin, int end) const;
    QByteArray indentationAt(int offset) const;

    JsonText m_json;
    JsonValue::Layout m_layout = JsonValue::Layout::Spaced;
    QByteArray m_lineBreak = "\n"; ///< what stands in front of a member; no newline in a text on
                                   ///< one line
    QByteArray m_indentation = "  "; ///< of one level; empty in a text on one line
    QByteArray m_colon = ": ";
    QVector<Replacement> m_replacements;
};
