#pragma once

#include "editor/data/InstanceReport.h"
#include "filehost/FileTreeNode.h"

// What the scripts' thread would report, for tests that do without it.

inline QString sampleInstance()
{
    return QStringLiteral("line1/pump1");
}

/// Of an event that succeeded.
inline EventReport eventReport(const QString &function, const QString &argument = QString())
{
    EventReport report;
    report.instance = sampleInstance();
    report.run.script = QStringLiteral("scripts/pump.js");
    report.run.function = function;
    report.run.argument = argument;
    report.run.succeeded = true;
    return report;
}

/// Of an instance with the tree that @p text holds.
inline InstanceReport openedReport(const QByteArray &text)
{
    Diagnostic error;
    InstanceReport report;
    report.instance = sampleInstance();
    report.snapshot = InstanceSnapshot(*FileTree::parse(text, {}, error));
    report.onOpen = eventReport(QStringLiteral("onOpen"));
    return report;
}
