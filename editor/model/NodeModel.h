#pragma once

#include "editor/data/Labels.h"
#include "editor/model/Document.h"
#include "editor/model/Field.h"

#include <QAbstractItemModel>
#include <QPersistentModelIndex>
#include <QSet>
#include <QTimer>
#include <QVector>

#include <chrono>

namespace ConfigScript {

/**
 * The nodes and properties of an instance. A node's row shows its property "value", if it has one;
 * its other properties have rows of their own, before those of its children.
 *
 * Properties that describe others (see isDescribing()) are shown on request only.
 */
class NodeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { FieldColumn, ValueColumn, UnitColumn, RemarkColumn, ColumnCount };

    enum Role {
        PathRole = Qt::UserRole, ///< the node's relative URL
        KeyRole, ///< the property's; empty in the row of a node without a value
        ChoicesRole, ///< a QVariantList with an entry for each choice; see Choice::listOf()
        MarkRole, ///< a Field::Mark
        ErrorRole, ///< the texts of the errors at the node, in its row
    };

    /// How long a property flashes after a script has written it.
    static constexpr std::chrono::milliseconds flashTime{1200};

    explicit NodeModel(QObject *parent = nullptr);

    /// @param document null for none; lives until the model is destroyed or gets another one
    void setDocument(Document *document);
    Document *document() const { return m_document; }

    const Labels &labels() const { return m_labels; }
    void setLabels(const Labels &labels);
    void setShowsEverything(bool showsEverything);

    /// The row of a property; of its node when the property has none.
    QModelIndex indexOf(const QString &path, const QString &key = Field::valueKey()) const;

    QModelIndex index(int row, int column,
                      const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    /// A row: of a node, or of a property that has one.
    struct Item
    {
        int node; ///< in the snapshot
        QString key; ///< empty for a node
        int parent; ///< -1 for the root
        int row;
        QVector<int> children;
    };

    static bool isDescribing(const QString &key);
    bool hasRow(const QString &key) const;
    void build();
    int addItem(int node, const QString &key, int parent);
    int itemOf(int node, const QString &key) const;
    QModelIndex indexOfItem(int item, int column) const;
    const Item &item(const QModelIndex &index) const { return m_items.at(int(index.internalId())); }

    Field field(const Item &item) const { return {*m_document, m_labels, item.node, item.key}; }
    static QVariant labelData(const Field &field, int role);
    static QVariant valueData(const Field &field, int role);
    static QVariant remarkData(const Field &field, int role);

    void changeProperty(int node, const QString &key);
    void addProperty(int node, const QString &key);
    void removeProperty(int node, const QString &key);
    void flash(int node, const QString &key);
    void endFlash();
    void changeAll();

    Document *m_document = nullptr;
    Labels m_labels;
    bool m_showsEverything = false;
    QVector<Item> m_items; ///< the root first; removed properties keep theirs, unused
    QVector<int> m_itemsOfNodes; ///< index of the item of each node
    QSet<int> m_flashing; ///< indexes of items
    QTimer m_flashTimer;
};

} // namespace ConfigScript
