#pragma once

#include "IniNode.h"

/**
 * A tree in a file: a section for each node but the root, named by its relative URL, and a line for
 * each property. Values are JSON; "!" in front of a key makes the property read-only:
 *
 *     labelTextId = "pump.1"
 *
 *     [motor]
 *     !serialNumber = 4711
 *     limits = {"max":3000,"min":0}
 *
 * Names and keys are percent-encoded where they need it.
 */
namespace IniFile {

/// The tree's root; null when there is no such file, and null, with a warning, when it is
/// malformed.
QSharedPointer<IniNode> read(const QString &filePath);

/// Replaces the file whole or not at all. @return false, with a warning, when it could not.
bool write(const QString &filePath, const IniNode &root);

} // namespace IniFile
