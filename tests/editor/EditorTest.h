#pragma once

#include "configscript/ScratchFolder.h"
#include "editor/MainWindow.h"
#include "filehost/Project.h"
#include "support/StrictTest.h"

#include <QString>
#include <QVariant>

#include <memory>

/// The editor's window on a scratch copy of an example project, and what a user does in it.
class EditorSession
{
public:
    explicit EditorSession(const QString &project = QStringLiteral("pump-station"));

    const ScratchFolder &folder() const { return m_folder; }
    ConfigScript::MainWindow &window() { return *m_window; }
    ConfigScript::Document &document() { return *m_window->workspace().current(); }

    /// Waits until the worker has done all, and the window shows it.
    bool settle();

    bool open(const QString &instance);

    /// Goes to a field, types a value with the keyboard, and presses Enter.
    bool enter(const QString &path, const QString &text,
               const QString &key = QStringLiteral("value"));

    /// A column's text in the row of a field.
    QString shown(const QString &path, int column, const QString &key = QStringLiteral("value"));

    bool press(const QString &action); ///< the menu's entry, without its mnemonic

    /// The value that the instance's file holds.
    QVariant stored(const QString &instance, const QString &path,
                    const QString &key = QStringLiteral("value")) const;

private:
    ScratchFolder m_folder;
    QString m_projectPath;
    std::unique_ptr<ConfigScript::MainWindow> m_window;
};

/// Base of the editor's tests: the platform without a screen warns of what it does not support.
class EditorTest : public StrictTest
{
    Q_OBJECT

protected Q_SLOTS:
    void cleanup();
};
