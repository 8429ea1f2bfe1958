#pragma once

#include "editor/Reports.h"

#include <QByteArray>
#include <QString>

namespace ConfigScript {

class Project;
class ScriptGuard;

/// Writes recorded tests, and runs them once.
class TestWriter
{
public:
    TestWriter(const Project &project, ScriptGuard &guard);

    /// Writes a new file, and replays it in a copy of the project. Makes a HostSession: there must
    /// be none.
    RecordingReport write(const QString &filePath, const QByteArray &text) const;

private:
    QString replay(const QString &filePath) const;

    const Project &m_project;
    ScriptGuard &m_guard;
};

} // namespace ConfigScript
