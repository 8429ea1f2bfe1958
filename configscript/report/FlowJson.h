#pragma once

#include "runner/flow/DataFlow.h"

#include <QJsonObject>
#include <QVector>

class PropertyUrls;

/// How values went through scripts, for programs. The formats are described in docs/command.md.
namespace FlowJson {

enum class Direction { Backwards, Forwards };

/**
 * The properties, and those that they depend on, or that depend on them.
 * @param depth how many scripts are followed, one behind the other; negative for any
 */
QJsonObject explanation(const DataFlow &flow, const PropertyUrls &urls,
                        const QVector<int> &properties, Direction direction, int depth);

} // namespace FlowJson
