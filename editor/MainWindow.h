#pragma once

#include "editor/DependencyDialog.h"
#include "editor/Labels.h"
#include "editor/Workspace.h"

#include <QMainWindow>
#include <QPointer>
#include <QStringList>

class QAction;
class QLabel;
class QPushButton;
class QTreeView;

namespace ConfigScript {

class InstancePanel;
class NodePanel;

/// The editor's window: the instances of a project on the left, the current one in the middle, what
/// scripts did and said on the right.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    enum class Settings { Kept, Ignored };

    /// @param settings whether the state of the window is restored now, and kept when it closes
    MainWindow(const Project &project, Settings settings);
    ~MainWindow() override;

    /// Opens an instance as soon as the project is read.
    void openInstance(const QString &instance);

    Workspace &workspace() { return m_workspace; }
    NodePanel &nodePanel() { return *m_nodes; }
    DependencyDialog *dependencyDialog() const { return m_dialog; } ///< null while none is open

Q_SIGNALS:
    /// The worker has come to rest, and the window shows what it did.
    void settled();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createFileMenu();
    void createEditMenu();
    void createScriptMenu();
    void createViewMenu();
    void createToolBar();
    void createStatusBar();
    QTreeView *createLog(QAbstractItemModel &model, const QString &name, const QString &title);
    void connectWorkspace();

    void setLanguage(const QString &language);
    void showCurrent(Document *document);
    void showTitle();
    void showBusy(bool isBusy);
    void showFiredEvent(const EventReport &report);
    void showDependencies(const DependencyReport &report);
    void recordTest();
    void showTest(const RecordingReport &report);
    void save();
    void reload(bool keepsChanges);
    void discard();
    void updateActions();
    bool askBeforeClosing();
    void continueClosing();
    void restoreSettings();
    void keepSettings() const;

    Workspace m_workspace;
    const Settings m_settings;
    Labels m_labels;
    QString m_toOpen; ///< when the project is read
    bool m_isProjectRead = false;
    QStringList m_toSave; ///< before the window closes
    bool m_isClosing = false;
    QPointer<DependencyDialog> m_dialog;

    InstancePanel *m_instances;
    NodePanel *m_nodes;
    QAction *m_save = nullptr;
    QAction *m_reload = nullptr;
    QAction *m_discard = nullptr;
    QAction *m_undo = nullptr;
    QAction *m_redo = nullptr;
    QAction *m_preview = nullptr;
    QAction *m_resolve = nullptr;
    QAction *m_record = nullptr;
    QAction *m_stop = nullptr;
    QAction *m_showsEverything = nullptr;
    QLabel *m_state = nullptr;
    QLabel *m_lastEvent = nullptr;
    QPushButton *m_stopButton = nullptr;
};

} // namespace ConfigScript
