#include "Workspace.h"

#include <QDir>
#include <QFileInfo>

#include <chrono>

namespace ConfigScript {

namespace {

constexpr std::chrono::milliseconds s_settlingTime{200};

} // namespace

Workspace::Workspace(const Project &project, DialogReach reach)
    : m_project(project)
    , m_scripts(project, reach)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(s_settlingTime);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_settling, qOverload<>(&QTimer::start));
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_settling,
            qOverload<>(&QTimer::start));
    connect(&m_settling, &QTimer::timeout, this, &Workspace::refreshAll);
    connect(&m_scripts, &ScriptThread::busyChanged, this, &Workspace::busyChanged);
    connect(&m_scripts, &ScriptThread::becameSlow, this, &Workspace::becameSlow);
}

Workspace::~Workspace() = default;

Document *Workspace::document(const QString &instance) const
{
    const auto found = m_documents.find(instance);
    return found == m_documents.end() ? nullptr : found->second.get();
}

QStringList Workspace::unsavedInstances() const
{
    QStringList instances;
    for (const auto &entry : m_documents) {
        if (entry.second->isUnsaved()) {
            instances.append(entry.first);
        }
    }
    return instances;
}

void Workspace::readProject()
{
    m_scripts.run([](ScriptWorker &worker) { return worker.readProject(); }, this,
                  [this](const ProjectReport &report) { takeProject(report); });
}

void Workspace::takeProject(const ProjectReport &report)
{
    m_instances.setInstances(report.instances, report.listed);
    if (!report.manifestError.isEmpty()) {
        m_messages.add(tr("manifest"), report.manifestError, QtCriticalMsg);
    }
    Q_EMIT projectRead(report);
}

void Workspace::open(const QString &instance)
{
    if (m_current && m_current->instance() == instance) {
        return;
    }
    std::unique_ptr<Document> left;
    if (m_current && !m_current->isUnsaved()) {
        const auto entry = m_documents.find(m_current->instance());
        left = std::move(entry->second);
        m_documents.erase(entry);
        left->disconnect(this);
        m_undoGroup.removeStack(&left->undoStack());
        const QString name = left->instance();
        m_instances.setBadges(name, {});
        m_scripts.run([name](ScriptWorker &worker) { worker.close(name); });
    }
    m_current = document(instance);
    if (!m_current) {
        m_current = &add(instance);
    }
    m_undoGroup.setActiveStack(&m_current->undoStack());
    Q_EMIT currentChanged(m_current);
}

Document &Workspace::add(const QString &instance)
{
    auto &document = m_documents[instance];
    document = std::make_unique<Document>(instance);
    Document &added = *document;
    m_undoGroup.addStack(&added.undoStack());
    connect(&added, &Document::editRequested, this,
            [this, instance](const QString &path, const QString &key, const QVariant &value) {
                m_scripts.run(
                    [=](ScriptWorker &worker) {
                        return worker.instance(instance).edit(path, key, value);
                    },
                    this, [this](const EventReport &report) { takeEvent(report); });
            });
    connect(&added, &Document::changesRequested, this,
            [this, instance](const QVector<PropertyChange> &changes) {
                m_scripts.run(
                    [=](ScriptWorker &worker) { worker.instance(instance).apply(changes); });
            });
    const auto badges = [this, &added] {
        showBadges(added);
    };
    connect(&added, &Document::stateChanged, this, badges);
    connect(&added, &Document::errorsChanged, this, badges);
    m_scripts.run([instance](ScriptWorker &worker) { return worker.instance(instance).open(); },
                  &added,
                  [this, &added](const InstanceReport &report) { takeOpened(added, report); });
    return added;
}

void Workspace::showBadges(const Document &document)
{
    m_instances.setBadges(document.instance(),
                          {document.unsavedProperties(),
                           document.problem().isEmpty() ? document.errors().size() : 1});
}

void Workspace::takeOpened(Document &document, const InstanceReport &report)
{
    if (!report.error.isEmpty() && report.error != document.problem()) {
        m_messages.add(report.instance, report.error, QtCriticalMsg);
    }
    m_messages.add(report.onOpen);
    m_events.add(report.onOpen);
    document.takeReport(report);
    watch(document);
    if (report.error.isEmpty()) {
        Q_EMIT eventFired(report.onOpen);
    }
}

void Workspace::takeRefreshed(Document &document, const RefreshReport &report)
{
    switch (report.outcome) {
    case RefreshReport::Outcome::Unchanged:
        break;
    case RefreshReport::Outcome::Stale:
        document.setNotice(tr("The file has changed on the disk."), true);
        break;
    case RefreshReport::Outcome::ReadAgain:
        takeOpened(document, report.instance);
        break;
    }
}

void Workspace::takeEvent(const EventReport &report)
{
    m_messages.add(report);
    m_events.add(report);
    if (Document *edited = document(report.instance)) {
        edited->takeReport(report);
    }
    Q_EMIT eventFired(report);
}

void Workspace::save(const QString &instance)
{
    m_scripts.run([instance](ScriptWorker &worker) { return worker.instance(instance).save(); },
                  this, [this](const SaveReport &report) { takeSaved(report); });
}

void Workspace::takeSaved(const SaveReport &report)
{
    m_messages.add(report.onOk);
    m_events.add(report.onOk);
    if (Document *saved = document(report.instance)) {
        saved->takeReport(report);
        watch(*saved);
    }
    if (!report.error.isEmpty()) {
        m_messages.add(report.instance, report.error, QtCriticalMsg);
    }
    Q_EMIT eventFired(report.onOk);
    if (report.isSaved) {
        proposeDependencies(report.instance);
    }
    Q_EMIT saveEnded(report.instance, report.isSaved);
}

void Workspace::reload(const QString &instance, bool keepsChanges)
{
    Document *reloaded = document(instance);
    m_scripts.run(
        [=](ScriptWorker &worker) {
            OpenInstance &known = worker.instance(instance);
            if (!keepsChanges) {
                known.discardChanges();
            }
            return known.open();
        },
        reloaded, [=](const InstanceReport &report) { takeOpened(*reloaded, report); });
}

void Workspace::setReach(DialogReach reach)
{
    m_scripts.run([reach](ScriptWorker &worker) { worker.setReach(reach); });
    for (const auto &entry : m_documents) {
        reload(entry.first, true);
    }
}

void Workspace::previewDependencies(const QString &instance)
{
    m_scripts.run([instance](ScriptWorker &worker) { return worker.previewDependencies(instance); },
                  this, [this](const DependencyReport &report) { takeDependencies(report); });
}

void Workspace::proposeDependencies(const QString &instance)
{
    m_scripts.run([instance](ScriptWorker &worker) { return worker.proposeDependencies(instance); },
                  this, [this](const DependencyReport &report) { takeDependencies(report); });
}

void Workspace::writeDependencies(const DependencyReport &proposal)
{
    m_scripts.run([proposal](ScriptWorker &worker) { return worker.writeDependencies(proposal); },
                  this, [this](const DependencyReport &report) { takeDependencies(report); });
}

void Workspace::takeDependencies(const DependencyReport &report)
{
    if (report.kind == DependencyReport::Kind::Written) {
        for (const QString &warning : report.record.warnings) {
            m_messages.add(report.instance, warning, QtWarningMsg);
        }
        refreshAll(); // scripts and their messages were shown with the proposal
    } else {
        m_messages.add(report);
        m_events.add(report);
    }
    if (!report.error.isEmpty()) {
        m_messages.add(report.instance, report.error, QtCriticalMsg);
    }
    Q_EMIT dependenciesRun(report);
}

void Workspace::recordTest(const QString &instance, const QString &filePath)
{
    m_scripts.run([=](ScriptWorker &worker) { return worker.recordTest(instance, filePath); }, this,
                  [this](const RecordingReport &report) { takeTest(report); });
}

void Workspace::takeTest(const RecordingReport &report)
{
    QString notice;
    if (!report.error.isEmpty()) {
        notice = tr("No test is recorded: %1").arg(report.error);
    } else if (!report.difference.isEmpty()) {
        notice =
            tr("Recorded %1, but it fails when replayed: %2").arg(report.file, report.difference);
    }
    if (!notice.isEmpty()) {
        m_messages.add(report.instance, notice, QtWarningMsg);
        if (Document *recorded = document(report.instance)) {
            recorded->setNotice(notice, recorded->offersReload());
        }
    }
    Q_EMIT testRecorded(report);
}

void Workspace::watch(const Document &document)
{
    // The watcher forgets a file that was replaced, so it is told again. For a missing file it
    // watches the folder in which the file may appear.
    for (const QString &path : {document.treePath(), document.scriptPath()}) {
        const QFileInfo file(path);
        if (file.exists()) {
            m_watcher.addPath(path);
        } else if (file.dir().exists() && !path.isEmpty()) {
            m_watcher.addPath(file.path());
        }
    }
}

void Workspace::refreshAll()
{
    for (const auto &entry : m_documents) {
        Document *open = entry.second.get();
        watch(*open);
        m_scripts.run(
            [instance = entry.first](ScriptWorker &worker) { return worker.refresh(instance); },
            open, [this, open](const RefreshReport &report) { takeRefreshed(*open, report); });
    }
}

} // namespace ConfigScript
