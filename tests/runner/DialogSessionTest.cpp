#include "runner/run/DialogSession.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "configscript/ScratchFolder.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "runner/NoGuard.h"
#include "runner/record/SilentLog.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

const QByteArray s_reading("function onOpen(api) {\n"
                           "  for (const url of ['config://pumps/plant/other', 'other',\n"
                           "                     'config:///plant/other']) {\n"
                           "    api.setProperty('', 'seen', [String(api.getProperty('', 'seen')),\n"
                           "      String(api.getPropertyExtern(url, 'speed'))]);\n"
                           "  }\n"
                           "}\n");

const QString s_seen = QStringLiteral("seen");
const QString s_onOpen = QStringLiteral("onOpen");

} // namespace

class DialogSessionTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void reachesWhatAProductsDialogReaches();
    void reachesTheProjectWhenAsked();
    void recordsAnewAfterEachReport();
    void savesWhenTheEventsSinceTheLastReportAllowIt();
    void tellsItsOwnTreeFromOneReachedByAbsoluteUrl();
    void savesOtherTreesOnce();

private:
    /// The dialog of the instance "pump" with this script.
    std::unique_ptr<DialogSession> open(const QByteArray &script, DialogReach reach);
    QVariant stored(const QString &instance, const QString &key);

    std::unique_ptr<ScratchFolder> m_folder;
    std::optional<Project> m_project;
    QSharedPointer<FileTreeNode> m_root;
    NoGuard m_guard;
};

std::unique_ptr<DialogSession> DialogSessionTest::open(const QByteArray &script, DialogReach reach)
{
    m_folder = std::make_unique<ScratchFolder>();
    m_folder->makePlant();
    m_folder->addInstance(QStringLiteral("other"), QStringLiteral("pump.js"));
    m_folder->write(QStringLiteral("plant/configuration/pump.json"),
                    "{ \"properties\": { \"scriptFile\": \"pump.js\", \"speed\": 1 } }\n");
    m_folder->write(QStringLiteral("plant/scripts/pump.js"), script);
    Diagnostic error;
    m_project = Project::open(m_folder->path(QStringLiteral("plant")), error);
    m_root = m_project->readTree(FileTree::Kind::Configuration, QStringLiteral("pump"), error);
    return std::make_unique<DialogSession>(*m_project, m_root, DialogScript(*m_project, *m_root),
                                           reach, RunRecorder::Recording::Accesses, m_guard);
}

QVariant DialogSessionTest::stored(const QString &instance, const QString &key)
{
    Diagnostic error;
    return m_project->readTree(FileTree::Kind::Configuration, instance, error)->value(key);
}

void DialogSessionTest::reachesWhatAProductsDialogReaches()
{
    const auto session = open(s_reading, DialogReach::Instance);
    session->fire(s_onOpen);
    const QVariant seen = m_root->value(s_seen);
    session->takeRecord();

    Diagnostic error;
    const auto root =
        m_project->readTree(FileTree::Kind::Configuration, QStringLiteral("pump"), error);
    const SilentLog log;
    const TextManager texts(m_project->texts());
    const UnitManagerWrapper units(false, false);
    JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
    wrapper.initializeHandler(root, QString::fromUtf8(s_reading),
                              QStringLiteral("config://pumps/plant/pump"));
    QVERIFY(wrapper.callFunctionOnOpen());
    QVERIFY(root->value(s_seen).isValid());
    QCOMPARE(seen, root->value(s_seen));
}

void DialogSessionTest::reachesTheProjectWhenAsked()
{
    const QByteArray script("function onOpen(api) {\n"
                            "  api.setProperty('', 'seen',\n"
                            "    api.getPropertyExtern('config://pumps/plant/other', 'speed'));\n"
                            "}\n");
    open(script, DialogReach::Project)->fire(s_onOpen);
    QCOMPARE(m_root->value(s_seen), QVariant(1200.));
    const auto session = open(script, DialogReach::Instance);
    session->fire(s_onOpen);
    QVERIFY(m_root->value(s_seen) != QVariant(1200.));
    QVERIFY(!session->takeRecord().runs.constFirst().warnings.isEmpty());
}

void DialogSessionTest::recordsAnewAfterEachReport()
{
    const auto session = open("function onOpen() {}\nfunction onOk() {}\n", DialogReach::Instance);
    session->fire(s_onOpen);
    QCOMPARE(session->takeRecord().runs.size(), 1);
    session->fire(QStringLiteral("onOk"));
    const RunRecord record = session->takeRecord();
    QCOMPARE(record.runs.size(), 1);
    QCOMPARE(record.runs.constFirst().function, QStringLiteral("onOk"));
    QVERIFY(session->takeRecord().runs.isEmpty());
}

void DialogSessionTest::savesWhenTheEventsSinceTheLastReportAllowIt()
{
    const auto session = open("function onOpen() { return false; }\n"
                              "function onOk(api) { api.setProperty('', 'speed', 2); }\n",
                              DialogReach::Instance);
    session->fire(s_onOpen);
    session->fire(QStringLiteral("onOk"));
    QVERIFY(!session->isToBeSaved());
    QCOMPARE(session->save(HostSession::Writing::Files), DialogSession::refusalOfEvents());
    QCOMPARE(session->takeRecord().refusal, DialogSession::refusalOfEvents());
    QCOMPARE(stored(QStringLiteral("pump"), QStringLiteral("speed")), QVariant(1.));

    session->fire(QStringLiteral("onOk"));
    QVERIFY(session->isToBeSaved());
    QCOMPARE(session->save(HostSession::Writing::Nothing), QString());
    QCOMPARE(stored(QStringLiteral("pump"), QStringLiteral("speed")), QVariant(1.));
    QCOMPARE(session->save(HostSession::Writing::Files), QString());
    QCOMPARE(session->takeRecord().refusal, QString());
    QCOMPARE(stored(QStringLiteral("pump"), QStringLiteral("speed")), QVariant(2.));
}

void DialogSessionTest::tellsItsOwnTreeFromOneReachedByAbsoluteUrl()
{
    const auto session = open("function onOpen(api) {\n"
                              "  api.getProperty('', 'speed');\n"
                              "  api.getPropertyExtern('config://pumps/plant/other', 'speed');\n"
                              "}\n",
                              DialogReach::Project);
    // The second time, the other tree is loaded already.
    for (int i = 0; i < 2; ++i) {
        session->fire(s_onOpen);
        const QVector<TreeAccess> accesses = session->takeRecord().runs.constFirst().accesses;
        QCOMPARE(accesses.size(), 2);
        QVERIFY(accesses.at(0).isOfOwnCopy);
        QVERIFY(!accesses.at(1).isOfOwnCopy);
    }
}

void DialogSessionTest::savesOtherTreesOnce()
{
    const auto session =
        open("function onOk(api) {\n"
             "  const other = 'config://pumps/plant/other';\n"
             "  api.setPropertyExtern(other, 'speed',\n"
             "                        api.getPropertyExtern(other, 'speed') + 1);\n"
             "}\n",
             DialogReach::Project);
    QVERIFY(!session->isChanged());
    for (const double speed : {1201., 1202.}) {
        session->fire(QStringLiteral("onOk"));
        QVERIFY(session->isChanged());
        QCOMPARE(session->save(HostSession::Writing::Files), QString());
        QVERIFY(!session->isChanged());
        session->takeRecord();
        QCOMPARE(stored(QStringLiteral("other"), QStringLiteral("speed")), QVariant(speed));
    }
}

QTEST_GUILESS_MAIN(DialogSessionTest)
#include "DialogSessionTest.moc"
