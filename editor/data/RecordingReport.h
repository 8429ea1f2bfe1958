#pragma once

#include <QString>

namespace ConfigScript {

/// A test that was to be recorded.
struct RecordingReport
{
    QString instance;
    QString file; ///< as seen from the project
    QString error; ///< why it was not written; empty when it was
    QString difference; ///< lines that tell why it fails when replayed; empty when it passes
};

} // namespace ConfigScript
