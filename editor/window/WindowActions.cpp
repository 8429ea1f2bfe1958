#include "WindowActions.h"

#include "editor/model/Workspace.h"

#include <QAction>
#include <QActionGroup>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace ConfigScript {

namespace {

/// Adds an action to a menu.
QAction *add(QMenu &menu, const QString &text, const QKeySequence &shortcut = QKeySequence(),
             const QString &statusTip = QString())
{
    QAction *action = menu.addAction(text);
    action->setShortcut(shortcut);
    if (!statusTip.isEmpty()) {
        action->setStatusTip(statusTip);
    }
    return action;
}

void describe(QAction &action, const QString &what)
{
    action.setToolTip(QStringLiteral("%1 %2 (%3)")
                          .arg(action.text().remove(QLatin1Char('&')), what,
                               action.shortcut().toString(QKeySequence::NativeText)));
}

} // namespace

WindowActions::WindowActions(QMainWindow &window, const QStringList &languages)
    : QObject(&window)
    , m_window(window)
    , m_languages(new QActionGroup(this))
{
    createFileMenu();
    createEditMenu();
    createScriptMenu();
    createViewMenu(languages);
    createToolBar();
}

void WindowActions::createFileMenu()
{
    QMenu &menu = *m_window.menuBar()->addMenu(tr("&File"));
    save = add(menu, tr("&Save"), QKeySequence::Save,
               tr("Fire onOk, write the instance, then propose what its dependency script "
                  "changes"));
    reload = add(menu, tr("&Reload, Keeping Changes"), QKeySequence::Refresh,
                 tr("Read the instance and its script again"));
    discard = add(menu, tr("&Discard Changes"));
    readProject = add(menu, tr("Read &Project Again"), QKeySequence(tr("Shift+F5")),
                      tr("Look for instances and read the manifest again"));
    menu.addSeparator();
    connect(add(menu, tr("&Quit"), QKeySequence::Quit), &QAction::triggered, &m_window,
            &QWidget::close);
}

void WindowActions::createEditMenu()
{
    QMenu &menu = *m_window.menuBar()->addMenu(tr("&Edit"));
    undo = add(menu, tr("&Undo"), QKeySequence::Undo);
    redo = add(menu, tr("&Redo"), QKeySequence::Redo);
}

void WindowActions::createScriptMenu()
{
    QMenu &menu = *m_window.menuBar()->addMenu(tr("&Scripts"));
    preview = add(menu, tr("&Preview Dependencies"), QKeySequence(tr("Ctrl+D")),
                  tr("Run the dependency scripts inside the unsaved tree"));
    resolve = add(menu, tr("&Resolve Dependencies"), QKeySequence(tr("Ctrl+R")),
                  tr("Run the dependency scripts of the saved instance, and propose what they "
                     "change"));
    menu.addSeparator();
    reachProject = add(menu, tr("Dialogs Reach the Whole Pro&ject"), QKeySequence(),
                       tr("Absolute URLs in the scripts of dialogs lead to other instances, which "
                          "they do not in a product's dialogs"));
    reachProject->setCheckable(true);
    record = add(menu, tr("R&ecord Test..."), QKeySequence(),
                 tr("Write what happened since the instance was read or saved as a test of its "
                    "script"));
    menu.addSeparator();
    stop = add(menu, tr("S&top Script"), QKeySequence(tr("Ctrl+.")));
}

void WindowActions::createViewMenu(const QStringList &languages)
{
    QMenu &view = *m_window.menuBar()->addMenu(tr("&View"));
    goToInstances = add(view, tr("Go to &Instances"), QKeySequence(tr("Ctrl+1")));
    goToFields = add(view, tr("Go to &Fields"), QKeySequence(tr("Ctrl+2")));
    goToErrors = add(view, tr("Go to &Errors"), QKeySequence(tr("Ctrl+3")));
    view.addSeparator();
    showEverything = add(view, tr("Show &All Properties"), QKeySequence(),
                         tr("Also those that describe others: labels, units, limits, choices, "
                            "scripts"));
    showEverything->setCheckable(true);
    QMenu *menu = view.addMenu(tr("&Language"));
    for (const QString &name : languages) {
        QAction *language = m_languages->addAction(name);
        language->setCheckable(true);
        language->setData(name);
        menu->addAction(language);
        connect(language, &QAction::triggered, this, [this, name] { Q_EMIT languageChosen(name); });
    }
    view.addSeparator();
    const auto docks = m_window.findChildren<QDockWidget *>();
    for (const QDockWidget *dock : docks) {
        view.addAction(dock->toggleViewAction());
    }
}

void WindowActions::createToolBar()
{
    QToolBar *bar = m_window.addToolBar(tr("Main Tool Bar"));
    bar->setObjectName(QStringLiteral("main"));
    bar->setMovable(false);
    bar->addActions({save, undo, redo});
    bar->addSeparator();
    bar->addActions({preview, resolve});
}

void WindowActions::checkLanguage(const QString &language)
{
    const auto actions = m_languages->actions();
    for (QAction *action : actions) {
        action->setChecked(action->data().toString() == language);
    }
}

void WindowActions::update(const Workspace &workspace)
{
    const Document *document = workspace.current();
    const QUndoGroup &undoGroup = workspace.undoGroup();
    const bool isIdle = !workspace.isBusy();
    const bool isUsable = document && document->problem().isEmpty();
    save->setEnabled(isIdle && isUsable);
    reload->setEnabled(isIdle && document);
    discard->setEnabled(isIdle && document && document->isUnsaved());
    undo->setEnabled(isIdle && undoGroup.canUndo());
    redo->setEnabled(isIdle && undoGroup.canRedo());
    describe(*undo, undoGroup.undoText());
    describe(*redo, undoGroup.redoText());
    preview->setEnabled(isIdle && isUsable);
    resolve->setEnabled(isIdle && isUsable);
    record->setEnabled(isIdle && isUsable && document->hasEvents());
    stop->setEnabled(!isIdle);
}

} // namespace ConfigScript
