#include "RecordedResolver.h"

#include "JavaScript/JavaScriptDependencyResolver.h"
#include "filehost/FileBatch.h"
#include "filehost/HostSession.h"
#include "filehost/Project.h"
#include "runner/record/SilentLog.h"

namespace {

std::unique_ptr<JavaScriptDependencyResolver> makeResolver(const Project &project,
                                                           const TextManager &texts)
{
    const SilentLog log;
    return std::make_unique<JavaScriptDependencyResolver>(project.path(), project.moduleName(),
                                                          project.objectName(), project.providers(),
                                                          texts, project.otherFiles(), nullptr);
}

} // namespace

RecordedResolver::RecordedResolver(const Project &project, HostSession &session,
                                   RunRecorder::Recording recording, ScriptGuard &guard)
    : m_project(project)
    , m_session(session)
    , m_texts(project.texts())
    , m_resolver(makeResolver(project, m_texts))
    , m_recorder(project, recording, guard,
                 [this](bool isInterrupted) { m_resolver->setInterrupted(isInterrupted); })
{
    m_resolver->setRunObserver(&m_recorder);
    QObject::connect(m_resolver.get(), &JavaScriptDependencyResolver::processDataDescriptionChanged,
                     m_resolver.get(),
                     [this](const QString &name) { m_recorder.instanceAnnounced(name); });
}

RecordedResolver::~RecordedResolver() = default;

void RecordedResolver::setProgress(const RunRecorder::Progress &progress)
{
    m_recorder.setProgress(progress);
}

void RecordedResolver::resolve(const QString &instance)
{
    FileBatch batch(m_project.path());
    m_session.setBatch(&batch);
    m_session.setObserver(&m_recorder);
    if (instance.isEmpty()) {
        m_resolver->resolveAllDependencies();
    } else {
        m_resolver->resolveDependencyOfInstance(instance);
    }
    m_session.setObserver(nullptr);
    m_session.setBatch(nullptr);
    QString error;
    if (!batch.commit(error)) {
        m_recorder.savingFailed(error);
    }
}

RunRecord RecordedResolver::takeRecord()
{
    return m_recorder.takeRecord();
}

RunRecord RecordedResolver::takeLastRecord()
{
    m_resolver.reset();
    return takeRecord();
}
