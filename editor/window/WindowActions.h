#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QAction;
class QActionGroup;
class QMainWindow;

namespace ConfigScript {

class Workspace;

/// What the user can do in the window, as its menus and its tool bar offer it. What each action
/// does is connected by the window.
class WindowActions : public QObject
{
    Q_OBJECT

public:
    /// Adds menus and a tool bar to @p window, which owns all this, and already has its docks.
    /// @param languages that labels can be shown in
    WindowActions(QMainWindow &window, const QStringList &languages);

    /// Enables what makes sense now.
    void update(const Workspace &workspace);

    void checkLanguage(const QString &language);

    // Owned by the window, and never null.
    QAction *save;
    QAction *reload;
    QAction *discard;
    QAction *readProject;
    QAction *undo;
    QAction *redo;
    QAction *preview;
    QAction *resolve;
    QAction *reachProject;
    QAction *record;
    QAction *stop;
    QAction *goToInstances;
    QAction *goToFields;
    QAction *goToErrors;
    QAction *showEverything;

Q_SIGNALS:
    void languageChosen(const QString &language);

private:
    void createFileMenu();
    void createEditMenu();
    void createScriptMenu();
    void createViewMenu(const QStringList &languages);
    void createToolBar();

    QMainWindow &m_window;
    QActionGroup *m_languages;
};

} // namespace ConfigScript
