#include "NodeModel.h"

#include "editor/data/ValueText.h"
#include "editor/model/BadgeIcon.h"
#include "editor/model/EditorColors.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"

#include <QFont>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>

namespace ConfigScript {

namespace {

QFont fontOf(const Field &field)
{
    QFont font;
    font.setBold(field.mark() != Field::Mark::None);
    return font;
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
        QStringLiteral("labelTextId"),
        QStringLiteral("unit"),
        QStringLiteral("choices"),
        QStringLiteral("limits"),
        Project::keyOfUserInterfaceScript(),
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()};
    return keys.contains(key);
}

bool NodeModel::hasRow(const QString &key) const
{
    return key != Field::valueKey() && (m_showsEverything || !isDescribing(key));
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

QVariant NodeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid()) {
        return QVariant();
    }
    const Field field = this->field(item(index));
    const EditorColors colors(QGuiApplication::palette());
    switch (role) {
    case PathRole:
        return field.node().path;
    case KeyRole:
        return field.property() ? field.property()->key : QString();
    case ChoicesRole:
        return field.choices();
    case MarkRole:
        return QVariant::fromValue(field.mark());
    case ErrorRole:
        return field.errorsText();
    case Qt::BackgroundRole:
        if (m_flashing.contains(int(index.internalId()))) {
            return colors.flash;
        }
        if (!field.errorsText().isEmpty()) {
            return colors.errorBase;
        }
        return field.mark() == Field::Mark::ByScript ? colors.scriptBase : QVariant();
    default:
        break;
    }
    switch (index.column()) {
    case FieldColumn:
        return labelData(field, role);
    case ValueColumn:
        return valueData(field, role);
    case UnitColumn:
        return role == Qt::DisplayRole ? field.unitText() : QVariant();
    default:
        return remarkData(field, role);
    }
}

QVariant NodeModel::labelData(const Field &field, int role)
{
    switch (role) {
    case Qt::DisplayRole:
        return field.label();
    case Qt::ToolTipRole:
        return field.place();
    case Qt::AccessibleTextRole:
        return field.accessibleText();
    case Qt::FontRole: {
        QFont font = fontOf(field);
        font.setItalic(!field.isNode());
        return font;
    }
    default:
        return QVariant();
    }
}

QVariant NodeModel::valueData(const Field &field, int role)
{
    const InstanceSnapshot::Property *property = field.property();
    if (!property) {
        return QVariant();
    }
    const QVariant &value = property->value;
    switch (role) {
    case Qt::DisplayRole:
        return field.valueText();
    case Qt::EditRole:
        return value;
    case Qt::CheckStateRole:
        return value.userType() == QMetaType::Bool
            ? QVariant(value.toBool() ? Qt::Checked : Qt::Unchecked)
            : QVariant();
    case Qt::DecorationRole: {
        const QString text = value.toString();
        return text.startsWith(QLatin1Char('#')) && QColor::isValidColor(text) ? QColor(text)
                                                                               : QVariant();
    }
    case Qt::ToolTipRole:
        return ValueText::isContainer(value) ? ValueText::toText(value) : QVariant();
    case Qt::ForegroundRole:
        return property->isReadOnly ? EditorColors(QGuiApplication::palette()).subdued : QVariant();
    case Qt::FontRole:
        return fontOf(field);
    case Qt::AccessibleTextRole:
        return field.accessibleText();
    default:
        return QVariant();
    }
}

QVariant NodeModel::remarkData(const Field &field, int role)
{
    const bool isError = !field.errorsText().isEmpty();
    const EditorColors colors(QGuiApplication::palette());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return field.remarkText();
    case Qt::DecorationRole:
        return isError ? BadgeIcon::error() : QVariant();
    case Qt::ForegroundRole:
        return isError ? colors.error : colors.subdued;
    default:
        return QVariant();
    }
}

bool NodeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!(flags(index) & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable)) || !value.isValid()) {
        return false;
    }
    if (role != Qt::CheckStateRole && role != Qt::EditRole) {
        return false;
    }
    const int node = item(index).node;
    const QString key =
        field(item(index)).property()->key; // a copy: the edit replaces the property
    m_document->edit(node, key,
                     role == Qt::EditRole ? value : QVariant(value.toInt() == Qt::Checked));
    return true;
}

QVariant NodeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QVariant();
    }
    const QStringList titles{tr("Field"), tr("Value"), tr("Unit"), tr("Remark")};
    return titles.value(section);
}

Qt::ItemFlags NodeModel::flags(const QModelIndex &index) const
{
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    const Qt::ItemFlags always = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    const InstanceSnapshot::Property *property = field(item(index)).property();
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
