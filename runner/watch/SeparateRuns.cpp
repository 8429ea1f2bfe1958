#include "SeparateRuns.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "runner/check/ProjectCheck.h"
#include "runner/run/OmittedRuns.h"

#include <algorithm>

SeparateRuns::SeparateRuns(const Project &project, const Manifest &manifest, HostSession &session,
                           ScriptGuard &guard)
    : m_project(project)
    , m_manifest(manifest)
    , m_guard(guard)
    , m_resolver(project, session, RunRecorder::Recording::Outcome, guard)
{
}

std::optional<RunRecord> SeparateRuns::run(const QString &instance)
{
    const QString script = scriptOf(instance);
    if (script.isEmpty() || !isSound(script, instance)) {
        return std::nullopt;
    }
    m_resolver.resolve(instance);
    RunRecord record = m_resolver.takeRecord();
    record.notRun = omittedRuns({instance}, record.runs, [this](const QString &name) {
        return reasonOfOmission(m_project, name);
    });
    record.sort();
    return record;
}

/// Empty when the tree cannot be read, or names none.
QString SeparateRuns::scriptOf(const QString &instance) const
{
    Diagnostic ignored; // the check finds it
    const auto root = m_project.readTree(FileTree::Kind::Configuration, instance, ignored);
    return root.isNull()
        ? QString()
        : root->getProperty(
                  ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern())
              .toString();
}

/// Whether a script can run; what is wrong with the instance that names it is known already.
bool SeparateRuns::isSound(const QString &script, const QString &instance)
{
    const auto known = m_isSound.constFind(script);
    if (known != m_isSound.cend()) {
        return *known;
    }
    const QVector<Finding> findings =
        ProjectCheck(m_project, m_guard).checkInstances(m_manifest, {instance});
    // Entries of the manifest that name no instance keep no other one from running.
    const bool isSound = std::all_of(findings.begin(), findings.end(), [](const Finding &finding) {
        return finding.kind == Finding::Kind::ManifestEntry;
    });
    m_isSound.insert(script, isSound);
    return isSound;
}
