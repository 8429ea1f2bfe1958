#pragma once

#include "editor/Reports.h"
#include "editor/SessionRecording.h"
#include "runner/DialogScript.h"

#include <QByteArray>
#include <QSharedPointer>
#include <QString>
#include <QVariant>
#include <QVector>

#include <functional>
#include <memory>
#include <optional>

class JavaScriptHandlerUiWrapper;
class TextManager;
class UnitManagerWrapper;

namespace ConfigScript {

class FileTreeNode;
class Project;
class ScriptStopper;

/**
 * An instance that the user edits, on the worker's thread: its tree, its user-interface script, and
 * the handler that brings them together.
 *
 * Each operation makes a HostSession: there must be none. Project, texts and stopper outlive it.
 */
class OpenInstance
{
public:
    OpenInstance(const Project &project, const TextManager &texts, ScriptStopper &stopper,
                 const QString &instance);
    ~OpenInstance();

    /// Reads tree and script, and fires onOpen. What was changed and not saved stays, if there is
    /// still a node for it.
    InstanceReport open();

    /// Forgets what was changed and not saved.
    void discardChanges();

    /// Changes a property as the user, and fires onValueChange. When that is not possible, the
    /// report's edit leads back to the value that stands.
    EventReport edit(const QString &path, const QString &key, const QVariant &value);

    /// Changes properties without an event; an invalid new value removes what the file does not
    /// hold.
    void apply(const QVector<PropertyChange> &changes);

    /// Fires onOk, and writes the tree when the script agrees.
    SaveReport save();

    /// A test of what happened since the instance was read or saved last.
    /// @return nothing, with @p error set, when that makes no test
    std::optional<QByteArray> recordedTest(QString &error) const;

    /// A copy of the tree as it stands.
    QSharedPointer<FileTreeNode> copyOfTree() const;

    bool isUnsaved() const { return !changes().isEmpty(); }

    /// Whether the file holds something else than was read, or could not be used.
    bool isTreeStale() const;
    bool isScriptStale() const;

private:
    bool readTree(InstanceReport &report);
    bool readScript(InstanceReport &report);
    QString scriptFile() const;
    void initializeHandler(const QString &script);
    void bind(const QSharedPointer<FileTreeNode> &root, const QVector<PropertyChange> &changes);
    QVector<PropertyChange> changes() const;
    EventReport fire(const std::function<void()> &event);
    bool write(SaveReport &report);

    const Project &m_project;
    const TextManager &m_texts;
    ScriptStopper &m_stopper;
    const QString m_instance;
    DialogScript m_script;
    QSharedPointer<FileTreeNode> m_root; ///< null when the tree cannot be used
    std::unique_ptr<UnitManagerWrapper> m_units;
    std::unique_ptr<JavaScriptHandlerUiWrapper> m_handler; ///< null when the script cannot be used
    SessionRecording m_recording;
    bool m_isTreeWrong = false; ///< the file's, which could not be read again
};

} // namespace ConfigScript
