#pragma once

#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "support/CallText.h"

#include <QString>
#include <QStringList>

#include <functional>

/// A root pointer handler that answers what it is told to, and records its calls in a list shared
/// with others.
class RecordingRootPointerHandler : public JavaScriptRootPointerHandler
{
public:
    explicit RecordingRootPointerHandler(QStringList &calls)
        : JavaScriptRootPointerHandler(QString(), {})
        , m_calls(calls)
    {
    }

    ConfigurationAndProcessDataBase::BaseClassSharedPointer root; ///< of every URL and instance
    QStringList changedConfigUrls;
    QStringList changedProcessUrls;
    std::function<void()> onResetState = [] {
    };

    ConfigurationAndProcessDataBase::BaseClassSharedPointer getRootPointer(
        const QString &url) const override
    {
        record(callText("getRootPointer", url));
        return root;
    }

    ConfigurationAndProcessDataBase::BaseClassSharedPointer getInstanceConfigPointer(
        const QString &instance) const override
    {
        record(callText("getInstanceConfigPointer", instance));
        return root;
    }

    void setChangedUrl(const QString &url) override { record(callText("setChangedUrl", url)); }

    void saveChangedInstances() override { record(callText("saveChangedInstances")); }

    QStringList getChangedExternalConfigUrls() const override
    {
        record(callText("getChangedExternalConfigUrls"));
        return changedConfigUrls;
    }

    QStringList getChangedExternalProcessUrls() const override
    {
        record(callText("getChangedExternalProcessUrls"));
        return changedProcessUrls;
    }

    void deleteChangeFlagConfigUrls() override { record(callText("deleteChangeFlagConfigUrls")); }

    void deleteChangeFlagProcessDataUrl() override
    {
        record(callText("deleteChangeFlagProcessDataUrl"));
    }

    void resetState() override
    {
        record(callText("resetState"));
        onResetState();
    }

private:
    void record(const QString &call) const { m_calls.append(QLatin1String("handler.") + call); }

    QStringList &m_calls;
};
