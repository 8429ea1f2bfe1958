#pragma once

#include "JavaScript/JavaScriptBorder.h"
#include "JavaScript/JavaScriptExport.h"
#include "host/ConfigurationAndProcessDataBase.h"

#include <QJsonArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

class JavaScriptRootPointerHandler;
class TextManager;
class UnitManagerWrapper;

/**
 * The object that a configuration script calls: the first argument of each of its event functions.
 *
 * Relative URLs address nodes of the instance that the script configures, absolute URLs nodes of
 * other instances and process descriptions. Nothing is thrown into the script: what fails gives an
 * invalid value, false or nothing, and a warning.
 *
 * What a script writes by relative URL lands in the tree that the owner handed in, and is the
 * owner's to save; what it writes by absolute URL is marked on the root pointer handler and saved
 * by saveChangedFiles().
 *
 * The unit store, the root pointer handler and the text store are referred to, not owned, and must
 * outlive the object. It is used on one thread.
 */
class JAVASCRIPT_EXPORT JavaScriptApi : public JavaScriptBorder
{
    Q_OBJECT

public:
    /// An error that a script reported.
    struct ErrorMessage
    {
        QString relUrl; ///< the node concerned, as the script named it
        QString errorLabelTextId; ///< identifier of the text to show
        QVariant value; ///< what the script attached; invalid for nothing
    };

    /**
     * @param moduleName absolute URLs of other modules are refused
     * @param objectName absolute URLs of other objects are refused, unless @p acceptAllObjects
     */
    JavaScriptApi(const UnitManagerWrapper &unitManagerWrapper,
                  JavaScriptRootPointerHandler &rootPointerHandler, const TextManager &textManager,
                  const QString &moduleName, const QString &objectName, bool acceptAllObjects,
                  QObject *parent);
    ~JavaScriptApi() override;

    /**
     * The value of a property of the node at @p relUrl; a map comes as a QJsonDocument. Invalid,
     * with a warning, without a root or a node; invalid when the node has no such property.
     */
    Q_INVOKABLE QVariant getProperty(const QString &relUrl, const QString &propertyKey) const;

    /**
     * Writes a property of the node at @p relUrl, or adds it when the node has none of that key.
     * A successful write is recorded as a change of the instance.
     */
    Q_INVOKABLE void setProperty(const QString &relUrl, const QString &propertyKey,
                                 const QVariant &value);

    /// As getProperty(), for a node of any instance or process description of the module.
    Q_INVOKABLE QVariant getPropertyExtern(const QString &absUrl, const QString &propertyKey) const;

    /// As setProperty(), for a node of any instance or process description of the module. A
    /// successful write marks the tree as changed.
    Q_INVOKABLE void setPropertyExtern(const QString &absUrl, const QString &propertyKey,
                                       const QVariant &value);

    /// Reports an error to the host. Neither the URL nor the identifier is examined.
    Q_INVOKABLE void setError(const QString &relUrl, const QString &errorLabelTextId,
                              const QVariant &value = QVariant());

    /// Whether @p relUrl addresses a node of the instance.
    Q_INVOKABLE bool isUrlValid(const QString &relUrl) const;

    /**
     * The texts of a unit, as a QJsonDocument with an object from language to text; a null document
     * when the host knows no texts. Invalid, with a warning, when @p unit has no text form.
     */
    Q_INVOKABLE QVariant getAllUnitTexts(const QVariant &unit) const;

    /// The name of the type of host that the library serves.
    Q_INVOKABLE QString getHostTypeName() const;

    /**
     * The direct children of the root of the tree that @p absUrl addresses, whatever its path: an
     * array of { "url": name of the child, "text": its label }, in no particular order. The label
     * is the child's text identifier, or with @p withDynTexts its text.
     */
    Q_INVOKABLE QJsonArray getListOfNodeInstancesWithText(const QString &absUrl,
                                                          bool withDynTexts) const;

    /**
     * Binds the API to the instance that the script configures.
     * @param rootPointer the instance's tree; when null, the one before stays, with a warning
     * @param instanceUrl the instance's URL, for texts
     */
    void initializeJavaScriptApi(
        ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer,
        const QString &instanceUrl);

    QVariant getPropertyInternal(
        ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer, const QString &relUrl,
        const QString &propertyKey) const;

    /// @return true when the tree was changed
    bool setPropertyInternal(ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer,
                             const QString &relUrl, const QString &propertyKey,
                             const QVariant &value);

    QJsonArray getListOfNodeInstancesWithTextInternal(
        ConfigurationAndProcessDataBase::BaseClassSharedPointer root, bool withDynTexts) const;

    /// The errors reported since the list was emptied, in the order of the calls.
    QList<ErrorMessage> getListOfErrors() const;
    void deleteListOfErrors();

    /// Whether a write by relative URL succeeded since construction or resetState().
    bool hasInstanceChanged() const;

    /// The relative URLs of successful writes, in their order, duplicates included.
    QStringList getChangedLocalUrls() const;
    void deleteChangedLocalUrls();

    /// Instance-level URLs of the configuration trees changed by absolute URL, in no order.
    QStringList getChangedExternalConfigIAbsoluteUrls() const;

    /// Instance-level URLs of the process descriptions changed by absolute URL, in no order.
    QStringList getChangedExternalProcessAbsoluteUrls() const;

    /// Writes the trees that were changed by absolute URL to their files.
    void saveChangedFiles();

    /// Lets go of the instance, the changes and the errors, and of every loaded tree.
    void resetState();

private:
    ConfigurationAndProcessDataBase::BaseClassSharedPointer m_rootPointer;
    QString m_moduleName;
    QString m_objectName;
    bool m_hasInstanceChanged;
    QStringList m_changedLocalUrls;
    QList<ErrorMessage> m_listOfErrors;
    QString m_instanceUrl;
    const UnitManagerWrapper &m_unitManagerWrapper;
    JavaScriptRootPointerHandler &m_rootPointerHandler;
    bool m_acceptAllObjects;
    const TextManager &m_textManager;
};
