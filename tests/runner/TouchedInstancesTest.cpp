#include "runner/watch/TouchedInstances.h"

#include "configscript/ScratchFolder.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

using Kind = FileChange::Kind;

} // namespace

class TouchedInstancesTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void findsWhatAChangeTouches_data();
    void findsWhatAChangeTouches();
    void aTreeThatWasBrokenTouchesAll();
};

namespace {

/// The instances "a", "ab" and "c", of which "c" waits; "ab" read the tree "site".
struct Setting
{
    Setting()
    {
        folder.makePlant();
        for (const char *name : {"a", "ab", "c", "site"}) {
            folder.addInstance(QLatin1String(name), QStringLiteral("x.js"));
        }
        folder.listInstances({QStringLiteral("a"), QStringLiteral("ab"), QStringLiteral("c")});
        Diagnostic error;
        project = Project::open(folder.path(QStringLiteral("plant")), error);
        for (const char *name : {"a", "ab"}) {
            ScriptRun run;
            run.script = QStringLiteral("dependency/%1.js").arg(QLatin1String(name));
            RunRecord record;
            record.runs.append(run);
            round.records.insert(QLatin1String(name), record);
        }
        round.records[QStringLiteral("ab")].treesRead = {
            project->path() + QStringLiteral("/configuration/site.json")};
        round.waiting = {QStringLiteral("c")};
    }

    QString touched(const QString &file, Kind kind) const
    {
        return TouchedInstances(*project, Manifest(*project), round)
            .of({{project->path() + QLatin1Char('/') + file, kind}})
            .join(QLatin1Char(' '));
    }

    ScratchFolder folder;
    std::optional<Project> project;
    Round round;
};

} // namespace

void TouchedInstancesTest::findsWhatAChangeTouches_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("expected");
    const auto add = [](const char *file, Kind kind, const char *expected) {
        QTest::addRow("%s %d", file, int(kind))
            << QString::fromLatin1(file) << int(kind) << QString::fromLatin1(expected);
    };
    add("dependency/a.js", Kind::Changed, "a c");
    add("dependency/ab.js", Kind::Changed, "ab c");
    add("dependency/other.js", Kind::Changed, "c");
    add("dependency/a.js", Kind::Gone, "a ab c");
    add("dependency/a.js", Kind::Appeared, "a ab c");
    add("configuration/a.json", Kind::Changed, "a c");
    add("configuration/site.json", Kind::Changed, "ab c");
    add("process/a.json", Kind::Changed, "a c");
    add("configuration/b.json", Kind::Appeared, "a ab c");
    add("configuration/manifest.json", Kind::Changed, "a ab c");
    add("project.json", Kind::Changed, "a ab c");
    add("units.json", Kind::Changed, "a ab c");
    add("providers.json", Kind::Changed, "a ab c");
    add("texts/en.json", Kind::Changed, "a ab c");
    add("scripts/a.js", Kind::Changed, "c");
    add("scripts/a.js", Kind::Gone, "c");
}

void TouchedInstancesTest::findsWhatAChangeTouches()
{
    QFETCH(QString, file);
    QFETCH(int, kind);
    QFETCH(QString, expected);
    const Setting setting;
    QCOMPARE(setting.touched(file, Kind(kind)), expected);
}

void TouchedInstancesTest::aTreeThatWasBrokenTouchesAll()
{
    Setting setting;
    const QString file = QStringLiteral("configuration/site.json");
    setting.folder.write(QStringLiteral("plant/") + file, "{");
    QCOMPARE(setting.touched(file, Kind::Changed), QStringLiteral("c"));
    setting.round.findings = {
        {Finding::Severity::Error, {file, 1, 2, QString()}, Finding::Kind::MalformedTree}};
    QCOMPARE(setting.touched(file, Kind::Changed), QStringLiteral("c"));
    setting.folder.write(QStringLiteral("plant/") + file, "{}");
    QCOMPARE(setting.touched(file, Kind::Changed), QStringLiteral("a ab c"));
}

QTEST_GUILESS_MAIN(TouchedInstancesTest)
#include "TouchedInstancesTest.moc"
