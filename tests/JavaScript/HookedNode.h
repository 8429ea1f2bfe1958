#pragma once

#include "RecordingNode.h"

#include <functional>
#include <utility>

/// A node that does what a test tells it to in the middle of its operations, once.
class HookedNode : public RecordingNode
{
public:
    using RecordingNode::RecordingNode;
    ~HookedNode() override { onDestruction(); }

    mutable std::function<void()> onRead = nothing; ///< by getProperty()
    mutable std::function<void()> onWrite = nothing; ///< by setProperty() and addProperty()
    std::function<void()> onDestruction = nothing;

    QVariant getProperty(const QString &propertyKey) const override
    {
        std::exchange(onRead, nothing)();
        return RecordingNode::getProperty(propertyKey);
    }

    int setProperty(const QString &propertyKey, const QVariant &value) override
    {
        std::exchange(onWrite, nothing)();
        return RecordingNode::setProperty(propertyKey, value);
    }

    void addProperty(const QString &propertyKey, const QVariant &value) override
    {
        std::exchange(onWrite, nothing)();
        RecordingNode::addProperty(propertyKey, value);
    }

private:
    static void nothing() { }
};
