#pragma once

#include "runner/scripttest/ScriptTestRun.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QVector>

#include <chrono>

class Output;
class Project;

/// What came of a project's tests, for people and for programs.
class TestReport
{
public:
    struct Step
    {
        QString title;
        int line; ///< in the test's file
    };

    struct Test
    {
        QString file; ///< relative to the project
        QString description;
        QVector<Step> steps;
        ScriptTestRun::Result result;
        bool isUpdated = false; ///< whether the file expects by now what was found

        bool hasPassed() const { return isUpdated || result.hasPassed(); }
    };

    explicit TestReport(const Project &project);

    void add(const Test &test);
    void setDuration(std::chrono::nanoseconds duration);

    int failedTests() const;

    static void print(const Test &test, Output &output);
    void printSummary(Output &output) const;
    QJsonObject toJson() const;

    /// The report that systems for continuous integration read.
    QByteArray toJUnit() const;

private:
    const Project &m_project;
    QVector<Test> m_tests;
    std::chrono::nanoseconds m_duration{0};
};
