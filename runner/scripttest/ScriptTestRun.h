#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/HostSession.h"
#include "runner/scripttest/ScriptTest.h"

#include <QVariant>
#include <QVector>

#include <chrono>

class Project;
class ScratchCopy;
class ScriptGuard;

/// Runs tests of scripts in a copy of their project.
class ScriptTestRun
{
public:
    /// What came of a step, beside what the test expects.
    struct Step
    {
        QVariantMap expected;
        QVariantMap found; ///< in the words of the test

        bool hasPassed() const;
    };

    struct Result
    {
        Diagnostic error; ///< why the test could not run; without a message when it could
        QVector<Step> steps;
        std::chrono::nanoseconds duration{0};

        bool hasPassed() const;
    };

    ScriptTestRun(ScratchCopy &copy, ScriptGuard &guard);

    /// Makes a HostSession: there must be none. Leaves the copy as the scripts left it; the next
    /// run begins with a fresh one.
    Result run(const ScriptTest &test);

private:
    bool apply(const ScriptTest &test, Diagnostic &error);
    bool checkEdits(const ScriptTest &test, Diagnostic &error) const;
    bool runDialog(const ScriptTest &test, int begin, int end, Result &result);
    bool resolve(const ScriptTest &test, int index, Result &result);
    void addStep(const ScriptTest &test, const QVariantMap &outcome, Result &result) const;
    static HostSession::Writing writingBefore(const ScriptTest &test, int index);

    ScratchCopy &m_copy;
    const Project &m_project; ///< the copy
    ScriptGuard &m_guard;
};
