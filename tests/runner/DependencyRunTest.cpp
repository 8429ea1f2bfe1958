#include "runner/run/DependencyRun.h"
#include "configscript/ScratchFolder.h"
#include "filehost/JsonValue.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "runner/NoGuard.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

QString valueText(const QVariant &value)
{
    return value.isValid() ? QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Compact))
                           : QStringLiteral("none");
}

QString toString(const TreeAccess &access)
{
    const QString property =
        QStringLiteral("%1%2#%3:%4 ")
            .arg(access.tree.kind == FileTree::Kind::Process ? QStringLiteral("process ")
                                                             : QString(),
                 access.tree.instance, access.path, access.key);
    switch (access.kind) {
    case TreeAccess::Kind::Read:
        return QStringLiteral("read ") + property + valueText(access.value);
    case TreeAccess::Kind::Confirm:
        return QStringLiteral("confirm ") + property + valueText(access.value);
    case TreeAccess::Kind::Write:
        return QStringLiteral("write ") + property + valueText(access.oldValue)
            + QStringLiteral(" -> ") + valueText(access.value);
    }
    return QString();
}

} // namespace

class DependencyRunTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void recordsReadsAndWritesInTheirOrder_data();
    void recordsReadsAndWritesInTheirOrder();
    void recordsWhatIsAskedFor();
    void givesEachRunItsAccesses();

private:
    static QStringList accesses(const ScratchFolder &folder, RunRecorder::Recording recording);
};

/// Those of all runs.
QStringList DependencyRunTest::accesses(const ScratchFolder &folder,
                                        RunRecorder::Recording recording)
{
    Diagnostic error;
    const auto project = Project::open(folder.path(QStringLiteral("plant")), error);
    const Manifest manifest(*project);
    NoGuard guard;
    DependencyRun run(*project, manifest, QString(), guard);
    run.setRecording(recording);
    auto [findings, record] = run.run(HostSession::Writing::Files);
    record.sort();
    QStringList texts;
    for (const Finding &finding : qAsConst(findings)) {
        texts.append(finding.toString());
    }
    for (const ScriptRun &scriptRun : qAsConst(record.runs)) {
        if (!scriptRun.succeeded) {
            texts.append(QStringLiteral("failed"));
        }
        for (const TreeAccess &access : scriptRun.accesses) {
            texts.append(toString(access));
        }
    }
    return texts;
}

void DependencyRunTest::recordsReadsAndWritesInTheirOrder_data()
{
    QTest::addColumn<QByteArray>("body"); // of onSave(api, url)
    QTest::addColumn<QStringList>("expected");

    const auto add = [](const char *name, const QByteArray &body, const QStringList &expected) {
        QTest::newRow(name) << body << expected;
    };
    add("a read", "api.getPropertyExtern(url, 'speed');",
        {QStringLiteral("read pump#:speed 1200")});
    add("no such property", "api.getPropertyExtern(url, 'none');",
        {QStringLiteral("read pump#:none none")});
    add("a read by relative URL", "api.getProperty('', 'speed');",
        {QStringLiteral("read pump#:speed 1200")});
    add("a repeated read",
        "api.getPropertyExtern(url, 'speed');\n"
        "api.getPropertyExtern(url + '#motor', 'power');\n"
        "api.getPropertyExtern(url, 'speed');\n"
        "api.getPropertyExtern(url + '#motor', 'power');",
        {QStringLiteral("read pump#:speed 1200"), QStringLiteral("read pump#motor:power 11")});
    add("a write", "api.setPropertyExtern(url, 'speed', 5);",
        {QStringLiteral("write pump#:speed 1200 -> 5")});
    add("a write of an equal value", "api.setPropertyExtern(url, 'speed', 1200);",
        {QStringLiteral("confirm pump#:speed 1200")});
    add("a new property", "api.setPropertyExtern(url + '#motor', 'new', [1, 'a']);",
        {QStringLiteral("write pump#motor:new none -> [1,\"a\"]")});
    add("a read again after a write",
        "api.getPropertyExtern(url, 'speed');\n"
        "api.setPropertyExtern(url, 'speed', 5);\n"
        "api.getPropertyExtern(url, 'speed');\n"
        "api.getPropertyExtern(url, 'speed');\n"
        "api.setPropertyExtern(url, 'speed', 6);\n",
        {QStringLiteral("read pump#:speed 1200"), QStringLiteral("write pump#:speed 1200 -> 5"),
         QStringLiteral("read pump#:speed 5"), QStringLiteral("write pump#:speed 5 -> 6")});
    // By its relative URL a script sees the tree as it was when all began.
    add("the own instance by both URLs",
        "api.setPropertyExtern(url, 'speed', 5);\n"
        "api.getProperty('', 'speed');\n"
        "api.getPropertyExtern(url, 'speed');\n",
        {QStringLiteral("write pump#:speed 1200 -> 5"), QStringLiteral("read pump#:speed 1200"),
         QStringLiteral("read pump#:speed 5")});
    add("another instance, and process data",
        "api.getPropertyExtern('config://pumps/plant/line1/other', 'speed');\n"
        "api.getPropertyExtern('process://pumps/plant/pump#a', 'b');\n"
        "api.setPropertyExtern('process://pumps/plant/pump#a', 'b', 2);\n",
        {QStringLiteral("read line1/other#:speed 1200"), QStringLiteral("read process pump#a:b 1"),
         QStringLiteral("write process pump#a:b 1 -> 2")});
}

void DependencyRunTest::recordsReadsAndWritesInTheirOrder()
{
    QFETCH(const QByteArray, body);
    QFETCH(const QStringList, expected);

    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("line1/other"), QStringLiteral("pump.js"));
    folder.write(QStringLiteral("plant/configuration/pump.json"),
                 "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"speed\": 1200 },\n"
                 "  \"children\": { \"motor\": { \"properties\": { \"power\": 11 } } } }");
    folder.write(QStringLiteral("plant/process/pump.json"),
                 "{ \"children\": { \"a\": { \"properties\": { \"b\": 1 } } } }");
    folder.writeScript(QStringLiteral("pump.js"), "function onSave(api, url) {\n" + body + "}\n");
    QCOMPARE(accesses(folder, RunRecorder::Recording::Accesses), expected);
}

void DependencyRunTest::recordsWhatIsAskedFor()
{
    const auto recorded = [](RunRecorder::Recording recording) {
        const ScratchFolder folder;
        folder.makePlant();
        folder.writeScript(QStringLiteral("pump.js"),
                           "function onSave(api, url) {\n"
                           "  api.setPropertyExtern(url, 'speed',\n"
                           "                        api.getPropertyExtern(url, 'speed') + 1);\n"
                           "}\n");
        return accesses(folder, recording);
    };
    const QString read = QStringLiteral("read pump#:speed 1200");
    const QString write = QStringLiteral("write pump#:speed 1200 -> 1201");
    QCOMPARE(recorded(RunRecorder::Recording::Accesses), (QStringList{read, write}));
    QCOMPARE(recorded(RunRecorder::Recording::Writes), QStringList{write});
    QCOMPARE(recorded(RunRecorder::Recording::Outcome), QStringList());
}

/// What one run has read is new to the next.
void DependencyRunTest::givesEachRunItsAccesses()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("pump.js"));
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.getPropertyExtern('config://pumps/plant/pump', 'speed');\n"
                       "}\n");
    QCOMPARE(accesses(folder, RunRecorder::Recording::Accesses),
             (QStringList{QStringLiteral("read pump#:speed 1200"),
                          QStringLiteral("read pump#:speed 1200")}));
}

QTEST_GUILESS_MAIN(DependencyRunTest)
#include "DependencyRunTest.moc"
