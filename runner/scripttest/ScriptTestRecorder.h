#pragma once

#include "filehost/Diagnostic.h"
#include "runner/run/EventRun.h"
#include "runner/scripttest/ScriptTest.h"

#include <QByteArray>
#include <QString>
#include <QVector>

class Project;

/// Makes a test of what an instance's script did.
namespace ScriptTestRecorder {

/**
 * The text of a test that passes as long as the script does the same in the same project.
 * @param events of one dialog's life
 * @param record of these events, recorded with RunRecorder::Recording::Accesses
 */
QByteArray record(const Project &project, const QString &instance, DialogReach reach,
                  const QVector<EventRun::Event> &events, const RunRecord &record);

/// The text of a test with these steps.
QByteArray toText(const QString &instance, DialogReach reach,
                  const QVector<ScriptTest::Step> &steps);

/// Why no new test can be written to @p filePath; without a message when one can.
Diagnostic fileError(const QString &filePath);

} // namespace ScriptTestRecorder
