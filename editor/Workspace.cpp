#include "Workspace.h"

#include "editor/ScriptWorker.h"

#include <QDir>
#include <QFileInfo>

namespace ConfigScript {

namespace {

constexpr int s_settlingTime = 200; // milliseconds

} // namespace

Workspace::Workspace(const Project &project)
    : m_project(project)
    , m_scripts(project)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(s_settlingTime);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_settling, qOverload<>(&QTimer::start));
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_settling,
            qOverload<>(&QTimer::start));
    connect(&m_settling, &QTimer::timeout, this, &Workspace::refreshAll);
    const ScriptWorker &worker = m_scripts.worker();
    connect(&worker, &ScriptWorker::projectRead, this, &Workspace::takeProject);
    connect(&worker, &ScriptWorker::opened, this, &Workspace::takeOpened);
    connect(&worker, &ScriptWorker::edited, this, &Workspace::takeEvent);
    connect(&worker, &ScriptWorker::saved, this, &Workspace::takeSaved);
    connect(&worker, &ScriptWorker::dependenciesRun, this, &Workspace::takeDependencies);
    connect(&worker, &ScriptWorker::testRecorded, this, &Workspace::takeTest);
    connect(&worker, &ScriptWorker::treeIsStale, this, [this](const QString &instance) {
        if (Document *stale = document(instance)) {
            stale->setNotice(tr("The file has changed on the disk."), true);
        }
    });
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
    m_scripts.run([](ScriptWorker &worker) { worker.readProject(); });
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
    if (!document(instance)) {
        add(instance);
    }
    m_current = document(instance);
    m_undoGroup.setActiveStack(&m_current->undoStack());
    Q_EMIT currentChanged(m_current);
}

void Workspace::add(const QString &instance)
{
    auto document = std::make_unique<Document>(instance);
    Document *added = document.get();
    m_undoGroup.addStack(&added->undoStack());
    connect(added, &Document::editRequested, this,
            [this, instance](const QString &path, const QString &key, const QVariant &value) {
                m_scripts.run(
                    [=](ScriptWorker &worker) { worker.edit(instance, path, key, value); });
            });
    connect(added, &Document::changesRequested, this,
            [this, instance](const QVector<PropertyChange> &changes) {
                m_scripts.run([=](ScriptWorker &worker) { worker.apply(instance, changes); });
            });
    const auto badges = [this, added] {
        showBadges(*added);
    };
    connect(added, &Document::stateChanged, this, badges);
    connect(added, &Document::errorsChanged, this, badges);
    m_documents[instance] = std::move(document);
    m_scripts.run([instance](ScriptWorker &worker) { worker.open(instance); });
}

void Workspace::showBadges(const Document &document)
{
    m_instances.setBadges(document.instance(),
                          {document.unsavedProperties(),
                           document.problem().isEmpty() ? document.errors().size() : 1});
}

void Workspace::takeOpened(const InstanceReport &report)
{
    Document *opened = document(report.instance);
    if (!opened) {
        return; // left meanwhile
    }
    if (!report.error.isEmpty() && report.error != opened->problem()) {
        m_messages.add(report.instance, report.error, QtCriticalMsg);
    }
    m_messages.add(report.onOpen);
    m_events.add(report.onOpen);
    opened->takeReport(report);
    watch(*opened);
    if (report.error.isEmpty()) {
        Q_EMIT eventFired(report.onOpen);
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
    m_scripts.run([instance](ScriptWorker &worker) { worker.save(instance); });
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
        const QString instance = report.instance;
        m_scripts.run([instance](ScriptWorker &worker) { worker.proposeDependencies(instance); });
    }
    Q_EMIT saveEnded(report.instance, report.isSaved);
}

void Workspace::reload(const QString &instance, bool keepsChanges)
{
    m_scripts.run([=](ScriptWorker &worker) { worker.reload(instance, keepsChanges); });
}

void Workspace::previewDependencies()
{
    const QString instance = m_current->instance();
    m_scripts.run([instance](ScriptWorker &worker) { worker.previewDependencies(instance); });
}

void Workspace::proposeDependencies()
{
    const QString instance = m_current->instance();
    m_scripts.run([instance](ScriptWorker &worker) { worker.proposeDependencies(instance); });
}

void Workspace::writeDependencies(const DependencyReport &proposal)
{
    m_scripts.run([proposal](ScriptWorker &worker) { worker.writeDependencies(proposal); });
}

void Workspace::takeDependencies(const DependencyReport &report)
{
    if (report.kind == DependencyReport::Kind::Written) {
        for (const QString &warning : report.report.warnings) {
            m_messages.add(report.instance, warning, QtWarningMsg);
        }
        refreshAll(); // the proposal told the rest
    } else {
        m_messages.add(report);
        m_events.add(report);
    }
    if (!report.error.isEmpty()) {
        m_messages.add(report.instance, report.error, QtCriticalMsg);
    }
    Q_EMIT dependenciesRun(report);
}

void Workspace::recordTest(const QString &filePath)
{
    const QString instance = m_current->instance();
    m_scripts.run([=](ScriptWorker &worker) { worker.recordTest(instance, filePath); });
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
    // A file that was replaced is another one: it has to be named anew. One that is missing may
    // appear in its folder.
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
        watch(*entry.second);
        const QString instance = entry.first;
        m_scripts.run([instance](ScriptWorker &worker) { worker.refresh(instance); });
    }
}

} // namespace ConfigScript
