#include "Finding.h"

Finding Finding::of(Kind kind, const Diagnostic &place)
{
    const Description &description = kinds().at(int(kind));
    Q_ASSERT(description.canBeError != description.canBeWarning);
    return {description.canBeError ? Severity::Error : Severity::Warning, place, kind};
}

const QVector<Finding::Description> &Finding::kinds()
{
    static const QVector<Description> all{
        {Kind::Project, "project", true, false},
        {Kind::Manifest, "manifest", true, false},
        {Kind::ManifestEntry, "manifest-entry", true, true},
        {Kind::MissingTree, "missing-tree", true, false},
        {Kind::MalformedTree, "malformed-tree", true, false},
        {Kind::NoScript, "no-script", true, false},
        {Kind::NotListed, "not-listed", false, true},
        {Kind::MissingScript, "missing-script", true, false},
        {Kind::EmptyScript, "empty-script", true, true},
        {Kind::ScriptError, "script-error", true, false},
        {Kind::HiddenFunction, "hidden-function", true, false},
        {Kind::MissingFunction, "missing-function", true, true},
        {Kind::UnsavedWrite, "unsaved-write", false, true},
        {Kind::OtherModule, "other-module", false, true},
        {Kind::UnknownObject, "unknown-object", false, true},
        {Kind::UnknownInstance, "unknown-instance", false, true},
        {Kind::MissingText, "missing-text", false, true},
        {Kind::MissingUnit, "missing-unit", false, true},
        {Kind::Texts, "texts", true, false},
        {Kind::UnusedScript, "unused-script", false, true},
        {Kind::OrderDependent, "order-dependent", true, true},
        {Kind::NotSettling, "not-settling", true, true},
        {Kind::TwoWriters, "two-writers", false, true},
        {Kind::ScriptFailed, "script-failed", true, false},
        {Kind::NotSaved, "not-saved", true, false},
        {Kind::SameOrder, "same-order", false, true},
    };
    return all;
}

QString Finding::name() const
{
    return QString::fromLatin1(kinds().at(int(kind)).name);
}

QString Finding::toString() const
{
    Finding finding = *this;
    finding.place.column = 0;
    return finding.toStringWithColumn();
}

QString Finding::toStringWithColumn() const
{
    Diagnostic text = place;
    text.message =
        (severity == Severity::Error ? QStringLiteral("error: ") : QStringLiteral("warning: "))
        + place.message + QStringLiteral(" [") + name() + QLatin1Char(']');
    return text.toString();
}
