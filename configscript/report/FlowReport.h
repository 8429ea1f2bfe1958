#pragma once

#include "configscript/report/Output.h"
#include "runner/flow/DataFlow.h"
#include "runner/flow/PropertyUrls.h"

#include <QSet>
#include <QVector>

/// Prints, as a tree, where values of a run came from, and where they went.
class FlowReport
{
public:
    /// How far a report goes.
    struct Extent
    {
        int depth = -1; ///< of scripts below each other; negative for any
        bool showsAllReads = false; ///< of what no script wrote, too
    };

    FlowReport(const DataFlow &flow, const PropertyUrls &urls, Output &output, Extent extent);

    /// Who wrote a property, from what, and so on backwards.
    void printOrigin(int property);

    /// Who read a property, what these wrote then, and so on forwards.
    void printEffect(int property);

    /// A property that no script has read or written.
    void printUntouched(const QString &url, const QVariant &value);

private:
    struct Line
    {
        QString url;
        int step;
        int rank;
        int source;
    };

    void printWriters(const QVector<int> &writes, int depth);
    void printWrite(int write, const QString &verb, int depth);
    void printReads(const QVector<int> &reads, int depth);
    void printUnseenWrites(int read, int depth);
    void printReaders(int property, int writer, int depth);
    void printReader(int read, int writer, int depth);
    void printWritten(const QVector<int> &writes, int depth);

    bool isTooDeep(int depth) const;
    void line(int depth, const QString &text);
    QString urlOf(int property) const;
    QString scriptOf(int step) const;
    QString valuesOf(int property) const;
    static QString valueText(const QVariant &value);
    static QString changeText(const QVariant &oldValue, const QVariant &newValue);

    const DataFlow &m_flow;
    const PropertyUrls &m_urls;
    Output &m_output;
    const Extent m_extent;
    QVector<int> m_open; ///< writes, or properties, that the line in progress is below
    QSet<int> m_printed; ///< writes, or properties, with all that is below them
    QSet<QVector<int>> m_printedLists; ///< of reads, or writes
};
