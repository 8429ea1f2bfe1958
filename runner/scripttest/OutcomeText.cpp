#include "OutcomeText.h"

#include "filehost/JsonValue.h"
#include "runner/scripttest/JsonLines.h"
#include "runner/scripttest/OutcomeMember.h"

namespace OutcomeText {

namespace {

using Id = OutcomeMember::Id;

/// A line for each error, its members in the order of the arguments of setError().
QByteArray errorsText(const QVariantList &errors, const QByteArray &indentation)
{
    QByteArray text;
    for (const QVariant &error : errors) {
        const QVariantMap object = error.toMap();
        QByteArray members;
        for (const char *key : {"instance", "url", "textId", "value"}) {
            const auto member = object.find(QLatin1String(key));
            if (member != object.end()) {
                members += (members.isEmpty() ? "\"" : ", \"") + QByteArray(key)
                    + "\": " + JsonValue::toText(*member, JsonValue::Layout::Spaced);
            }
        }
        text += (text.isEmpty() ? "\n" : ",\n") + indentation + "  { " + members + " }";
    }
    return text.isEmpty() ? QByteArrayLiteral("[]") : '[' + text + '\n' + indentation + ']';
}

} // namespace

QByteArray toText(const QVariantMap &outcome, const QByteArray &indentation)
{
    const QByteArray inner = indentation + "  ";
    QByteArray text;
    for (const OutcomeMember &member : OutcomeMember::all()) {
        const auto value = outcome.find(member.name);
        if (value != outcome.end()) {
            text += (text.isEmpty() ? "\n" : ",\n") + inner + JsonValue::toText(member.name) + ": "
                + (member.id == Id::Errors
                       ? errorsText(value->toList(), inner)
                       : JsonLines::toText(*value, inner, member.id == Id::Announced ? 0 : 1));
        }
    }
    return text.isEmpty() ? QByteArrayLiteral("{}") : '{' + text + '\n' + indentation + '}';
}

QList<QByteArray> toLines(const QVariantMap &outcome)
{
    QVariantMap shown;
    for (const OutcomeMember &member : OutcomeMember::all()) {
        const QVariant value = outcome.value(member.name, member.defaultValue);
        if (member.id == Id::Result || !JsonValue::areEqual(value, member.defaultValue)) {
            shown.insert(member.name, value);
        }
    }
    QList<QByteArray> lines = toText(shown, QByteArray()).split('\n');
    for (QByteArray &line : lines) {
        if (line.endsWith(',')) {
            line.chop(1);
        }
    }
    return lines;
}

} // namespace OutcomeText
