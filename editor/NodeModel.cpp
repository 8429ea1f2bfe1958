#include "NodeModel.h"

#include "editor/BadgeIcon.h"
#include "editor/EditorColors.h"
#include "editor/ValueText.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"

#include <QFont>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>

namespace ConfigScript {

namespace {

const QString s_value = QStringLiteral("value");
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

NodeModel::NodeModel(QObject *parent)
    : QAbstractItemModel(parent)
{
    m_flashTimer.setSingleShot(true);
    m_flashTimer.setInterval(flashTime);
    connect(&m_flashTimer, &QTimer::timeout, this, &NodeModel::endFlash);
}

void NodeModel::setDocument(Document *document)
{
    if (m_document) {
        m_document->disconnect(this);
    }
    beginResetModel();
    m_document = document;
    build();
    endResetModel();
    if (document) {
        connect(document, &Document::aboutToReset, this, &NodeModel::beginResetModel);
        connect(document, &Document::wasReset, this, [this] {
            build();
            endResetModel();
        });
        connect(document, &Document::valuesChanged, this, &NodeModel::changeAll);
        connect(document, &Document::propertyChanged, this, &NodeModel::changeProperty);
        connect(document, &Document::propertyAdded, this, &NodeModel::addProperty);
        connect(document, &Document::propertyRemoved, this, &NodeModel::removeProperty);
        connect(document, &Document::scriptWrote, this, &NodeModel::flash);
        connect(document, &Document::errorsChanged, this, &NodeModel::changeAll);
    }
}

void NodeModel::setLabels(const Labels &labels)
{
    m_labels = labels;
    changeAll();
}

void NodeModel::setShowsEverything(bool showsEverything)
{
    beginResetModel();
    m_showsEverything = showsEverything;
    build();
    endResetModel();
}

bool NodeModel::isDescribing(const QString &key)
{
    static const QSet<QString> keys{
        s_label,
        s_unit,
        s_choices,
        s_limits,
        Project::keyOfUserInterfaceScript(),
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()};
    return keys.contains(key);
}

bool NodeModel::hasRow(const QString &key) const
{
    return key != s_value && (m_showsEverything || !isDescribing(key));
}

void NodeModel::build()
{
    m_items.clear();
    m_itemsOfNodes.clear();
    m_flashing.clear();
    if (m_document && !m_document->snapshot().isEmpty()) {
        m_itemsOfNodes.fill(-1, m_document->snapshot().size());
        addItem(0, QString(), -1);
    }
}

int NodeModel::addItem(int node, const QString &key, int parent)
{
    const int item = m_items.size();
    m_items.append({node, key, parent, parent < 0 ? 0 : m_items.at(parent).children.size(), {}});
    if (parent >= 0) {
        m_items[parent].children.append(item);
    }
    if (!key.isEmpty()) {
        return item;
    }
    m_itemsOfNodes[node] = item;
    const InstanceSnapshot::Node &content = m_document->snapshot().node(node);
    for (const InstanceSnapshot::Property &property : content.properties) {
        if (hasRow(property.key)) {
            addItem(node, property.key, item);
        }
    }
    for (const int child : content.children) {
        addItem(child, QString(), item);
    }
    return item;
}

int NodeModel::itemOf(int node, const QString &key) const
{
    const int nodeItem = m_itemsOfNodes.at(node);
    for (const int child : m_items.at(nodeItem).children) {
        if (m_items.at(child).node == node && m_items.at(child).key == key) {
            return child;
        }
    }
    return nodeItem;
}

QModelIndex NodeModel::indexOfItem(int item, int column) const
{
    return createIndex(m_items.at(item).row, column, quintptr(item));
}

QModelIndex NodeModel::indexOf(const QString &path, const QString &key) const
{
    const int node = m_document ? m_document->snapshot().find(path) : -1;
    return node < 0 ? QModelIndex() : indexOfItem(itemOf(node, key), ValueColumn);
}

QModelIndex NodeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || column >= ColumnCount || row >= rowCount(parent)) {
        return QModelIndex();
    }
    return createIndex(row, column, quintptr(parent.isValid() ? item(parent).children.at(row) : 0));
}

QModelIndex NodeModel::parent(const QModelIndex &index) const
{
    const int parent = index.isValid() ? item(index).parent : -1;
    return parent < 0 ? QModelIndex() : indexOfItem(parent, 0);
}

int NodeModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid()) {
        return m_items.isEmpty() ? 0 : 1;
    }
    return parent.column() == 0 ? item(parent).children.size() : 0;
}

int NodeModel::columnCount(const QModelIndex & /*parent*/) const
{
    return ColumnCount;
}

const InstanceSnapshot::Property *NodeModel::property(const Item &item) const
{
    return m_document->snapshot().node(item.node).property(item.key.isEmpty() ? s_value : item.key);
}

QVariant NodeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid()) {
        return QVariant();
    }
    const Item &item = this->item(index);
    const EditorColors colors(QGuiApplication::palette());
    switch (role) {
    case PathRole:
        return m_document->snapshot().node(item.node).path;
    case KeyRole:
        return property(item) ? property(item)->key : QString();
    case ChoicesRole:
        return m_document->snapshot().node(item.node).value(s_choices);
    case MarkRole:
        return QVariant::fromValue(markOf(item));
    case ErrorRole:
        return errorsAt(item);
    case Qt::BackgroundRole:
        if (m_flashing.contains(int(index.internalId()))) {
            return colors.flash;
        }
        if (!errorsAt(item).isEmpty()) {
            return colors.errorBase;
        }
        return markOf(item) == Mark::ByScript ? colors.scriptBase : QVariant();
    default:
        break;
    }
    switch (index.column()) {
    case FieldColumn:
        return fieldData(item, role);
    case ValueColumn:
        return valueData(item, role);
    case UnitColumn:
        return role == Qt::DisplayRole ? unitText(item) : QVariant();
    default:
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
            return remarkText(item);
        }
        if (role == Qt::DecorationRole) {
            return errorsAt(item).isEmpty() ? QVariant() : BadgeIcon::error();
        }
        if (role == Qt::ForegroundRole) {
            return errorsAt(item).isEmpty() ? colors.subdued : colors.error;
        }
        return QVariant();
    }
}

QVariant NodeModel::fieldData(const Item &item, int role) const
{
    const QString path = m_document->snapshot().node(item.node).path;
    switch (role) {
    case Qt::DisplayRole:
        return item.key.isEmpty() ? labelOf(path) : item.key;
    case Qt::ToolTipRole:
        return property(item) ? path + QLatin1Char(':') + property(item)->key : path;
    case Qt::AccessibleTextRole:
        return accessibleText(item);
    case Qt::FontRole: {
        QFont font;
        font.setBold(markOf(item) != Mark::None);
        font.setItalic(!item.key.isEmpty());
        return font;
    }
    default:
        return QVariant();
    }
}

QVariant NodeModel::valueData(const Item &item, int role) const
{
    const InstanceSnapshot::Property *property = this->property(item);
    if (!property) {
        return QVariant();
    }
    const bool isBool = property->value.userType() == QMetaType::Bool;
    switch (role) {
    case Qt::DisplayRole:
        if (isBool) {
            return property->value.toBool() ? tr("yes") : tr("no");
        }
        if (!property->key.compare(s_value)) {
            const QVector<Choice> choices =
                choicesOf(m_document->snapshot().node(item.node).value(s_choices));
            for (const Choice &choice : choices) {
                if (choice.value == property->value) {
                    return choice.text;
                }
            }
        }
        return ValueText::toText(property->value);
    case Qt::EditRole:
        return property->value;
    case Qt::CheckStateRole:
        return isBool ? QVariant(property->value.toBool() ? Qt::Checked : Qt::Unchecked)
                      : QVariant();
    case Qt::DecorationRole: {
        const QString text = property->value.toString();
        return text.startsWith(QLatin1Char('#')) && QColor::isValidColor(text) ? QColor(text)
                                                                               : QVariant();
    }
    case Qt::ToolTipRole:
        return ValueText::isContainer(property->value) ? ValueText::toText(property->value)
                                                       : QVariant();
    case Qt::ForegroundRole:
        return property->isReadOnly ? EditorColors(QGuiApplication::palette()).subdued : QVariant();
    case Qt::FontRole: {
        QFont font;
        font.setBold(markOf(item) != Mark::None);
        return font;
    }
    case Qt::AccessibleTextRole:
        return accessibleText(item);
    default:
        return QVariant();
    }
}

QString NodeModel::unitText(const Item &item) const
{
    const InstanceSnapshot::Property *property = this->property(item);
    const QString unit = m_document->snapshot().node(item.node).value(s_unit).toString();
    return property && containsNumber(property->value) && !unit.isEmpty() ? m_labels.unit(unit)
                                                                          : QString();
}

QString NodeModel::remarkText(const Item &item) const
{
    QString errors = errorsAt(item);
    const InstanceSnapshot::Property *property = this->property(item);
    if (!errors.isEmpty() || !property) {
        return errors;
    }
    if (property->isChanged()) {
        const QString old = property->valueInFile.isValid()
            ? tr("was %1").arg(ValueText::toText(property->valueInFile))
            : tr("new");
        return property->isFromScript ? tr("%1; by the script").arg(old) : old;
    }
    if (property->isReadOnly) {
        return tr("read-only");
    }
    const QVariantMap limits = m_document->snapshot().node(item.node).value(s_limits).toMap();
    if (property->key != s_value || limits.isEmpty()) {
        return QString();
    }
    const auto limit = [&limits](const char *name) {
        const QVariant value = limits.value(QLatin1String(name));
        return value.isValid() ? ValueText::toText(value) : QString();
    };
    return QStringLiteral("%1 \u2026 %2").arg(limit("min"), limit("max")).trimmed();
}

QString NodeModel::errorText(const Document::Error &error) const
{
    const QString text = m_labels.text(error.textId);
    return error.value.isValid()
        ? QStringLiteral("%1 (%2)").arg(text, ValueText::toText(error.value))
        : text;
}

QString NodeModel::errorsAt(const Item &item) const
{
    if (!item.key.isEmpty()) {
        return QString();
    }
    const QString path = m_document->snapshot().node(item.node).path;
    QStringList texts;
    for (const Document::Error &error : m_document->errors()) {
        if (error.path == path) {
            texts.append(errorText(error));
        }
    }
    return texts.join(QLatin1Char(' '));
}

/// All that a row shows, for those who hear it.
QString NodeModel::accessibleText(const Item &item) const
{
    QStringList parts{fieldData(item, Qt::DisplayRole).toString()};
    const QString value = valueData(item, Qt::DisplayRole).toString();
    parts.append((value + QLatin1Char(' ') + unitText(item)).trimmed());
    parts.append(remarkText(item));
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

QString NodeModel::labelOf(const QString &path) const
{
    const int node = m_document ? m_document->snapshot().find(path) : -1;
    if (node < 0) {
        return path.isEmpty() && m_document ? m_document->instance() : path;
    }
    const InstanceSnapshot::Node &content = m_document->snapshot().node(node);
    const QString textId = content.value(s_label).toString();
    const QString name = path.isEmpty() ? m_document->instance() : content.name;
    return textId.isEmpty() ? name : m_labels.text(textId);
}

NodeModel::Mark NodeModel::markOf(const Item &item) const
{
    const InstanceSnapshot::Property *property = this->property(item);
    if (!property || !property->isChanged()) {
        return Mark::None;
    }
    return property->isFromScript ? Mark::ByScript : Mark::ByUser;
}

QVector<NodeModel::Choice> NodeModel::choicesOf(const QVariant &choices)
{
    QVector<Choice> result;
    const QVariantList list = choices.toList();
    for (const QVariant &choice : list) {
        if (choice.userType() == QMetaType::QVariantMap) { // as scripts get listings
            const QVariantMap map = choice.toMap();
            const QVariant url = map.value(QStringLiteral("url"));
            result.append({url, map.value(QStringLiteral("text"), url).toString()});
        } else {
            result.append({choice, ValueText::toText(choice)});
        }
    }
    return result;
}

bool NodeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!(flags(index) & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable)) || !value.isValid()) {
        return false;
    }
    const Item item = this->item(index);
    if (role == Qt::CheckStateRole) {
        m_document->edit(item.node, property(item)->key, value.toInt() == Qt::Checked);
    } else if (role == Qt::EditRole) {
        m_document->edit(item.node, property(item)->key, value);
    } else {
        return false;
    }
    return true;
}

QVariant NodeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QVariant();
    }
    switch (section) {
    case FieldColumn:
        return tr("Field");
    case ValueColumn:
        return tr("Value");
    case UnitColumn:
        return tr("Unit");
    case RemarkColumn:
        return tr("Remark");
    default:
        return QVariant();
    }
}

Qt::ItemFlags NodeModel::flags(const QModelIndex &index) const
{
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    const Qt::ItemFlags always = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    const InstanceSnapshot::Property *property = this->property(item(index));
    if (index.column() != ValueColumn || !property || property->isReadOnly) {
        return always;
    }
    return always
        | (property->value.userType() == QMetaType::Bool ? Qt::ItemIsUserCheckable
                                                         : Qt::ItemIsEditable);
}

void NodeModel::changeProperty(int node, const QString &key)
{
    const int item = itemOf(node, key);
    Q_EMIT dataChanged(indexOfItem(item, 0), indexOfItem(item, ColumnCount - 1));
}

void NodeModel::addProperty(int node, const QString &key)
{
    if (!hasRow(key)) {
        changeProperty(node, key);
        return;
    }
    const int nodeItem = m_itemsOfNodes.at(node);
    const QVector<int> siblings = m_items.at(nodeItem).children;
    const int row = int(std::count_if(siblings.cbegin(), siblings.cend(), [this](int sibling) {
        return !m_items.at(sibling).key.isEmpty();
    }));
    beginInsertRows(indexOfItem(nodeItem, 0), row, row);
    const int item = m_items.size();
    m_items.append({node, key, nodeItem, row, {}});
    m_items[nodeItem].children.insert(row, item);
    for (int i = row; i < siblings.size(); ++i) {
        ++m_items[siblings.at(i)].row;
    }
    endInsertRows();
}

void NodeModel::removeProperty(int node, const QString &key)
{
    const int item = itemOf(node, key);
    if (m_items.at(item).key != key) {
        changeProperty(node, key);
        return;
    }
    const int nodeItem = m_itemsOfNodes.at(node);
    const int row = m_items.at(item).row;
    beginRemoveRows(indexOfItem(nodeItem, 0), row, row);
    m_items[nodeItem].children.remove(row);
    for (int i = row; i < m_items.at(nodeItem).children.size(); ++i) {
        --m_items[m_items.at(nodeItem).children.at(i)].row;
    }
    m_flashing.remove(item);
    endRemoveRows();
}

void NodeModel::flash(int node, const QString &key)
{
    m_flashing.insert(itemOf(node, key));
    m_flashTimer.start();
    changeProperty(node, key);
}

void NodeModel::endFlash()
{
    const QSet<int> items = m_flashing;
    m_flashing.clear();
    for (const int item : items) {
        Q_EMIT dataChanged(indexOfItem(item, 0), indexOfItem(item, ColumnCount - 1),
                           {Qt::BackgroundRole});
    }
}

void NodeModel::changeAll()
{
    for (const Item &item : qAsConst(m_items)) {
        if (!item.children.isEmpty()) {
            Q_EMIT dataChanged(indexOfItem(item.children.constFirst(), 0),
                               indexOfItem(item.children.constLast(), ColumnCount - 1));
        }
    }
    if (!m_items.isEmpty()) {
        Q_EMIT dataChanged(indexOfItem(0, 0), indexOfItem(0, ColumnCount - 1));
    }
}

} // namespace ConfigScript
