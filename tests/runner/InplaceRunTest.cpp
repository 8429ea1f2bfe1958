#include "runner/run/InplaceRun.h"
#include "configscript/ScratchFolder.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "runner/NoGuard.h"
#include "runner/run/InstanceSelection.h"
#include "support/StrictTest.h"

#include <QTest>

class InplaceRunTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void selectsListedInstances_data();
    void selectsListedInstances();
    void changesTheTreeInMemoryAlone();
    void tellsWhatCouldNotRun();
    void runsNothingThatLiesOutsideTheProject();

private:
    QSharedPointer<FileTreeNode> readLine() const;

    const ScratchFolder m_folder;
    std::optional<Project> m_project;
    NoGuard m_guard;
};

void InplaceRunTest::initTestCase()
{
    m_folder.makePlant();
    m_folder.listInstances({QStringLiteral("line/pump"), QStringLiteral("line/valve"),
                            QStringLiteral("line/valve"), QStringLiteral("line")});
    m_folder.write(QStringLiteral("plant/configuration/line.json"),
                   "{ \"children\": { \"pump\": { \"properties\": {\n"
                   "  \"dependencyFileExtern\": \"pump.js\", \"speed\": 1200 } } } }\n");
    Diagnostic error;
    m_project = Project::open(m_folder.path(QStringLiteral("plant")), error);
}

QSharedPointer<FileTreeNode> InplaceRunTest::readLine() const
{
    Diagnostic error;
    return m_project->readTree(FileTree::Kind::Configuration, QStringLiteral("line"), error);
}

void InplaceRunTest::selectsListedInstances_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QStringList>("selectedWithParent");

    const QStringList all{QStringLiteral("line/pump"), QStringLiteral("line/valve"),
                          QStringLiteral("line")};
    QTest::newRow("all") << QString() << all << all;
    const QStringList line{QStringLiteral("line")};
    QTest::newRow("listed") << QStringLiteral("line") << line << line;
    const QStringList below = all.mid(0, 2);
    QTest::newRow("beginning") << QStringLiteral("line/") << below << below;
    QTest::newRow("child of a listed one") << QStringLiteral("line/tank") << QStringList() << line;
    QTest::newRow("unknown") << QStringLiteral("other") << QStringList() << QStringList();
}

void InplaceRunTest::selectsListedInstances()
{
    QFETCH(const QString, name);
    QFETCH(const QStringList, selected);
    QFETCH(const QStringList, selectedWithParent);
    QCOMPARE(selectedInstances(*m_project, name), selected);
    QCOMPARE(selectedInstances(*m_project, name, UnknownName::StandsForItsParent),
             selectedWithParent);
}

void InplaceRunTest::changesTheTreeInMemoryAlone()
{
    const Files before = m_folder.files();
    const auto root = readLine();
    const InplaceRun run(*m_project, QStringLiteral("line/pump"), m_guard);
    QCOMPARE(run.instances(), QStringList{QStringLiteral("line/pump")});
    const InplaceRun::Result result = run.run(root);
    QVERIFY(result.findings.isEmpty());
    QVERIFY(result.record.succeeded());
    QCOMPARE(result.record.changedValues(), 1);
    QCOMPARE(root->getNode(QStringLiteral("pump"))->getProperty(QStringLiteral("speed")),
             QVariant(1500.));
    QCOMPARE(m_folder.files(), before);
}

void InplaceRunTest::tellsWhatCouldNotRun()
{
    const InplaceRun run(*m_project, QStringLiteral("line/"), m_guard);
    const RunRecord record = run.run(readLine()).record;
    QCOMPARE(record.runs.size(), 1);
    QCOMPARE(record.notRun.size(), 1);
    QCOMPARE(record.notRun.constFirst().instance, QStringLiteral("line/valve"));
    QVERIFY(!record.succeeded());
}

void InplaceRunTest::runsNothingThatLiesOutsideTheProject()
{
    const auto root = readLine();
    root->getNode(QStringLiteral("pump"))
        ->setProperty(QStringLiteral("dependencyFileExtern"), QStringLiteral("../pump.js"));
    const InplaceRun::Result result =
        InplaceRun(*m_project, QStringLiteral("line/pump"), m_guard).run(root);
    QCOMPARE(result.findings.size(), 1);
    QVERIFY(result.record.runs.isEmpty());
}

QTEST_GUILESS_MAIN(InplaceRunTest)
#include "InplaceRunTest.moc"
