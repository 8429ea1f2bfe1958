#pragma once

#include "filehost/FileTree.h"
#include "runner/record/PropertyId.h"
#include "runner/record/RunRecord.h"

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>
#include <QtGlobal>

/**
 * How values went through the scripts of a run: what each read and wrote, and in which order.
 *
 * A write may depend on everything that the same script, run for the same instance, had read
 * before. Trees, properties, runs and steps are numbered from 0, steps in the order in which they
 * happened.
 */
class DataFlow
{
public:
    struct Property
    {
        int tree;
        QString path; ///< relative URL of the node
        QString key;
        QVariant oldValue; ///< before the run; invalid for none
        QVariant newValue; ///< in the tree that all scripts share, after the run
        QVector<int> reads; ///< steps
        QVector<int> writes; ///< steps, those that confirmed a value included

        bool isChanged() const;
    };

    /// A script's access to a property.
    struct Step
    {
        int run;
        int property;
        const TreeAccess *access;
    };

    /// All that a script, run for one instance, read in a tree or wrote to it.
    struct Edge
    {
        int run;
        int tree;
        bool isWrite;
        QVector<int> properties; ///< by path and key
    };

    /// @param runs recorded with RunRecorder::Recording::Accesses, in their order
    explicit DataFlow(QVector<ScriptRun> runs);

    const QVector<ScriptRun> &runs() const { return m_runs; }
    const QVector<FileTree::Identity> &trees() const { return m_trees; }
    const QVector<Property> &properties() const { return m_properties; }
    const Step &step(int index) const { return m_steps.at(index); }

    /// -1 for one that no script has read or written.
    int propertyOf(const QString &treeFile, const QString &path, const QString &key) const;

    /// Those of a node that scripts read or wrote, by key.
    QVector<int> propertiesOf(const QString &treeFile, const QString &path) const;

    /// What a write may depend on: the last read of each property before it, in their order.
    QVector<int> readsBefore(int write) const;

    /// What may depend on a read: the last write to each property after it, in their order.
    QVector<int> writesAfter(int read) const;

    /**
     * The write that a value read comes from: the one that the script saw; or else the last one of
     * another script that gives the property just the value that it had before the run. -1 when
     * the value is the file's, and nobody's in this run.
     */
    int sourceOf(int read) const;

    /// By the files of the trees, then the instances of the runs, reads first.
    QVector<Edge> edges() const;

private:
    Q_DISABLE_COPY(DataFlow)

    int treeOf(const FileTree::Identity &identity);
    int propertyOf(const TreeAccess &access);
    void findValues();
    void addStep(int run, const TreeAccess &access);

    QVector<ScriptRun> m_runs;
    QVector<int> m_firstSteps; ///< of the runs, and the number of steps behind them
    QVector<FileTree::Identity> m_trees;
    QVector<Property> m_properties;
    QVector<Step> m_steps;
    QHash<QString, int> m_treeNumbers; ///< by file
    QHash<PropertyId, int> m_propertyNumbers;
};
