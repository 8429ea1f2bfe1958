#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/FileHostExport.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>

namespace ConfigScript {

/**
 * A JSON text (RFC 8259) and where its values stand in it.
 *
 * The text is kept as it is, so that it can be changed at one place and stay the same everywhere
 * else. Values are decoded on request. An element is known by its index, in the order of the text;
 * 0 is the outermost value.
 *
 * Copies share the text. A text and its copies belong to one thread.
 */
class FILEHOST_EXPORT JsonText
{
public:
    enum class Type : quint8 { Object, Array, String, Number, True, False, Null };

    struct Element
    {
        int begin; ///< offset of the first byte
        int next; ///< index behind the element and all that it contains
        Type type;
        bool isPlain = false; ///< a string of ASCII characters without escapes
    };

    /// Deeper nesting is refused.
    static constexpr int maximumDepth = 512;
    /// Longer texts are refused, in bytes.
    static constexpr int maximumSize = 1 << 28;

    JsonText() = default;

    /**
     * Refused are, besides what is no JSON: invalid UTF-8, members of one object with equal keys,
     * numbers beyond the range of a double, nesting deeper than maximumDepth, texts longer than
     * maximumSize.
     * @param error receives place and reason, not the file, when the result is null
     */
    static JsonText parse(const QByteArray &text, Diagnostic &error);

    bool isNull() const { return m_elements.isEmpty(); }
    const QByteArray &text() const { return m_text; }
    Element element(int index) const;
    /// Offset behind the last byte of an element; looked for in the text.
    int end(int index) const;
    QByteArray rawText(int index) const;

    /**
     * The elements directly inside an array or object: for an object keys and values in turn.
     * Walk them with: for (int i = firstChild(e); i < element(e).next; i = element(i).next)
     */
    int firstChild(int index) const { return index + 1; }
    bool isEmpty(int index) const { return element(index).next == index + 1; }

    /// The value of the member @p key of the object @p index; -1 when there is none.
    int member(int index, const QString &key) const;

    /// The text of a string element, keys included.
    QString string(int index) const;

    /// Whether a string element's text is @p text; faster than comparing string().
    bool isString(int index, const QString &text) const;

    /**
     * The value as the tree holds it: null as std::nullptr_t, objects as QVariantMap, arrays as
     * QVariantList, a number without fraction as int or qlonglong where it fits, else as double.
     */
    QVariant value(int index) const;

    /// A number in the form that value() gives it.
    static QVariant numberValue(double number);

    /// The message that something else is expected in an element's place.
    Diagnostic unexpected(int index, const QString &expected) const;

    /// Where a byte stands, for messages.
    Diagnostic placeOf(int offset, const QString &message) const;

private:
    friend class JsonParser;

    using Members = QHash<QString, int>; ///< values by key

    const Members &largeObject(int index) const;
    int endOfString(int begin) const;
    int endOfContainer(int begin) const;

    /// The bytes of a string element between the quotes.
    QLatin1String rawString(int index) const;

    /// An element in as little memory as possible: large trees have many.
    struct Entry
    {
        quint32 place : 28; ///< a scalar's first byte; a container's index among the containers
        quint32 type : 3;
        quint32 isPlain : 1;
    };
    struct Container
    {
        int begin;
        int next;
    };

    QByteArray m_text;
    QVector<Entry> m_elements;
    QVector<Container> m_containers;
    mutable QHash<int, Members> m_largeObjects; ///< those that were searched, by index
};

inline JsonText::Element JsonText::element(int index) const
{
    const Entry &entry = m_elements.at(index);
    const auto type = Type(entry.type);
    if (type == Type::Object || type == Type::Array) {
        const Container &container = m_containers.at(int(entry.place));
        return {container.begin, container.next, type, false};
    }
    return {int(entry.place), index + 1, type, bool(entry.isPlain)};
}

} // namespace ConfigScript
