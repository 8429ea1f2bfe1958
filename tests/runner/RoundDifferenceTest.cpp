#include "runner/watch/RoundDifference.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

Finding finding(Finding::Severity severity, int line, const QString &message)
{
    return {severity, {QStringLiteral("a.json"), line, 1, message}, Finding::Kind::ScriptError};
}

RunRecord reportOf(const QString &instance, bool succeeded)
{
    ScriptRun run;
    run.instance = instance;
    run.function = QStringLiteral("onSave");
    run.isEvaluated = true;
    run.succeeded = succeeded;
    RunRecord record;
    record.runs.append(run);
    return record;
}

ChangedTree tree(const QString &file, const QVariant &newValue, const QString &error = QString())
{
    return {{file, file, FileTree::Kind::Configuration},
            error,
            {{QStringLiteral("node"), QStringLiteral("key"), 1, newValue}}};
}

/// A round in which one instance changes these trees.
Round roundOf(const QVector<ChangedTree> &trees)
{
    Round round;
    round.records.insert(QStringLiteral("a"), reportOf(QStringLiteral("a"), true));
    round.records[QStringLiteral("a")].trees = trees;
    return round;
}

} // namespace

class RoundDifferenceTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void equalRoundsDoNotDiffer();
    void countsEqualFindings();
    void findingsThatMoveAreTheSame();
    void aFailureIsToldOnce();
    void anotherReasonIsAnotherFailure();
    void consoleMessagesAreToldWhenTheyAreNew();
    void valuesThatChangeOtherwiseAreNotDropped();
    void twoInstancesThatChangeTheSameAreToldOnce();
    void instancesThatAreGoneWithdrawAll();
    void filesThatCannotBeWrittenAreToldOnce();
};

void RoundDifferenceTest::equalRoundsDoNotDiffer()
{
    Round round = roundOf({tree(QStringLiteral("t"), 2)});
    round.findings = {finding(Finding::Severity::Error, 1, QStringLiteral("x"))};
    QVERIFY(RoundDifference::between(round, round).isEmpty());
    QVERIFY(!RoundDifference::between(Round(), round).isEmpty());
    QVERIFY(!RoundDifference::between(round, Round()).isEmpty());
}

void RoundDifferenceTest::countsEqualFindings()
{
    const Finding twice = finding(Finding::Severity::Warning, 1, QStringLiteral("x"));
    Round one;
    one.findings = {twice};
    Round two;
    two.findings = {twice, twice};
    QCOMPARE(RoundDifference::between(one, two).newFindings.size(), 1);
    QCOMPARE(RoundDifference::between(two, one).fixedFindings.size(), 1);
}

void RoundDifferenceTest::findingsThatMoveAreTheSame()
{
    Round before;
    before.findings = {finding(Finding::Severity::Warning, 1, QStringLiteral("w")),
                       finding(Finding::Severity::Error, 1, QStringLiteral("e"))};
    Round after;
    after.findings = {finding(Finding::Severity::Warning, 2, QStringLiteral("w")),
                      finding(Finding::Severity::Error, 2, QStringLiteral("e"))};
    const RoundDifference difference = RoundDifference::between(before, after);
    QCOMPARE(difference.fixedFindings.size(), 0);
    QCOMPARE(difference.newFindings.size(), 1); // whoever mends it wants to know where
    QCOMPARE(difference.newFindings.constFirst().place.line, 2);
}

void RoundDifferenceTest::aFailureIsToldOnce()
{
    Round good;
    good.records.insert(QStringLiteral("a"), reportOf(QStringLiteral("a"), true));
    Round bad;
    bad.records.insert(QStringLiteral("a"), reportOf(QStringLiteral("a"), false));
    QCOMPARE(RoundDifference::between(good, bad).record.runs.size(), 1);
    QVERIFY(RoundDifference::between(bad, bad).isEmpty());
    const RoundDifference mended = RoundDifference::between(bad, good);
    QCOMPARE(mended.mended, QStringList{QStringLiteral("a")});
    QVERIFY(mended.record.runs.isEmpty());
    QCOMPARE(RoundDifference::between(Round(), bad).record.runs.size(), 1);
}

void RoundDifferenceTest::anotherReasonIsAnotherFailure()
{
    Round before;
    before.records.insert(QStringLiteral("a"), reportOf(QStringLiteral("a"), false));
    Round after = before;
    after.records[QStringLiteral("a")].runs[0].exceptions = {{1, QStringLiteral("x"), true}};
    QCOMPARE(RoundDifference::between(before, after).record.runs.size(), 1);
}

void RoundDifferenceTest::consoleMessagesAreToldWhenTheyAreNew()
{
    const ConsoleMessage hello{QtDebugMsg, 1, QStringLiteral("hello"), true};
    const ConsoleMessage helloBelow{QtDebugMsg, 2, QStringLiteral("hello"), true};
    const ConsoleMessage other{QtDebugMsg, 1, QStringLiteral("other"), true};
    Round before;
    before.records.insert(QStringLiteral("a"), reportOf(QStringLiteral("a"), true));
    before.records[QStringLiteral("a")].runs[0].console = {hello};
    Round after = before;
    after.records[QStringLiteral("a")].runs[0].console = {other, helloBelow};
    const RoundDifference difference = RoundDifference::between(before, after);
    QCOMPARE(difference.record.runs.size(), 1);
    QCOMPARE(difference.record.runs.constFirst().console.size(), 1);
    QCOMPARE(difference.record.runs.constFirst().console.constFirst().text,
             QStringLiteral("other"));
    QVERIFY(RoundDifference::between(after, before).isEmpty());
}

void RoundDifferenceTest::valuesThatChangeOtherwiseAreNotDropped()
{
    const Round before = roundOf({tree(QStringLiteral("t"), 2), tree(QStringLiteral("u"), 2)});
    const RoundDifference difference =
        RoundDifference::between(before, roundOf({tree(QStringLiteral("t"), 3)}));
    QCOMPARE(difference.record.trees.size(), 1);
    QCOMPARE(difference.record.trees.constFirst().changes.constFirst().newValue, QVariant(3));
    QCOMPARE(difference.dropped.size(), 1);
    QCOMPARE(difference.dropped.constFirst().identity.filePath, QStringLiteral("u"));
}

void RoundDifferenceTest::twoInstancesThatChangeTheSameAreToldOnce()
{
    Round one = roundOf({tree(QStringLiteral("t"), 2)});
    Round two = one;
    two.records.insert(QStringLiteral("b"), one.records.value(QStringLiteral("a")));
    const RoundDifference difference = RoundDifference::between(Round(), two);
    QCOMPARE(difference.record.trees.size(), 1);
    QCOMPARE(difference.record.trees.constFirst().changes.size(), 1);
    QVERIFY(RoundDifference::between(one, two).isEmpty());
}

void RoundDifferenceTest::instancesThatAreGoneWithdrawAll()
{
    Round before = roundOf({tree(QStringLiteral("t"), 2)});
    before.records[QStringLiteral("a")].runs[0].errors = {
        {QStringLiteral("node"), QStringLiteral("text"), QVariant()}};
    const RoundDifference difference = RoundDifference::between(before, Round());
    QCOMPARE(difference.withdrawn.size(), 1);
    QCOMPARE(difference.withdrawn.constFirst().instance, QStringLiteral("a"));
    QCOMPARE(difference.dropped.size(), 1);
    QVERIFY(difference.mended.isEmpty());
}

void RoundDifferenceTest::filesThatCannotBeWrittenAreToldOnce()
{
    const Round before = roundOf({});
    const Round after = roundOf({tree(QStringLiteral("t"), 2, QStringLiteral("read-only"))});
    QCOMPARE(RoundDifference::between(before, after).record.trees.size(), 1);
    QVERIFY(RoundDifference::between(after, after).isEmpty());
    const RoundDifference mended = RoundDifference::between(after, before);
    QCOMPARE(mended.mended, QStringList{QStringLiteral("a")});
    QVERIFY(mended.dropped.isEmpty());
}

QTEST_APPLESS_MAIN(RoundDifferenceTest)
#include "RoundDifferenceTest.moc"
