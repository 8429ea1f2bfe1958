#pragma once

#include <QByteArray>
#include <QList>
#include <QVariant>

/// The outcome of a step, as StepOutcome makes it, as text.
namespace OutcomeText {

/// The outcome as lines of JSON, the first without @p indentation; one line for each property.
QByteArray toText(const QVariantMap &outcome, const QByteArray &indentation);

/// The outcome's lines for people: without what goes without saying, and without commas, which
/// would differ where nothing else does.
QList<QByteArray> toLines(const QVariantMap &outcome);

} // namespace OutcomeText
