#include "Field.h"

#include "editor/data/Choice.h"
#include "editor/data/ValueText.h"

#include <QStringList>

#include <algorithm>

namespace ConfigScript {

namespace {

const QString s_label = QStringLiteral("labelTextId");
const QString s_unit = QStringLiteral("unit");
const QString s_choices = QStringLiteral("choices");
const QString s_limits = QStringLiteral("limits");

bool containsNumber(const QVariant &value)
{
    const QVariantMap map = value.toMap();
    return ValueText::isNumber(value)
        || std::any_of(map.cbegin(), map.cend(), &ValueText::isNumber);
}

} // namespace

Field::Field(const Document &document, const Labels &labels, int node, const QString &key)
    : m_document(document)
    , m_labels(labels)
    , m_key(key)
    , m_node(document.snapshot().node(node))
    , m_property(m_node.property(key.isEmpty() ? valueKey() : key))
{
}

Field::Mark Field::mark() const
{
    if (!m_property || !m_property->isChanged()) {
        return Mark::None;
    }
    return m_property->isFromScript ? Mark::ByScript : Mark::ByUser;
}

QVariant Field::choices() const
{
    return m_node.value(s_choices);
}

QString Field::label() const
{
    return isNode() ? labelOf(m_document, m_labels, m_node.path) : m_key;
}

QString Field::place() const
{
    return m_property ? m_node.path + QLatin1Char(':') + m_property->key : m_node.path;
}

QString Field::valueText() const
{
    if (!m_property) {
        return QString();
    }
    const QVariant &value = m_property->value;
    if (value.userType() == QMetaType::Bool) {
        return value.toBool() ? tr("yes") : tr("no");
    }
    if (m_property->key == valueKey()) {
        const QVector<Choice> choices = Choice::listOf(this->choices());
        const auto chosen =
            std::find_if(choices.cbegin(), choices.cend(),
                         [&value](const Choice &choice) { return choice.value == value; });
        if (chosen != choices.cend()) {
            return chosen->text;
        }
    }
    return ValueText::toText(value);
}

QString Field::unitText() const
{
    const QString unit = m_node.value(s_unit).toString();
    return m_property && containsNumber(m_property->value) && !unit.isEmpty() ? m_labels.unit(unit)
                                                                              : QString();
}

QString Field::remarkText() const
{
    QString errors = errorsText();
    if (!errors.isEmpty() || !m_property) {
        return errors;
    }
    if (m_property->isChanged()) {
        const QString old = m_property->valueInFile.isValid()
            ? tr("was %1").arg(ValueText::toText(m_property->valueInFile))
            : tr("new");
        return m_property->isFromScript ? tr("%1; by the script").arg(old) : old;
    }
    return m_property->isReadOnly ? tr("read-only") : limitsText();
}

QString Field::limitsText() const
{
    const QVariantMap limits = m_node.value(s_limits).toMap();
    if (m_property->key != valueKey() || limits.isEmpty()) {
        return QString();
    }
    const auto limit = [&limits](const QString &name) {
        const QVariant value = limits.value(name);
        return value.isValid() ? ValueText::toText(value) : QString();
    };
    return QStringLiteral("%1 \u2026 %2")
        .arg(limit(QStringLiteral("min")), limit(QStringLiteral("max")))
        .trimmed();
}

QString Field::errorsText() const
{
    QStringList texts;
    for (const Document::Error &error : m_document.errors()) {
        if (isNode() && error.path == m_node.path) {
            texts.append(textOf(error, m_labels));
        }
    }
    return texts.join(QLatin1Char(' '));
}

QString Field::accessibleText() const
{
    QStringList parts{label(), (valueText() + QLatin1Char(' ') + unitText()).trimmed(),
                      remarkText()};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

QString Field::labelOf(const Document &document, const Labels &labels, const QString &path)
{
    QString name = path.isEmpty() ? document.instance() : path;
    const int node = document.snapshot().find(path);
    if (node < 0) {
        return name;
    }
    const InstanceSnapshot::Node &content = document.snapshot().node(node);
    const QString textId = content.value(s_label).toString();
    if (!textId.isEmpty()) {
        return labels.text(textId);
    }
    return path.isEmpty() ? name : content.name;
}

QString Field::textOf(const Document::Error &error, const Labels &labels)
{
    const QString text = labels.text(error.textId);
    return error.value.isValid()
        ? QStringLiteral("%1 (%2)").arg(text, ValueText::toText(error.value))
        : text;
}

} // namespace ConfigScript
