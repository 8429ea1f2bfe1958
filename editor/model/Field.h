#pragma once

#include "editor/data/InstanceSnapshot.h"
#include "editor/data/Labels.h"
#include "editor/model/Document.h"

#include <QCoreApplication>
#include <QString>
#include <QVariant>

namespace ConfigScript {

/**
 * What a row of the fields tells of a node with its property "value", or of another property.
 *
 * It is a view for a moment: document and labels outlive it, and must not change meanwhile.
 */
class Field
{
    Q_DECLARE_TR_FUNCTIONS(Field)

public:
    /// How a property differs from its file.
    enum class Mark { None, ByUser, ByScript };

    /// The property that a node's own row shows.
    static QString valueKey() { return QStringLiteral("value"); }

    /// @param key empty for the row of a node
    Field(const Document &document, const Labels &labels, int node, const QString &key);

    const InstanceSnapshot::Node &node() const { return m_node; }

    /// Null in the row of a node without a value.
    const InstanceSnapshot::Property *property() const { return m_property; }

    bool isNode() const { return m_key.isEmpty(); }
    Mark mark() const;
    QVariant choices() const; ///< the node's property of that name

    QString label() const;
    QString place() const; ///< "motor/ratedPower:value"; the path alone without a property
    QString valueText() const;
    QString unitText() const;
    QString remarkText() const;
    QString errorsText() const; ///< of the errors at the node, in its row
    QString accessibleText() const; ///< all that the row shows, for screen readers

    /// The label of the node with that relative URL, or else the URL.
    static QString labelOf(const Document &document, const Labels &labels, const QString &path);

    /// The text of an error as its field shows it.
    static QString textOf(const Document::Error &error, const Labels &labels);

private:
    QString limitsText() const;

    const Document &m_document;
    const Labels &m_labels;
    const QString m_key;
    const InstanceSnapshot::Node &m_node;
    const InstanceSnapshot::Property *const m_property;
};

} // namespace ConfigScript

Q_DECLARE_METATYPE(ConfigScript::Field::Mark)
