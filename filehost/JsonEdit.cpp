#include "JsonEdit.h"

#include <algorithm>

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
    m_colon = slice(keyElement.end, m_json.element(key + 1).begin);
    if (m_colon == ":") {
        m_layout = JsonValue::Layout::Compact;
    }
}

void JsonEdit::setValue(int element, const QVariant &value)
{
    const auto &old = m_json.element(element);
    m_replacements.append({old.begin, old.end, merged(element, value)});
}

void JsonEdit::appendMembers(int object, const QVector<Member> &members)
{
    const auto &old = m_json.element(object);
    if (m_json.isEmpty(object)) {
        m_replacements.append({old.begin, old.end, newObject(members, indentationAt(old.begin))});
        return;
    }
    const Item last = itemsOf(object).constLast();
    QByteArray text;
    for (const Member &member : members) {
        text += ',' + newMember(last, member);
    }
    const int end = m_json.element(last.value).end;
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
        m_replacements.append({old.begin, old.end, '{' + text + m_lineBreak + outer + '}'});
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
    const int end = element == 0 ? m_json.text().size() : m_json.element(element).end;
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

QVector<JsonEdit::Item> JsonEdit::itemsOf(int element) const
{
    const auto &container = m_json.element(element);
    const bool isObject = container.type == JsonText::Type::Object;
    QVector<Item> items;
    int begin = container.begin + 1;
    for (int i = m_json.firstChild(element); i < container.next;) {
        const int value = isObject ? i + 1 : i;
        const int next = m_json.element(value).next;
        const int valueEnd = m_json.element(value).end;
        const int end =
            next < container.next ? m_json.text().indexOf(',', valueEnd) : container.end - 1;
        items.append({slice(begin, m_json.element(value).begin), value, slice(valueEnd, end)});
        begin = end + 1;
        i = next;
    }
    return items;
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
    const QVector<Item> items = itemsOf(element);
    QVariantMap added = map;
    QByteArray text("{");
    const auto append = [&text](const QByteArray &member) {
        text += text.size() > 1 ? ',' + member : member;
    };
    for (const Item &item : items) {
        const auto value = added.find(m_json.string(item.value - 1));
        if (value != added.end()) {
            const bool isLast = item.value == items.constLast().value;
            append(item.before + merged(item.value, *value) + (isLast ? QByteArray() : item.after));
            added.erase(value);
        }
    }
    for (auto it = added.cbegin(); it != added.cend(); ++it) {
        append(newMember(items.constLast(), {it.key(), it.value()}));
    }
    return text + items.constLast().after + '}';
}

QByteArray JsonEdit::mergedArray(int element, const QVariantList &list) const
{
    if (list.isEmpty()) {
        return QByteArrayLiteral("[]");
    }
    const QVector<Item> items = itemsOf(element);
    QByteArray text("[");
    for (int i = 0; i < list.size(); ++i) {
        const bool isKept = i < items.size();
        text += i > 0 ? "," : "";
        text += isKept ? items.at(i).before : items.constLast().before;
        text += isKept ? merged(items.at(i).value, list.at(i))
                       : JsonValue::toText(list.at(i), m_layout);
        text += i + 1 < items.size() ? items.at(i).after : QByteArray();
    }
    return text + items.constLast().after + ']';
}

QByteArray JsonEdit::newMember(const Item &model, const Member &member) const
{
    const auto &modelKey = m_json.element(model.value - 1);
    const int keyLength = modelKey.end - modelKey.begin;
    const int keyBegin = model.before.size() - (m_json.element(model.value).begin - modelKey.begin);
    return model.before.left(keyBegin) + JsonValue::toText(member.first)
        + model.before.mid(keyBegin + keyLength) + JsonValue::toText(member.second, m_layout);
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
