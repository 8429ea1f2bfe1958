#include "MainWindow.h"

#include "editor/data/EditorSettings.h"
#include "editor/data/ValueText.h"
#include "editor/window/InstancePanel.h"
#include "editor/window/LogDock.h"
#include "editor/window/NodePanel.h"
#include "editor/window/NodeView.h"
#include "editor/window/StateBar.h"
#include "editor/window/WindowActions.h"
#include "runner/scripttest/ScriptTest.h"

#include <QAction>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QTreeView>

namespace ConfigScript {

namespace {

QStringList languagesOf(const Project &project)
{
    QStringList languages = project.languages();
    if (!languages.contains(project.language())) {
        languages.prepend(project.language());
    }
    return languages;
}

} // namespace

MainWindow::MainWindow(const Project &project, DialogReach reach, Settings settings)
    : m_workspace(project, reach)
    , m_settings(settings)
    , m_instances(new InstancePanel(m_workspace.instances(), this))
    , m_nodes(new NodePanel(this))
    , m_state(new StateBar(this))
{
    createDocks();
    setCentralWidget(m_nodes);
    m_actions = new WindowActions(*this, languagesOf(project));
    setStatusBar(m_state);
    connectWorkspace();
    m_actions->reachProject->setChecked(reach == DialogReach::Project);
    connectActions();
    setLanguage(project.language());
    if (settings == Settings::Kept) {
        restoreSettings();
    }
    showCurrent(nullptr);
    m_state->setState(tr("Reading the project \u2026"));
    m_workspace.readProject();
}

MainWindow::~MainWindow()
{
    m_workspace.disconnect(this);
    m_workspace.undoGroup().disconnect(this); // documents leave it as they go
    m_nodes->setDocument(nullptr); // it goes before the window's children
}

void MainWindow::createDocks()
{
    const int character = fontMetrics().averageCharWidth();
    auto *instances = new QDockWidget(tr("Instances"), this);
    instances->setObjectName(QStringLiteral("instances"));
    instances->setWidget(m_instances);
    addDockWidget(Qt::LeftDockWidgetArea, instances);

    auto *events = new LogDock(tr("Events"), QStringLiteral("events"), m_workspace.events(), this);
    addDockWidget(Qt::RightDockWidgetArea, events);
    QTreeView &eventView = events->view();
    connect(&m_workspace.events(), &QAbstractItemModel::rowsInserted, &eventView,
            [&eventView](const QModelIndex &parent) { eventView.expand(parent); });
    eventView.header()->setStretchLastSection(false);
    eventView.header()->setSectionResizeMode(EventsModel::EventColumn, QHeaderView::Stretch);
    eventView.setColumnWidth(EventsModel::ResultColumn, 15 * character);

    auto *messages =
        new LogDock(tr("Messages"), QStringLiteral("messages"), m_workspace.messages(), this);
    addDockWidget(Qt::RightDockWidgetArea, messages);
    messages->view().setColumnWidth(MessagesModel::PlaceColumn, 18 * character);
    messages->view().setRootIsDecorated(false);

    resize(180 * character, 48 * fontMetrics().height());
    resizeDocks({instances}, {32 * character}, Qt::Horizontal);
    resizeDocks({events}, {46 * character}, Qt::Horizontal);
}

void MainWindow::connectActions()
{
    const auto when = [this](QAction *action, auto slot) {
        connect(action, &QAction::triggered, this, slot);
    };
    when(m_actions->save, [this] { save(); });
    when(m_actions->reload, [this] { reload(true); });
    when(m_actions->discard, [this] { discard(); });
    when(m_actions->readProject, [this] { m_workspace.readProject(); });
    when(m_actions->undo, [this] { m_workspace.undoGroup().undo(); });
    when(m_actions->redo, [this] { m_workspace.undoGroup().redo(); });
    when(m_actions->preview, [this] {
        m_nodes->commit();
        m_workspace.previewDependencies(m_workspace.current()->instance());
    });
    when(m_actions->resolve,
         [this] { m_workspace.proposeDependencies(m_workspace.current()->instance()); });
    when(m_actions->record, [this] { recordTest(); });
    when(m_actions->stop, [this] {
        m_workspace.stopScript();
        m_state->setState(tr("Stopping \u2026 what is built into the engine runs to its end."));
    });
    when(m_actions->goToInstances, [this] { m_instances->focusFilter(); });
    when(m_actions->goToFields, [this] { m_nodes->view().setFocus(Qt::ShortcutFocusReason); });
    when(m_actions->goToErrors, [this] { m_nodes->focusErrors(); });
    connect(m_actions->showEverything, &QAction::toggled, m_nodes, &NodePanel::setShowsEverything);
    connect(m_actions->reachProject, &QAction::toggled, this, [this](bool reachesProject) {
        m_nodes->commit();
        m_workspace.setReach(reachesProject ? DialogReach::Project : DialogReach::Instance);
    });
    connect(m_state, &StateBar::stopRequested, m_actions->stop, &QAction::trigger);
    connect(m_actions, &WindowActions::languageChosen, this, &MainWindow::setLanguage);
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
    connect(&m_workspace, &Workspace::becameSlow, this, [this] { m_state->setOffersStop(true); });
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
    m_actions->checkLanguage(language);
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
    m_actions->update(m_workspace);
}

void MainWindow::showBusy(bool isBusy)
{
    updateActions();
    if (isBusy) {
        m_state->setState(tr("Running \u2026"));
        return;
    }
    m_state->setOffersStop(false);
    const int unsaved = m_workspace.unsavedInstances().size();
    m_state->setState(
        unsaved == 0
            ? tr("Ready")
            : tr("%1 unsaved").arg(ValueText::counted(unsaved, tr("instance"), tr("instances"))));
    Q_EMIT settled();
}

void MainWindow::showFiredEvent(const EventReport &report)
{
    if (!report.run.script.isEmpty()) { // else nothing ran
        m_state->setLastEvent(report);
    }
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
            m_state->tell(
                tr("The dependencies of %1 are written: %2.")
                    .arg(report.instance,
                         ValueText::counted(report.record.trees.size(), tr("file"), tr("files"))));
        } else {
            m_isClosing = false;
            QMessageBox::warning(this, tr("Dependencies"),
                                 tr("Nothing is written: %1").arg(report.error));
        }
        return;
    }
    if (report.isQuiet()) {
        m_state->tell((report.selected.isEmpty()
                           ? tr("No dependency script belongs to %1.")
                           : tr("The dependency scripts of %1 change nothing."))
                          .arg(report.instance));
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
    const QString suffix = ScriptTest::suffix();
    const QDir project(m_workspace.project().path());
    const QString folder = QStringLiteral("tests");
    const QString name =
        m_workspace.current()->instance().replace(QLatin1Char('/'), QLatin1Char('-')) + suffix;
    QFileDialog dialog(this, tr("Record Test"), project.path(), tr("Tests (*%1)").arg(suffix));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOption(QFileDialog::DontConfirmOverwrite); // it is refused
    dialog.setDefaultSuffix(suffix);
    if (project.exists(folder)) {
        dialog.setDirectory(project.filePath(folder));
        dialog.selectFile(name);
    } else {
        dialog.selectFile(folder + QLatin1Char('/') + name); // made with the test
    }
    if (dialog.exec() == QDialog::Accepted) {
        m_workspace.recordTest(m_workspace.current()->instance(),
                               dialog.selectedFiles().constFirst());
    }
}

void MainWindow::showTest(const RecordingReport &report)
{
    if (report.error.isEmpty() && report.difference.isEmpty()) {
        m_state->tell(tr("Recorded %1: it passes when replayed.").arg(report.file));
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
    const EditorSettings settings = EditorSettings::load();
    restoreGeometry(settings.geometry);
    restoreState(settings.layout);
    m_actions->showEverything->setChecked(settings.showsEverything);
    if (m_workspace.project().languages().contains(settings.language)) {
        setLanguage(settings.language);
    }
}

void MainWindow::keepSettings() const
{
    const EditorSettings settings{saveGeometry(), saveState(), m_labels.language,
                                  m_actions->showEverything->isChecked()};
    settings.save();
}

} // namespace ConfigScript
