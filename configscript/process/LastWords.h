#pragma once

class QString;

/**
 * What the program says when a script kills it.
 *
 * The engine recurses without bound through what a script nests deep enough, and neither it nor Qt
 * comes back from an allocation that fails: either ends the process. All that is left is to name
 * the script, and to end with the exit code of a failure. No file is written while scripts run.
 */
namespace LastWords {

/// Watches the calling thread. Without a script in progress, and without a limit of memory, the
/// process dies as it would have died.
void prepare();

void memoryIsLimited(int megabytes);

/// @param description of the script, for the message
void scriptBegins(const QString &description);
void scriptEnds();

} // namespace LastWords
