#pragma once

#include "editor/Document.h"
#include "editor/Labels.h"

#include <QAbstractItemModel>
#include <QPersistentModelIndex>
#include <QSet>
#include <QTimer>
#include <QVector>

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
        ChoicesRole, ///< a QVariantList with an entry for each choice; see choicesOf()
        MarkRole, ///< a Mark
        ErrorRole, ///< the texts of the errors at the node, in its row
    };

    /// How a property differs from its file.
    enum class Mark { None, ByUser, ByScript };

    /// A value to choose, and the text that stands for it.
    struct Choice
    {
        QVariant value;
        QString text;
    };

    /// How long a property flashes that a script has written, in milliseconds.
    static constexpr int flashTime = 1200;

    explicit NodeModel(QObject *parent = nullptr);

    /// @param document null for none; outlives the model, or another takes its place before
    void setDocument(Document *document);
    Document *document() const { return m_document; }

    void setLabels(const Labels &labels);
    void setShowsEverything(bool showsEverything);

    /// The row of a property; of its node when the property has none.
    QModelIndex indexOf(const QString &path, const QString &key = QStringLiteral("value")) const;

    /// The text of an error as its field shows it.
    QString errorText(const Document::Error &error) const;

    /// The label of the node with that relative URL, or else the URL.
    QString labelOf(const QString &path) const;

    /// What can be chosen, from a value of ChoicesRole.
    static QVector<Choice> choicesOf(const QVariant &choices);

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

    const InstanceSnapshot::Property *property(const Item &item) const;
    QVariant fieldData(const Item &item, int role) const;
    QVariant valueData(const Item &item, int role) const;
    QString unitText(const Item &item) const;
    QString remarkText(const Item &item) const;
    QString errorsAt(const Item &item) const;
    QString accessibleText(const Item &item) const;
    Mark markOf(const Item &item) const;

    void changeProperty(int node, const QString &key);
    void addProperty(int node, const QString &key);
    void removeProperty(int node, const QString &key);
    void flash(int node, const QString &key);
    void endFlash();
    void changeAll();

    Document *m_document = nullptr;
    Labels m_labels;
    bool m_showsEverything = false;
    QVector<Item> m_items; ///< the root first; those of removed properties stay
    QVector<int> m_itemsOfNodes; ///< by node
    QSet<int> m_flashing; ///< items
    QTimer m_flashTimer;
};

} // namespace ConfigScript

Q_DECLARE_METATYPE(ConfigScript::NodeModel::Mark)
