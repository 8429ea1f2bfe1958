#pragma once

#include "filehost/FileHostExport.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"

#include <QPair>
#include <QVariant>
#include <QVector>

namespace ConfigScript {

/**
 * Changes of a JSON text, each touching as little of it as it can: the order of members, members
 * that nobody knows, the spelling of equal values and the layout stay.
 *
 * Values are normalized ones (see JsonValue). Changed elements must not overlap.
 */
class FILEHOST_EXPORT JsonEdit
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

    /// A member or an array's element, in its text or new.
    struct Item
    {
        QByteArray key; ///< a member's, in quotes
        QByteArray colon; ///< with the blanks around it
        QByteArray value;
        QByteArray trail; ///< blanks up to the comma; not of the last item
        int element = -1; ///< the value's; -1 for a new item
        QByteArray lead; ///< blanks behind the comma; not of the first item, nor of a new one
    };

    /// The items of a container that is not empty, and the blanks around all of them.
    struct Items
    {
        QVector<Item> items;
        QByteArray firstLead;
        QByteArray nextLead; ///< of an item that is put behind others
        QByteArray closing;
    };

    Items itemsOf(int element) const;
    QByteArray joined(const Items &old, const QVector<Item> &items) const;
    QByteArray merged(int element, const QVariant &value) const;
    QByteArray mergedObject(int element, const QVariantMap &map) const;
    QByteArray mergedArray(int element, const QVariantList &list) const;
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

} // namespace ConfigScript
