#include "filehost/HostSession.h"
#include "filehost/FileTreeNode.h"
#include "filehost/ProjectFolder.h"
#include "filehost/TreeObserver.h"
#include "filehost/TypedText.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/UnitManagerWrapper.h"
#include "support/StrictTest.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <array>
#include <memory>
#include <thread>
#include <vector>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace ConfigScript;

using Access = ConfigurationDataAndProcessDescriptionAccess;
using Node = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

namespace {

const QString s_a = QStringLiteral("a");
const QString s_b = QStringLiteral("b");
const QString s_pump = QStringLiteral("line1/pump1");
const QString s_pumpFile = QStringLiteral("process/line1/pump1.json");
const QByteArray s_tree = "{ \"properties\": { \"a\": 1 }, \"readOnly\": [\"r\"], "
                          "\"children\": { \"motor\": { \"properties\": { \"b\": [] } } } }";

/// Writes down what it sees.
class Recorder : public TreeObserver
{
public:
    void treeRead(const QSharedPointer<const FileTreeNode> &root) override
    {
        const FileTree::Identity &identity = root->tree().identity();
        add(*root,
            QStringLiteral("read %1 %2")
                .arg(QLatin1String(identity.kind == FileTree::Kind::Process ? "process"
                                                                            : "configuration"),
                     identity.filePath));
    }
    void propertyRead(const FileTreeNode &node, const QString &propertyKey,
                      const QVariant &value) override
    {
        add(node, QStringLiteral("get %1 = %2").arg(propertyKey, typedText(value)));
    }
    void propertyWritten(const FileTreeNode &node, const QString &propertyKey,
                         const QVariant &oldValue, const QVariant &newValue) override
    {
        add(node,
            QStringLiteral("set %1: %2 -> %3")
                .arg(propertyKey, typedText(oldValue), typedText(newValue)));
    }
    void propertyConfirmed(const FileTreeNode &node, const QString &propertyKey,
                           const QVariant &value) override
    {
        add(node, QStringLiteral("confirm %1 = %2").arg(propertyKey, typedText(value)));
    }
    void treeSaved(const FileTreeNode &root, const QString &filePath) override
    {
        add(root, QStringLiteral("saved ") + filePath);
    }
    void treeNotSaved(const FileTreeNode &root, const Diagnostic &reason) override
    {
        add(root, QStringLiteral("not saved ") + reason.toString());
    }

    QStringList take() { return std::exchange(m_seen, {}); }

private:
    void add(const FileTreeNode &node, const QString &event)
    {
        m_seen.append(node.tree().identity().instance + QLatin1Char('#') + node.path()
                      + QLatin1Char(' ') + event);
    }

    QStringList m_seen;
};

QDir folderOf(const ProjectFolder &project, bool isProcess = true)
{
    return QDir(project.path(QLatin1String(isProcess ? "process" : "configuration")));
}

Node read(const ProjectFolder &project, bool isProcess = true)
{
    return Access::getParsedConfigurationProcessDescription(folderOf(project, isProcess), s_pump,
                                                            isProcess);
}

bool write(const ProjectFolder &project, const Node &root, const QString &instance = s_pump)
{
    return Access::setParsedConfigurationProcessDescription(
        folderOf(project), QString(), QStringLiteral("station"), instance, root, true);
}

} // namespace

class HostSessionTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void writesFilesAndHasNoUnitsWithoutASession()
    {
        QVERIFY(HostSession::writesFiles());
        QVERIFY(HostSession::observer() == nullptr);
        QVERIFY(HostSession::units().isEmpty());
        QVERIFY(!UnitManagerWrapper(false, false).getUnitTextJsonMap(s_a).isValid());
    }

    void isInUseForItsLife()
    {
        const QHash<QString, QVariantMap> units{{s_a, {{QStringLiteral("en"), s_b}}}};
        Recorder recorder;
        for (int i = 0; i < 2; ++i) {
            HostSession session(units, HostSession::Writing::Nothing);
            QVERIFY(HostSession::observer() == nullptr);
            session.setObserver(&recorder);
            QVERIFY(HostSession::observer() == &recorder);
            QVERIFY(!HostSession::writesFiles());
            QCOMPARE(UnitManagerWrapper(false, false).getUnitTextJsonMap(s_a).toMap(),
                     units.value(s_a));
        }
        writesFilesAndHasNoUnitsWithoutASession();
    }

    void showsEachReadAndWriteInOrder()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        HostSession session({});
        Recorder recorder;
        session.setObserver(&recorder);

        const Node root = read(project);
        root->getProperty(s_a);
        root->setProperty(s_a, 2.0);
        root->addProperty(s_b, QStringList{s_a});
        root->setProperty(s_b, QVariant::fromValue(nullptr));
        const Node motor = root->getNode(QStringLiteral("motor"));
        motor->getProperty(s_b);
        motor->getProperty(s_a);
        QVERIFY(write(project, root));

        const QString file = project.path(s_pumpFile);
        QCOMPARE(
            recorder.take().join(QLatin1Char('\n')),
            QStringList({QStringLiteral("line1/pump1# read process ") + file,
                         QStringLiteral("line1/pump1# get a = QVariant(int, 1)"),
                         QStringLiteral("line1/pump1# set a: QVariant(int, 1) -> QVariant(int, 2)"),
                         QStringLiteral("line1/pump1# set b: QVariant(Invalid) -> "
                                        "[QVariant(QString, \"a\")]"),
                         QStringLiteral("line1/pump1# set b: [QVariant(QString, \"a\")] -> "
                                        "QVariant(std::nullptr_t, (nullptr))"),
                         QStringLiteral("line1/pump1#motor get b = []"),
                         QStringLiteral("line1/pump1#motor get a = QVariant(Invalid)"),
                         QStringLiteral("line1/pump1# saved ") + file})
                .join(QLatin1Char('\n')));
    }

    void tellsConfigurationsFromProcessDescriptions()
    {
        const ProjectFolder project;
        project.write(QStringLiteral("configuration/line1/pump1.json"), s_tree);
        HostSession session({});
        Recorder recorder;
        session.setObserver(&recorder);
        QVERIFY(read(project, false));
        QCOMPARE(recorder.take(),
                 QStringList({QStringLiteral("line1/pump1# read configuration ")
                              + project.path(QStringLiteral("configuration/line1/pump1.json"))}));
    }

    void showsNothingThatDidNotHappen()
    {
        const ProjectFolder project;
        HostSession session({});
        Recorder recorder;
        session.setObserver(&recorder);
        QVERIFY(read(project).isNull());
        project.write(s_pumpFile, "{");
        QVERIFY(read(project).isNull());
        QCOMPARE(takeMessages().size(), 1);
        QCOMPARE(recorder.take(), QStringList());

        project.write(s_pumpFile, s_tree);
        const Node root = read(project);
        recorder.take();
        QCOMPARE(root->setProperty(QStringLiteral("r"), 1), 2);
        QCOMPARE(root->setProperty(s_a, QVariant()), 3);
        root->addProperty(QStringLiteral("r"), 1);
        root->addProperty(s_b, QVariant());
        QCOMPARE(takeMessages().size(), 2);
        root->hasProperty(s_a);
        root->getNode(QStringLiteral("motor"));
        root->getChildMap();
        QCOMPARE(recorder.take(), QStringList());
    }

    void showsWritesOfTheValueThatIsThere()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        HostSession session({});
        Recorder recorder;
        session.setObserver(&recorder);
        const Node root = read(project);
        recorder.take();
        QCOMPARE(root->setProperty(s_a, 1.0), 1);
        QCOMPARE(root->setProperty(s_a, 2), 0);
        QCOMPARE(root->setProperty(s_a, 2.0), 1);
        QCOMPARE(
            recorder.take(),
            QStringList({QStringLiteral("line1/pump1# confirm a = QVariant(int, 1)"),
                         QStringLiteral("line1/pump1# set a: QVariant(int, 1) -> QVariant(int, 2)"),
                         QStringLiteral("line1/pump1# confirm a = QVariant(int, 2)")}));
    }

    void showsTreesThatCouldNotBeSaved()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        project.makeFolder(QStringLiteral("process/pump2.json"));
        const QByteArray newTree = "{ \"properties\": { \"a\": 5 } }";
        HostSession session({});
        Recorder recorder;
        session.setObserver(&recorder);
        const Node root = read(project);
        recorder.take();

        project.write(s_pumpFile, newTree);
        for (const QString &instance : {QStringLiteral(".."), QStringLiteral("pump2"), s_pump}) {
            QVERIFY(!write(project, root, instance));
            const QVector<Message> messages = takeMessages();
            QCOMPARE(messages.size(), 1);
            QCOMPARE(
                recorder.take(),
                QStringList({QStringLiteral("line1/pump1# not saved ") + messages.first().text}));
        }
        QCOMPARE(project.read(s_pumpFile), newTree);
    }

    void showsNothingOnceNobodyWatches()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        Recorder recorder;
        {
            HostSession session({});
            session.setObserver(&recorder);
            session.setObserver(nullptr);
            QVERIFY(read(project));
            session.setObserver(&recorder);
        }
        const Node root = read(project);
        root->setProperty(s_a, 2);
        QVERIFY(write(project, root));
        QCOMPARE(recorder.take(), QStringList());
    }

    void leavesTheFilesAloneWhereItWritesNothing()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        const QStringList entries = project.entries();
        HostSession session({}, HostSession::Writing::Nothing);
        Recorder recorder;
        session.setObserver(&recorder);
        const Node root = read(project);
        root->setProperty(s_a, 2);
        recorder.take();
        QVERIFY(write(project, root));
        QVERIFY(write(project, root, QStringLiteral("line2/pump2")));
        QCOMPARE(recorder.take(),
                 QStringList({QStringLiteral("line1/pump1# saved ") + project.path(s_pumpFile),
                              QStringLiteral("line1/pump1# saved ")
                                  + project.path(QStringLiteral("process/line2/pump2.json"))}));
        QCOMPARE(project.read(s_pumpFile), s_tree);
        QCOMPARE(project.entries(), entries);
    }

    void refusesASecondTreeForAFileWhereItWritesNothing_data()
    {
        QTest::addColumn<QString>("instance");
        QTest::newRow("by the same name") << s_pump;
        QTest::newRow("by the name of a link") << QStringLiteral("link");
        QTest::newRow("in a folder that is a link") << QStringLiteral("line2/pump1");
    }

    // As it would be refused where files are written.
    void refusesASecondTreeForAFileWhereItWritesNothing()
    {
        QFETCH(QString, instance);
        const ProjectFolder project;
        for (const auto writing : {HostSession::Writing::Files, HostSession::Writing::Nothing}) {
            project.write(s_pumpFile, s_tree);
            project.write(QStringLiteral("process/pump2.json"), s_tree);
            QFile::remove(project.path(QStringLiteral("process/link.json")));
            project.link(QStringLiteral("process/link.json"), QStringLiteral("line1/pump1.json"));
            QFile::remove(project.path(QStringLiteral("process/line2")));
            project.link(QStringLiteral("process/line2"), QStringLiteral("line1"));

            HostSession session({}, writing);
            Recorder recorder;
            session.setObserver(&recorder);
            const Node first = read(project);
            const Node second =
                Access::getParsedConfigurationProcessDescription(folderOf(project), instance, true);
            const Node other = Access::getParsedConfigurationProcessDescription(
                folderOf(project), QStringLiteral("pump2"), true);
            first->setProperty(s_a, 2);
            second->setProperty(s_a, 3);
            recorder.take();
            QVERIFY(write(project, first));
            QVERIFY(write(project, other, QStringLiteral("pump2")));
            QCOMPARE(recorder.take().size(), 2);

            const QString reason = project.path(QStringLiteral("process/%1.json").arg(instance))
                + QStringLiteral(": cannot be written: the file has changed since it was read");
            QVERIFY(!write(project, second, instance));
            const QVector<Message> messages = takeMessages();
            QCOMPARE(messages.size(), 1);
            QCOMPARE(messages.first().text, reason);
            QCOMPARE(recorder.take(),
                     QStringList({instance + QStringLiteral("# not saved ") + reason}));
            QVERIFY(write(project, first));
        }
    }

    void forgetsTheTreesOfTheSessionBefore()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        const Node first = read(project);
        const Node second = read(project);
        for (const Node &root : {first, second}) {
            const HostSession session({}, HostSession::Writing::Nothing);
            QVERIFY(write(project, root));
        }
    }

    void knowsATreeThatIsGone()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        const HostSession session({}, HostSession::Writing::Nothing);
        QVERIFY(write(project, read(project)));
        for (int i = 1; i <= 100; ++i) { // another tree may take its place in memory
            QVERIFY(!write(project, read(project)));
            QCOMPARE(takeMessages().size(), 1);
        }
    }

    void writesEachUnchangedTreeOfAFileWhereItWritesFiles()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        const Node first = read(project);
        const Node second = read(project);
        QVERIFY(write(project, first) && write(project, second));
        const HostSession session({});
        QVERIFY(write(project, first) && write(project, second));
    }

    void isInUseAgainAfterASessionWithinIt()
    {
        const QHash<QString, QVariantMap> units{{s_a, {{QStringLiteral("en"), s_b}}}};
        Recorder recorder;
        HostSession outer(units);
        outer.setObserver(&recorder);
        {
            const HostSession inner({}, HostSession::Writing::Nothing);
            QVERIFY(HostSession::units().isEmpty());
            QVERIFY(HostSession::observer() == nullptr);
            QVERIFY(!HostSession::writesFiles());
        }
        QCOMPARE(HostSession::units(), units);
        QVERIFY(HostSession::observer() == &recorder);
        QVERIFY(HostSession::writesFiles());
    }

    void writesNothingWithinAndAfterASessionInADryRun()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        const HostSession dryRun({}, HostSession::Writing::Nothing);
        const Node root = read(project);
        root->setProperty(s_a, 2);
        {
            const HostSession inner({}, HostSession::Writing::Files);
            QVERIFY(write(project, root));
        }
        QVERIFY(write(project, root));
        QCOMPARE(project.read(s_pumpFile), s_tree);
    }

    // Each thread has its own, with its own units, observer and files.
    void isSeenByItsOwnThreadOnly()
    {
        const HostSession session({{s_a, {{QStringLiteral("en"), s_b}}}},
                                  HostSession::Writing::Nothing);
        std::thread thread([] {
            QVERIFY(HostSession::writesFiles());
            QVERIFY(HostSession::units().isEmpty());
            const QHash<QString, QVariantMap> units{{s_b, {{QStringLiteral("en"), s_a}}}};
            const HostSession other(units);
            QCOMPARE(UnitManagerWrapper(false, false).getUnitTextJsonMap(s_b).toMap(),
                     units.value(s_b));
        });
        thread.join();
        QVERIFY(!HostSession::writesFiles());
        QCOMPARE(HostSession::units().keys(), QStringList(s_a));
    }

    void servesSeveralThreadsAtOnce()
    {
        constexpr int threads = 4;
        constexpr int rounds = 50;
        constexpr int trees = 5;
        const ProjectFolder project;
        const auto nameOf = [](int tree) {
            return QStringLiteral("pump%1").arg(tree);
        };
        for (int tree = 0; tree < trees; ++tree) {
            project.write(QStringLiteral("process/%1.json").arg(nameOf(tree)), s_tree);
        }
        std::array<int, threads> failures{};
        std::vector<std::thread> running;
        for (int thread = 0; thread < threads; ++thread) {
            const auto work = [&, thread] {
                for (int round = 0; round < rounds; ++round) {
                    const QString unit = QString::number(thread);
                    const bool isDryRun = thread % 2 == 0;
                    const HostSession session({{unit, {{QStringLiteral("en"), unit}}}},
                                              isDryRun ? HostSession::Writing::Nothing
                                                       : HostSession::Writing::Files);
                    for (int tree = 0; tree < trees; ++tree) {
                        const Node root = Access::getParsedConfigurationProcessDescription(
                            folderOf(project), nameOf(tree), true);
                        const bool isRight = root && root->getProperty(s_a) == 1
                            && HostSession::units().keys() == QStringList(unit)
                            && HostSession::writesFiles() != isDryRun
                            && root->setProperty(s_a, isDryRun ? 2 : 1) == (isDryRun ? 0 : 1)
                            && (!isDryRun
                                || Access::setParsedConfigurationProcessDescription(
                                    folderOf(project), QString(), QString(), nameOf(tree), root,
                                    true));
                        failures[size_t(thread)] += isRight ? 0 : 1;
                    }
                }
            };
            running.emplace_back(work);
        }
        for (std::thread &thread : running) {
            thread.join();
        }
        QCOMPARE(failures, (std::array<int, threads>{}));
        for (int tree = 0; tree < trees; ++tree) {
            QCOMPARE(project.read(QStringLiteral("process/%1.json").arg(nameOf(tree))), s_tree);
        }
    }

    void endsTheProgramWhenItEndsBeforeASessionWithinIt()
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::signal(SIGABRT, SIG_DFL); // Qt Test's handler would take long to tell
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
                ::_exit(text
                                == QLatin1String("A HostSession must end on its own thread, and "
                                                 "before those that were made earlier")
                            ? 42
                            : 1);
            });
            auto outer = std::make_unique<HostSession>(QHash<QString, QVariantMap>());
            const HostSession inner({});
            outer.reset();
            ::_exit(2);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 42);
    }

    void refusesBadNamesWhereItWritesNothing()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, s_tree);
        HostSession session({}, HostSession::Writing::Nothing);
        QVERIFY(!write(project, read(project), QStringLiteral("../pump1")));
        QCOMPARE(takeMessages().size(), 1);
    }
};

TEST_CLASS(HostSessionTest)

#include "HostSessionTest.moc"
