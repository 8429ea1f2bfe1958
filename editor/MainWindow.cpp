#include "MainWindow.h"

#include "editor/DependencyDialog.h"
#include "editor/InstancePanel.h"
#include "editor/NodePanel.h"
#include "editor/NodeView.h"
#include "editor/ValueText.h"
#include "runner/test/ScriptTest.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeView>

#include <algorithm>

namespace ConfigScript {

namespace {

constexpr int s_messageTime = 10'000; // milliseconds

const QString s_geometryKey = QStringLiteral("window/geometry");
const QString s_stateKey = QStringLiteral("window/state");
const QString s_languageKey = QStringLiteral("language");
const QString s_everythingKey = QStringLiteral("showsEverything");

} // namespace

MainWindow::MainWindow(const Project &project, Settings settings)
    : m_workspace(project)
    , m_settings(settings)
    , m_instances(new InstancePanel(m_workspace.instances(), this))
    , m_nodes(new NodePanel(this))
{
    auto *instanceDock = new QDockWidget(tr("Instances"), this);
    instanceDock->setObjectName(QStringLiteral("instances"));
    instanceDock->setWidget(m_instances);
    addDockWidget(Qt::LeftDockWidgetArea, instanceDock);
    setCentralWidget(m_nodes);
    QTreeView *events = createLog(m_workspace.events(), QStringLiteral("events"), tr("Events"));
    QTreeView *messages =
        createLog(m_workspace.messages(), QStringLiteral("messages"), tr("Messages"));
    const int character = fontMetrics().averageCharWidth();
    connect(&m_workspace.events(), &QAbstractItemModel::rowsInserted, events,
            [events](const QModelIndex &parent) { events->expand(parent); });
    events->header()->setStretchLastSection(false);
    events->header()->setSectionResizeMode(EventsModel::EventColumn, QHeaderView::Stretch);
    events->setColumnWidth(EventsModel::ResultColumn, 15 * character);
    messages->setColumnWidth(MessagesModel::PlaceColumn, 18 * character);
    messages->setRootIsDecorated(false);
    resize(180 * character, 48 * fontMetrics().height());
    resizeDocks({instanceDock}, {32 * character}, Qt::Horizontal);
    resizeDocks({qobject_cast<QDockWidget *>(events->parentWidget())}, {46 * character},
                Qt::Horizontal);

    createFileMenu();
    createEditMenu();
    createScriptMenu();
    createViewMenu();
    createToolBar();
    createStatusBar();
    connectWorkspace();
    if (settings == Settings::Kept) {
        restoreSettings();
    }
    showCurrent(nullptr);
    m_state->setText(tr("Reading the project \u2026"));
    m_workspace.readProject();
}

MainWindow::~MainWindow()
{
    m_workspace.disconnect(this);
    m_workspace.undoGroup().disconnect(this); // documents leave it as they go
    m_nodes->setDocument(nullptr); // it goes before the window's children
}

QTreeView *MainWindow::createLog(QAbstractItemModel &model, const QString &name,
                                 const QString &title)
{
    auto *dock = new QDockWidget(title, this);
    dock->setObjectName(name);
    auto *view = new QTreeView(dock);
    view->setModel(&model);
    view->setUniformRowHeights(true);
    view->setAccessibleName(title);
    dock->setWidget(view);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    connect(&model, &QAbstractItemModel::rowsInserted, view, [view](const QModelIndex &parent) {
        if (!parent.isValid()) {
            view->scrollToBottom();
        }
    });
    return view;
}

void MainWindow::createFileMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&File"));
    m_save = menu->addAction(tr("&Save"), this, &MainWindow::save, QKeySequence::Save);
    m_save->setStatusTip(tr("Fire onOk, write the instance, then propose what its dependency "
                            "script changes"));
    m_reload = menu->addAction(
        tr("&Reload, Keeping Changes"), this, [this] { reload(true); }, QKeySequence::Refresh);
    m_reload->setStatusTip(tr("Read the instance and its script again"));
    m_discard = menu->addAction(tr("&Discard Changes"), this, &MainWindow::discard);
    menu->addAction(
            tr("Read &Project Again"), this, [this] { m_workspace.readProject(); },
            QKeySequence(tr("Shift+F5")))
        ->setStatusTip(tr("Look for instances and read the manifest again"));
    menu->addSeparator();
    menu->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);
}

void MainWindow::createEditMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&Edit"));
    m_undo = menu->addAction(
        tr("&Undo"), this, [this] { m_workspace.undoGroup().undo(); }, QKeySequence::Undo);
    m_redo = menu->addAction(
        tr("&Redo"), this, [this] { m_workspace.undoGroup().redo(); }, QKeySequence::Redo);
}

void MainWindow::createScriptMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&Scripts"));
    m_preview = menu->addAction(
        tr("&Preview Dependencies"), this,
        [this] {
            m_nodes->commit();
            m_workspace.previewDependencies();
        },
        QKeySequence(tr("Ctrl+D")));
    m_preview->setStatusTip(tr("Run the dependency scripts inside the unsaved tree"));
    m_resolve = menu->addAction(
        tr("&Resolve Dependencies"), this, [this] { m_workspace.proposeDependencies(); },
        QKeySequence(tr("Ctrl+R")));
    m_resolve->setStatusTip(tr("Run the dependency scripts of the saved instance, and propose "
                               "what they change"));
    menu->addSeparator();
    m_record = menu->addAction(tr("R&ecord Test..."), this, &MainWindow::recordTest);
    m_record->setStatusTip(tr("Write what happened since the instance was read or saved as a test "
                              "of its script"));
    menu->addSeparator();
    m_stop = menu->addAction(
        tr("S&top Script"), this,
        [this] {
            m_workspace.stopScript();
            m_state->setText(tr("Stopping \u2026 what is built into the engine runs to its end."));
        },
        QKeySequence(tr("Ctrl+.")));
}

void MainWindow::createViewMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&View"));
    menu->addAction(
        tr("Go to &Instances"), this, [this] { m_instances->focusFilter(); },
        QKeySequence(tr("Ctrl+1")));
    menu->addAction(
        tr("Go to &Fields"), this, [this] { m_nodes->view().setFocus(Qt::ShortcutFocusReason); },
        QKeySequence(tr("Ctrl+2")));
    menu->addAction(
        tr("Go to &Errors"), this, [this] { m_nodes->focusErrors(); }, QKeySequence(tr("Ctrl+3")));
    menu->addSeparator();
    m_showsEverything = menu->addAction(tr("Show &All Properties"));
    m_showsEverything->setCheckable(true);
    m_showsEverything->setStatusTip(tr("Also those that describe others: labels, units, limits, "
                                       "choices, scripts"));
    connect(m_showsEverything, &QAction::toggled, m_nodes, &NodePanel::setShowsEverything);

    QMenu *languages = menu->addMenu(tr("&Language"));
    QStringList names = m_workspace.project().languages();
    if (!names.contains(m_workspace.project().language())) {
        names.prepend(m_workspace.project().language());
    }
    for (const QString &name : qAsConst(names)) {
        QAction *language = languages->addAction(name);
        language->setCheckable(true);
        language->setData(name);
        connect(language, &QAction::triggered, this, [this, name] { setLanguage(name); });
    }
    languages->setObjectName(QStringLiteral("languages"));
    menu->addSeparator();
    const auto docks = findChildren<QDockWidget *>();
    for (QDockWidget *dock : docks) {
        menu->addAction(dock->toggleViewAction());
    }
    setLanguage(m_workspace.project().language());
}

void MainWindow::createToolBar()
{
    QToolBar *bar = addToolBar(tr("Main Tool Bar"));
    bar->setObjectName(QStringLiteral("main"));
    bar->setMovable(false);
    bar->addActions({m_save, m_undo, m_redo});
    bar->addSeparator();
    bar->addActions({m_preview, m_resolve});
}

void MainWindow::createStatusBar()
{
    m_state = new QLabel(this);
    m_state->setAccessibleName(tr("State"));
    m_lastEvent = new QLabel(this);
    m_lastEvent->setAccessibleName(tr("Last event"));
    m_stopButton = new QPushButton(tr("S&top Script"), this);
    m_stopButton->setObjectName(QStringLiteral("stop"));
    m_stopButton->hide();
    connect(m_stopButton, &QPushButton::clicked, m_stop, &QAction::trigger);
    statusBar()->addWidget(m_state);
    statusBar()->addWidget(m_stopButton);
    statusBar()->addPermanentWidget(m_lastEvent);
}

void MainWindow::connectWorkspace()
{
    connect(m_instances, &InstancePanel::chosen, &m_workspace, &Workspace::open);
    connect(m_nodes, &NodePanel::reloadRequested, this, &MainWindow::reload);
    connect(&m_workspace, &Workspace::currentChanged, this, &MainWindow::showCurrent);
    connect(&m_workspace, &Workspace::eventFired, this, &MainWindow::showFiredEvent);
    connect(&m_workspace, &Workspace::busyChanged, this, &MainWindow::showBusy);
    // Not inside the signal: closing destroys what sends it.
    connect(this, &MainWindow::settled, this, &MainWindow::continueClosing, Qt::QueuedConnection);
    connect(&m_workspace, &Workspace::becameSlow, m_stopButton, &QWidget::show);
    connect(&m_workspace, &Workspace::dependenciesRun, this, &MainWindow::showDependencies);
    connect(&m_workspace, &Workspace::testRecorded, this, &MainWindow::showTest);
    connect(&m_workspace, &Workspace::saveEnded, this,
            [this](const QString & /*instance*/, bool isSaved) {
                if (!isSaved) {
                    m_isClosing = false; // the user has to see why
                }
            });
    connect(&m_workspace, &Workspace::projectRead, this, [this](const ProjectReport &report) {
        m_instances->showProject(report);
        if (const Document *current = m_workspace.current()) {
            m_instances->select(current->instance());
        }
        m_isProjectRead = true;
        if (!m_toOpen.isEmpty()) {
            m_workspace.open(m_toOpen);
        }
    });
    const auto update = [this] {
        updateActions();
    };
    connect(&m_workspace.undoGroup(), &QUndoGroup::canUndoChanged, this, update);
    connect(&m_workspace.undoGroup(), &QUndoGroup::canRedoChanged, this, update);
    connect(&m_workspace.undoGroup(), &QUndoGroup::undoTextChanged, this, update);
    connect(&m_workspace.undoGroup(), &QUndoGroup::redoTextChanged, this, update);
}

void MainWindow::openInstance(const QString &instance)
{
    if (m_isProjectRead) {
        m_workspace.open(instance);
    } else {
        m_toOpen = instance;
    }
}

void MainWindow::setLanguage(const QString &language)
{
    Diagnostic error;
    const auto texts = m_workspace.project().texts(language, error);
    if (!error.message.isEmpty()) {
        m_workspace.messages().add(language, m_workspace.project().relative(error).toString(),
                                   QtCriticalMsg);
    }
    m_labels = {language, texts, m_workspace.project().units()};
    const auto actions = findChild<QMenu *>(QStringLiteral("languages"))->actions();
    for (QAction *action : actions) {
        action->setChecked(action->data().toString() == language);
    }
    m_nodes->setLabels(m_labels);
}

void MainWindow::showCurrent(Document *document)
{
    m_nodes->setDocument(document);
    if (document) {
        m_instances->select(document->instance());
        connect(document, &Document::stateChanged, this, [this] {
            showTitle();
            updateActions();
        });
        connect(document, &Document::wasReset, this, &MainWindow::updateActions);
    }
    showTitle();
    updateActions();
}

void MainWindow::showTitle()
{
    const Document *document = m_workspace.current();
    const QString project = m_workspace.project().objectName();
    setWindowTitle(document ? QStringLiteral("%1[*] \u2014 %2").arg(document->instance(), project)
                            : project);
    setWindowModified(document && document->isUnsaved());
}

void MainWindow::updateActions()
{
    const Document *document = m_workspace.current();
    const bool isIdle = !m_workspace.isBusy();
    const bool isUsable = document && document->problem().isEmpty();
    const QUndoGroup &undoGroup = m_workspace.undoGroup();
    m_save->setEnabled(isIdle && isUsable);
    m_reload->setEnabled(isIdle && document);
    m_discard->setEnabled(isIdle && document && document->isUnsaved());
    m_undo->setEnabled(isIdle && undoGroup.canUndo());
    m_redo->setEnabled(isIdle && undoGroup.canRedo());
    const auto describe = [](QAction *action, const QString &what) {
        action->setToolTip(QStringLiteral("%1 %2 (%3)")
                               .arg(action->text().remove(QLatin1Char('&')), what,
                                    action->shortcut().toString(QKeySequence::NativeText)));
    };
    describe(m_undo, undoGroup.undoText());
    describe(m_redo, undoGroup.redoText());
    m_preview->setEnabled(isIdle && isUsable);
    m_resolve->setEnabled(isIdle && isUsable);
    m_record->setEnabled(isIdle && isUsable && document->hasEvents());
    m_stop->setEnabled(!isIdle);
}

void MainWindow::showBusy(bool isBusy)
{
    updateActions();
    if (isBusy) {
        m_state->setText(tr("Running \u2026"));
        return;
    }
    m_stopButton->hide();
    const int unsaved = m_workspace.unsavedInstances().size();
    m_state->setText(
        unsaved == 0
            ? tr("Ready")
            : tr("%1 unsaved").arg(ValueText::counted(unsaved, tr("instance"), tr("instances"))));
    Q_EMIT settled();
}

void MainWindow::showFiredEvent(const EventReport &report)
{
    if (report.run.script.isEmpty()) {
        return; // nothing ran
    }
    const QString event = report.run.function + QLatin1Char(' ') + report.run.argument;
    m_lastEvent->setText(tr("Last event: %1 %2, %3 ms")
                             .arg(report.time.time().toString(Qt::ISODate), event.trimmed())
                             .arg(double(report.run.duration.count()) / 1e6, 0, 'f', 1));
}

void MainWindow::save()
{
    m_nodes->commit();
    m_workspace.save(m_workspace.current()->instance());
}

void MainWindow::reload(bool keepsChanges)
{
    m_nodes->commit();
    m_workspace.reload(m_workspace.current()->instance(), keepsChanges);
}

void MainWindow::discard()
{
    const auto answer = QMessageBox::question(
        this, tr("Discard Changes"),
        tr("Discard the unsaved changes of %1?").arg(m_workspace.current()->instance()),
        QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer == QMessageBox::Discard) {
        reload(false);
    }
}

void MainWindow::showDependencies(const DependencyReport &report)
{
    if (report.kind == DependencyReport::Kind::Written) {
        if (report.error.isEmpty()) {
            statusBar()->showMessage(
                tr("The dependencies of %1 are written: %2.")
                    .arg(report.instance,
                         ValueText::counted(report.report.trees.size(), tr("file"), tr("files"))),
                s_messageTime);
        } else {
            m_isClosing = false;
            QMessageBox::warning(this, tr("Dependencies"),
                                 tr("Nothing is written: %1").arg(report.error));
        }
        return;
    }
    const bool isQuiet = report.error.isEmpty() && report.findings.isEmpty()
        && report.report.trees.isEmpty() && report.report.succeeded()
        && std::all_of(report.report.runs.cbegin(), report.report.runs.cend(),
                       [](const ScriptRun &run) { return run.errors.isEmpty(); });
    if (isQuiet) {
        statusBar()->showMessage((report.selected.isEmpty()
                                      ? tr("No dependency script belongs to %1.")
                                      : tr("The dependency scripts of %1 change nothing."))
                                     .arg(report.instance),
                                 s_messageTime);
        return;
    }
    m_dialog = new DependencyDialog(m_workspace.project(), m_labels, report, this);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_dialog, &QDialog::finished, this, [this, report](int result) {
        m_dialog = nullptr;
        if (result == QDialog::Accepted) {
            m_workspace.writeDependencies(report);
        } else if (m_isClosing) {
            continueClosing();
        }
    });
    m_dialog->open();
}

void MainWindow::recordTest()
{
    m_nodes->commit();
    QDir folder(m_workspace.project().path());
    folder.mkdir(QStringLiteral("tests")); // the dialog shows folders that exist
    folder.cd(QStringLiteral("tests"));
    const QString suffix = ScriptTest::suffix();
    QFileDialog dialog(this, tr("Record Test"), folder.path(), tr("Tests (*%1)").arg(suffix));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOption(QFileDialog::DontConfirmOverwrite); // it is refused
    dialog.setDefaultSuffix(suffix);
    dialog.selectFile(m_workspace.current()->instance().replace(QLatin1Char('/'), QLatin1Char('-'))
                      + suffix);
    if (dialog.exec() == QDialog::Accepted) {
        m_workspace.recordTest(dialog.selectedFiles().constFirst());
    }
}

void MainWindow::showTest(const RecordingReport &report)
{
    if (report.error.isEmpty() && report.difference.isEmpty()) {
        statusBar()->showMessage(tr("Recorded %1: it passes when replayed.").arg(report.file),
                                 s_messageTime);
    }
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    m_nodes->commit();
    if (!askBeforeClosing()) {
        event->ignore();
        return;
    }
    if (m_settings == Settings::Kept) {
        keepSettings();
    }
    event->accept();
}

/// @return whether the window may close now; it may also close later, when everything is saved
bool MainWindow::askBeforeClosing()
{
    const QStringList unsaved = m_workspace.unsavedInstances();
    if (unsaved.isEmpty()) {
        return true;
    }
    const auto answer = QMessageBox::warning(
        this, tr("Unsaved Changes"),
        tr("Unsaved changes: %1").arg(unsaved.join(QStringLiteral(", "))),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    if (answer == QMessageBox::Save) {
        m_isClosing = true;
        m_toSave = unsaved;
        continueClosing();
    }
    return answer == QMessageBox::Discard;
}

void MainWindow::continueClosing()
{
    if (!m_isClosing || m_workspace.isBusy() || m_dialog) {
        return; // comes back when that is over
    }
    if (!m_toSave.isEmpty()) {
        const QString instance = m_toSave.takeFirst();
        m_workspace.open(instance);
        m_workspace.save(instance);
        return;
    }
    m_isClosing = false;
    close();
}

void MainWindow::restoreSettings()
{
    const QSettings settings;
    restoreGeometry(settings.value(s_geometryKey).toByteArray());
    restoreState(settings.value(s_stateKey).toByteArray());
    m_showsEverything->setChecked(settings.value(s_everythingKey).toBool());
    const QString language = settings.value(s_languageKey).toString();
    if (m_workspace.project().languages().contains(language)) {
        setLanguage(language);
    }
}

void MainWindow::keepSettings() const
{
    QSettings settings;
    settings.setValue(s_geometryKey, saveGeometry());
    settings.setValue(s_stateKey, saveState());
    settings.setValue(s_everythingKey, m_showsEverything->isChecked());
    settings.setValue(s_languageKey, m_labels.language);
}

} // namespace ConfigScript
