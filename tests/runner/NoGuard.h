#pragma once

#include "runner/record/ScriptGuard.h"

/// Lets every script run.
class NoGuard : public ScriptGuard
{
public:
    void begin(const Subject & /*subject*/, const Interrupt & /*interrupt*/) override { }
    void apiCalled(const QByteArray & /*operation*/, const QStringList & /*texts*/) override { }
    bool hasInterrupted() override { return false; }
    QString end() override { return QString(); }
};
