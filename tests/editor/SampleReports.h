#pragma once

#include "editor/data/InstanceReport.h"
#include "filehost/FileTreeNode.h"

// What the scripts' thread would report, for tests that do without it.

inline QString sampleInstance()
{
    return QStringLiteral("line1/pump1");
}

/// Of an event that succeeded.
inline ConfigScript::EventReport eventReport(const QString &function,
                                             const QString &argument = QString())
{
    ConfigScript::EventReport report;
    report.instance = sampleInstance();
    report.run.script = QStringLiteral("scripts/pump.js");
    report.run.function = function;
    report.run.argument = argument;
    report.run.succeeded = true;
    return report;
}

/// Of an instance with the tree that @p text holds.
inline ConfigScript::InstanceReport openedReport(const QByteArray &text)
{
    ConfigScript::Diagnostic error;
    ConfigScript::InstanceReport report;
    report.instance = sampleInstance();
    report.snapshot =
        ConfigScript::InstanceSnapshot(*ConfigScript::FileTree::parse(text, {}, error));
    report.onOpen = eventReport(QStringLiteral("onOpen"));
    return report;
}
