#include "filehost/store/BatchJournal.h"
#include "filehost/FaultySurroundings.h"
#include "filehost/ProjectFolder.h"
#include "support/StrictTest.h"

#include <QFileInfo>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_name = QStringLiteral(".configscript-journal");

} // namespace

class BatchJournalTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void readsWhatItWrote()
    {
        const ProjectFolder folder;
        const QString plant = folder.path(QStringLiteral("plant"));
        const QString network = folder.path(QStringLiteral("network"));
        folder.makeFolder(QStringLiteral("plant"));
        Diagnostic error;
        BatchJournal journal(plant);
        QVERIFY(journal.create(7, error));
        QVERIFY(
            journal.addFile(plant + QStringLiteral("/configuration/\"größe\"\n水.json"), error));
        QVERIFY(journal.addProject(network, error));
        QVERIFY(journal.addFolder(plant + QStringLiteral("/process/line1"), error));
        QVERIFY(journal.addFile(network + QStringLiteral("/configuration/bus.json"), error));
        auto content = BatchJournal::read(plant, error);
        QVERIFY(content);
        QCOMPARE(content->files,
                 QStringList({plant + QStringLiteral("/configuration/\"größe\"\n水.json"),
                              network + QStringLiteral("/configuration/bus.json")}));
        QCOMPARE(content->otherProjects, QStringList{network});
        QCOMPARE(content->owner, QString());
        QCOMPARE(content->folders, QStringList{plant + QStringLiteral("/process/line1")});
        QCOMPARE(content->number, qint64(7));
        QVERIFY(!content->isSaved);

        QVERIFY(journal.sync(error));
        QVERIFY(journal.setSaved(error));
        QVERIFY(BatchJournal::read(plant, error)->isSaved);
        QVERIFY(journal.remove(error));
        QVERIFY(journal.remove(error));
        QVERIFY(!BatchJournal::read(plant, error));
        QCOMPARE(error.toString(), QString());
    }

    void pointsToTheOwner()
    {
        const ProjectFolder folder;
        const QString network = folder.path(QStringLiteral("network"));
        folder.makeFolder(QStringLiteral("network"));
        Diagnostic error;
        const BatchJournal journal(network);
        QVERIFY(journal.pointTo(folder.path(QStringLiteral("plant")), 7, error));
        QCOMPARE(BatchJournal::read(network, error)->owner, folder.path(QStringLiteral("plant")));
        QCOMPARE(folder.entries(),
                 QStringList({QStringLiteral("network"), QStringLiteral("network/") + s_name}));
    }

    void doesNotReplaceAJournalThatPoints()
    {
        const ProjectFolder folder;
        folder.makeFolder(QStringLiteral("network"));
        const QString network = folder.path(QStringLiteral("network"));
        Diagnostic error;
        QVERIFY(BatchJournal(network).pointTo(folder.path(QStringLiteral("plant")), 7, error));
        QVERIFY(!BatchJournal(network).pointTo(folder.path(QStringLiteral("other")), 8, error));
        QVERIFY2(error.toString().startsWith(network + QLatin1Char('/') + s_name
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(BatchJournal::read(network, error)->owner, folder.path(QStringLiteral("plant")));
        QCOMPARE(folder.entries(),
                 QStringList({QStringLiteral("network"), QStringLiteral("network/") + s_name}));
    }

    // The names hold when the project is somewhere else, or called otherwise.
    void movesWithTheProject()
    {
        const ProjectFolder folder;
        folder.write(QStringLiteral("plant/") + s_name,
                     "{\"file\":\"configuration/a.json\"}\n"
                     "{\"file\":\"../network/configuration/b.json\"}\n");
        QVERIFY(QFile::rename(folder.path(QStringLiteral("plant")),
                              folder.path(QStringLiteral("moved"))));
        Diagnostic error;
        const auto content = BatchJournal::read(folder.path(QStringLiteral("moved")), error);
        QCOMPARE(content->files,
                 QStringList({folder.path(QStringLiteral("moved/configuration/a.json")),
                              folder.path(QStringLiteral("network/configuration/b.json"))}));
    }

    // ".." leads out of the folder that a link leads to, not out of the one that holds the link.
    void readsAProjectThroughALink()
    {
        const ProjectFolder folder;
        folder.write(QStringLiteral("real/plant/") + s_name,
                     "{\"file\":\"../network/configuration/b.json\"}\n");
        folder.link(QStringLiteral("link"), QStringLiteral("real/plant"));
        Diagnostic error;
        const auto content = BatchJournal::read(folder.path(QStringLiteral("link")), error);
        QCOMPARE(content->files,
                 QStringList{QFileInfo(folder.path(QStringLiteral("real"))).canonicalFilePath()
                             + QStringLiteral("/network/configuration/b.json")});
    }

    void doesNotReplaceAJournal()
    {
        const ProjectFolder folder;
        folder.write(s_name, "");
        Diagnostic error;
        QVERIFY(!BatchJournal(folder.path()).create(7, error));
        QVERIFY2(error.toString().startsWith(folder.path(s_name)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
    }

    void doesNotWriteThroughALink()
    {
        const ProjectFolder folder;
        folder.write(QStringLiteral("precious"), "kept");
        folder.link(s_name, QStringLiteral("precious"));
        Diagnostic error;
        BatchJournal journal(folder.path());
        QVERIFY(!journal.create(7, error));
        QCOMPARE(folder.read(QStringLiteral("precious")), QByteArray("kept"));
    }

    void readsAsFarAsItWasWritten_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("files");
        QTest::newRow("empty") << QByteArray() << 0;
        QTest::newRow("one torn line") << QByteArray("{\"file\":\"a.js") << 0;
        QTest::newRow("a line without its end") << QByteArray("{\"file\":\"a.json\"}") << 0;
        QTest::newRow("a line and a torn one")
            << QByteArray("{\"file\":\"a.json\"}\n{\"state\":\"sav") << 1;
        QTest::newRow("a line and zeros") << QByteArray("{\"file\":\"a.json\"}\n\0\0\0", 22) << 1;
    }

    void readsAsFarAsItWasWritten()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, files);
        const ProjectFolder folder;
        folder.write(s_name, text);
        Diagnostic error;
        const auto content = BatchJournal::read(folder.path(), error);
        QVERIFY2(content, qPrintable(error.toString()));
        QCOMPARE(content->files.size(), files);
        QVERIFY(!content->isSaved);
    }

    void refusesWhatIsNoJournal_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("reason");
        const QString member =
            QStringLiteral(":1: expected an object with one member in each line");
        QTest::newRow("no JSON") << QByteArray("file a.json\n") << member;
        QTest::newRow("no object") << QByteArray("[\"file\"]\n") << member;
        QTest::newRow("two members")
            << QByteArray("{\"file\":\"a\",\"state\":\"saved\"}\n") << member;
        QTest::newRow("in the second line")
            << QByteArray("{\"file\":\"a\"}\n{\"file\":\n{\"state\":\"saved\"}\n")
            << QStringLiteral(":2: expected an object with one member in each line");
        QTest::newRow("unknown member")
            << QByteArray("{\"delete\":\"a.json\"}\n")
            << QStringLiteral(":1: expected a member of a journal, found \"delete\"");
        QTest::newRow("number that is none")
            << QByteArray("{\"number\":\"1e3\"}\n")
            << QStringLiteral(":1: expected a member of a journal, found \"number\"");
        QTest::newRow("unknown state")
            << QByteArray("{\"state\":\"done\"}\n")
            << QStringLiteral(":1: expected a member of a journal, found \"state\"");
    }

    void refusesWhatIsNoJournal()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, reason);
        const ProjectFolder folder;
        folder.write(s_name, text);
        Diagnostic error;
        QVERIFY(!BatchJournal::read(folder.path(), error));
        QCOMPARE(error.toString(), folder.path(s_name) + reason);
    }

    // Taken for an empty text, it would name the project folder.
    void refusesANameThatIsNoText_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("number") << QByteArray("{\"file\":7}\n");
        QTest::newRow("null") << QByteArray("{\"belongsTo\":null}\n");
        QTest::newRow("empty") << QByteArray("{\"file\":\"\"}\n");
    }

    void refusesANameThatIsNoText()
    {
        QFETCH(QByteArray, text);
        const ProjectFolder folder;
        folder.write(s_name, text);
        Diagnostic error;
        QVERIFY(!BatchJournal::read(folder.path(), error));
        QVERIFY(!error.message.isEmpty());
    }

    void tellsWhenItCannotBeWritten()
    {
        const ProjectFolder folder;
        Diagnostic error;
        BatchJournal journal(folder.path());
        QVERIFY(journal.create(7, error));
        QVERIFY(journal.addFile(folder.path(QStringLiteral("a.json")), error));
        bool isAdded = true;
        {
            const FullDisk disk(50); // half of the third line
            isAdded = journal.addFile(folder.path(QStringLiteral("b.json")), error);
        }
        QVERIFY(!isAdded);
        QVERIFY2(error.toString().startsWith(folder.path(s_name)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
    }

    // There is space again: what comes now must not be spoilt by the half line.
    void staysReadableAfterAShortWrite()
    {
        const ProjectFolder folder;
        Diagnostic error;
        BatchJournal journal(folder.path());
        QVERIFY(journal.create(7, error));
        QVERIFY(journal.addFile(folder.path(QStringLiteral("a.json")), error));
        {
            const FullDisk disk(50);
            QVERIFY(!journal.addFile(folder.path(QStringLiteral("b.json")), error));
        }
        error = Diagnostic();
        journal.addFile(folder.path(QStringLiteral("c.json")), error);
        error = Diagnostic();
        const auto content = BatchJournal::read(folder.path(), error);
        QVERIFY2(content, qPrintable(error.toString()));
        QCOMPARE(content->files.value(0), folder.path(QStringLiteral("a.json")));
    }
};

QTEST_GUILESS_MAIN(BatchJournalTest)

#include "BatchJournalTest.moc"
