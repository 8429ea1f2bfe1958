#include "JsonEdit.h"

#include <algorithm>

namespace ConfigScript {

JsonEdit::JsonEdit(const JsonText &json)
    : m_json(json)
{
    // The layout of new lines is that of the outermost object's first one.
    const auto &outermost = m_json.element(0);
    if (outermost.type != JsonText::Type::Object || m_json.isEmpty(0)) {
        return;
    }
    const int key = m_json.firstChild(0);
    const auto &keyElement = m_json.element(key);
    const QByteArray lead = slice(outermost.begin + 1, keyElement.begin);
    const int newline = lead.lastIndexOf('\n');
    if (newline < 0) {
        m_lineBreak = lead;
        m_indentation.clear();
    } else {
        m_lineBreak = newline > 0 && lead.at(newline - 1) == '\r' ? "\r\n" : "\n";
        m_indentation = lead.mid(newline + 1);
    }
    m_colon = slice(m_json.end(key), m_json.element(key + 1).begin);
    if (m_colon == ":") {
        m_layout = JsonValue::Layout::Compact;
    }
}

void JsonEdit::setValue(int element, const QVariant &value)
{
    const auto &old = m_json.element(element);
    m_replacements.append({old.begin, m_json.end(element), merged(element, value)});
}

void JsonEdit::appendMembers(int object, const QVector<Member> &members)
{
    const auto &old = m_json.element(object);
    if (m_json.isEmpty(object)) {
        m_replacements.append(
            {old.begin, m_json.end(object), newObject(members, indentationAt(old.begin))});
        return;
    }
    const Items items = itemsOf(object);
    const Item &last = items.items.constLast();
    QByteArray text;
    for (const Member &member : members) {
        text += ',' + items.nextLead + JsonValue::toText(member.first) + last.colon
            + JsonValue::toText(member.second, m_layout);
    }
    const int end = m_json.end(last.element);
    m_replacements.append({end, end, text});
}

void JsonEdit::prependObject(int object, const QString &key, const QVector<Member> &members)
{
    const auto &old = m_json.element(object);
    const QByteArray outer = indentationAt(old.begin);
    const QByteArray inner = outer + m_indentation;
    const QByteArray text =
        m_lineBreak + inner + JsonValue::toText(key) + m_colon + newObject(members, inner);
    if (m_json.isEmpty(object)) {
        m_replacements.append(
            {old.begin, m_json.end(object), '{' + text + m_lineBreak + outer + '}'});
    } else {
        m_replacements.append({old.begin + 1, old.begin + 1, text + ','});
    }
}

QByteArray JsonEdit::result(int element) const
{
    QVector<Replacement> replacements = m_replacements;
    std::stable_sort(
        replacements.begin(), replacements.end(),
        [](const Replacement &left, const Replacement &right) { return left.begin < right.begin; });
    int offset = element == 0 ? 0 : m_json.element(element).begin;
    const int end = element == 0 ? m_json.text().size() : m_json.end(element);
    QByteArray text;
    text.reserve(end - offset + (end - offset) / 16);
    for (const Replacement &replacement : qAsConst(replacements)) {
        text.append(m_json.text().constData() + offset, replacement.begin - offset);
        text.append(replacement.text);
        offset = replacement.end;
    }
    text.append(m_json.text().constData() + offset, end - offset);
    return text;
}

JsonEdit::Items JsonEdit::itemsOf(int element) const
{
    const auto &container = m_json.element(element);
    const bool isObject = container.type == JsonText::Type::Object;
    Items result;
    int begin = container.begin + 1;
    for (int i = m_json.firstChild(element); i < container.next;) {
        Item item;
        item.element = isObject ? i + 1 : i;
        const auto &value = m_json.element(item.element);
        const bool isLast = value.next == container.next;
        const int valueEnd = m_json.end(item.element);
        const int end = isLast ? m_json.end(element) - 1 : m_json.text().indexOf(',', valueEnd);
        item.value = m_json.rawText(item.element);
        if (isObject) {
            item.key = m_json.rawText(i);
            item.colon = slice(m_json.end(i), value.begin);
        }
        const QByteArray lead = slice(begin, m_json.element(i).begin);
        const QByteArray trail = slice(valueEnd, end);
        (result.items.isEmpty() ? result.firstLead : item.lead) = lead;
        (isLast ? result.closing : item.trail) = trail;
        result.items.append(item);
        begin = end + 1;
        i = value.next;
    }
    if (result.items.size() > 1) {
        result.nextLead = result.items.constLast().lead;
    } else if (result.firstLead.contains('\n')) {
        result.nextLead = result.firstLead;
    } else if (m_layout == JsonValue::Layout::Spaced) {
        result.nextLead = " ";
    }
    return result;
}

QByteArray JsonEdit::joined(const Items &old, const QVector<Item> &items) const
{
    const int first = old.items.constFirst().element;
    QByteArray text;
    for (int i = 0; i < items.size(); ++i) {
        const Item &item = items.at(i);
        if (i > 0) {
            text += items.at(i - 1).trail + ',';
        }
        const bool hasLead = item.element >= 0 && item.element != first;
        text += i == 0 ? old.firstLead : hasLead ? item.lead : old.nextLead;
        text += item.key + item.colon + item.value;
    }
    return text + old.closing;
}

QByteArray JsonEdit::merged(int element, const QVariant &value) const
{
    if (JsonValue::areEqual(m_json.value(element), value)) {
        return m_json.rawText(element);
    }
    const auto type = m_json.element(element).type;
    if (!m_json.isEmpty(element)) {
        if (type == JsonText::Type::Object && value.userType() == QMetaType::QVariantMap) {
            return mergedObject(element, value.toMap());
        }
        if (type == JsonText::Type::Array && value.userType() == QMetaType::QVariantList) {
            return mergedArray(element, value.toList());
        }
    }
    return JsonValue::toText(value, m_layout);
}

QByteArray JsonEdit::mergedObject(int element, const QVariantMap &map) const
{
    if (map.isEmpty()) {
        return QByteArrayLiteral("{}");
    }
    const Items old = itemsOf(element);
    QVector<Item> items;
    QVariantMap added = map;
    for (Item item : old.items) {
        const auto value = added.find(m_json.string(item.element - 1));
        if (value != added.end()) {
            item.value = merged(item.element, *value);
            items.append(item);
            added.erase(value);
        }
    }
    for (auto it = added.cbegin(); it != added.cend(); ++it) {
        Item item;
        item.key = JsonValue::toText(it.key());
        item.colon = old.items.constLast().colon;
        item.value = JsonValue::toText(it.value(), m_layout);
        items.append(item);
    }
    return '{' + joined(old, items) + '}';
}

/// What the lists begin and end with in common stays; what lies between changes one by one.
QByteArray JsonEdit::mergedArray(int element, const QVariantList &list) const
{
    if (list.isEmpty()) {
        return QByteArrayLiteral("[]");
    }
    const Items old = itemsOf(element);
    const QVariantList oldList = m_json.value(element).toList();
    const auto [begin, tail] = JsonValue::commonEnds(oldList, list);
    QVector<Item> items = old.items.mid(0, begin);
    for (int i = begin; i < list.size() - tail; ++i) {
        Item item;
        if (i < oldList.size() - tail) {
            item = old.items.at(i);
            item.value = merged(item.element, list.at(i));
        } else {
            item.value = JsonValue::toText(list.at(i), m_layout);
        }
        items.append(item);
    }
    items += old.items.mid(old.items.size() - tail);
    return '[' + joined(old, items) + ']';
}

QByteArray JsonEdit::newObject(const QVector<Member> &members, const QByteArray &indentation) const
{
    QByteArray text("{");
    for (const Member &member : members) {
        text += text.size() > 1 ? "," : "";
        text += m_lineBreak + indentation + m_indentation + JsonValue::toText(member.first)
            + m_colon + JsonValue::toText(member.second, m_layout);
    }
    return text + m_lineBreak + indentation + '}';
}

QByteArray JsonEdit::slice(int begin, int end) const
{
    return m_json.text().mid(begin, end - begin);
}

/// The blanks in front of the line that holds @p offset.
QByteArray JsonEdit::indentationAt(int offset) const
{
    if (m_indentation.isEmpty()) {
        return QByteArray();
    }
    const int lineBegin = m_json.text().lastIndexOf('\n', offset) + 1;
    int end = lineBegin;
    while (m_json.text().at(end) == ' ' || m_json.text().at(end) == '\t') {
        ++end;
    }
    return slice(lineBegin, end);
}

} // namespace ConfigScript
