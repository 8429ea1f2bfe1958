#include "filehost/store/TextFile.h"
#include "filehost/FaultySurroundings.h"
#include "filehost/ProjectFolder.h"
#include "support/StrictTest.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>

using namespace ConfigScript;

namespace {

const QString s_name = QStringLiteral("line1/pump1.json");

} // namespace

class TextFileTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void readsAFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("text") << QByteArray("{\r\n}\n");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("any bytes") << QByteArray("\0\xff\r\x1a\n", 5);
    }

    void readsAFile()
    {
        QFETCH(QByteArray, content);
        const ProjectFolder folder;
        folder.write(s_name, content);
        QByteArray read;
        Diagnostic error;
        QCOMPARE(TextFile::read(folder.path(s_name), 10, read, error), TextFile::ReadResult::Read);
        QCOMPARE(read, content);
        QCOMPARE(error.toString(), QString());
    }

    void tellsWhenThereIsNoSuchFile()
    {
        const ProjectFolder folder;
        folder.link(QStringLiteral("link.json"), QStringLiteral("none.json"));
        QByteArray content("as before");
        Diagnostic error;
        for (const QString &name : {s_name, QStringLiteral("link.json")}) {
            QCOMPARE(TextFile::read(folder.path(name), 10, content, error),
                     TextFile::ReadResult::Missing);
            QCOMPARE(error.toString(), QString());
            QCOMPARE(content, QByteArray("as before"));
        }
    }

    void readsNothingThatIsNoFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder") << QStringLiteral("folder");
        QTest::newRow("link to a folder") << QStringLiteral("link to a folder");
        QTest::newRow("named pipe") << QStringLiteral("pipe");
        QTest::newRow("link to a named pipe") << QStringLiteral("link to a pipe");
    }

    // Nobody writes to the pipe: to open it would block.
    void readsNothingThatIsNoFile()
    {
        QFETCH(QString, name);
        const ProjectFolder folder;
        folder.makeFolder(QStringLiteral("folder"));
        QCOMPARE(mkfifo(QFile::encodeName(folder.path(QStringLiteral("pipe"))).constData(), 0600),
                 0);
        folder.link(QStringLiteral("link to a folder"), QStringLiteral("folder"));
        folder.link(QStringLiteral("link to a pipe"), QStringLiteral("pipe"));
        QByteArray content("as before");
        Diagnostic error;
        QCOMPARE(TextFile::read(folder.path(name), 10, content, error),
                 TextFile::ReadResult::Unreadable);
        QCOMPARE(error.toString(),
                 folder.path(name) + QStringLiteral(": cannot be read: it is no file"));
        QCOMPARE(content, QByteArray("as before"));
    }

    void tellsWhatItMayNotRead_data()
    {
        QTest::addColumn<QString>("forbidden");
        QTest::newRow("file") << s_name;
        QTest::newRow("folder") << QStringLiteral("line1");
    }

    void tellsWhatItMayNotRead()
    {
        QFETCH(QString, forbidden);
        const ProjectFolder folder;
        const OrdinaryUser user(folder);
        folder.write(s_name, "old");
        QVERIFY(QFile::setPermissions(folder.path(forbidden), {}));
        QByteArray content;
        Diagnostic error;
        const TextFile::ReadResult result = TextFile::read(folder.path(s_name), 10, content, error);
        QVERIFY(QFile::setPermissions(folder.path(forbidden),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(result, TextFile::ReadResult::Unreadable);
        QCOMPARE(error.toString(),
                 folder.path(s_name) + QStringLiteral(": cannot be read: Permission denied"));
    }

    void keepsAReadOnlyFile()
    {
        const ProjectFolder folder;
        const OrdinaryUser user(folder);
        folder.write(s_name, "old");
        QVERIFY(QFile::setPermissions(folder.path(s_name), QFile::ReadOwner));
        const QStringList entries = folder.entries();
        Diagnostic error;
        QVERIFY(!TextFile::write(folder.path(s_name), "new", error));
        QCOMPARE(error.toString(),
                 folder.path(s_name)
                     + QStringLiteral(": cannot be written: the file is read-only"));
        QCOMPARE(folder.read(s_name), QByteArray("old"));
        QCOMPARE(folder.entries(), entries);
    }

    void refusesAFileThatIsTooLarge()
    {
        const ProjectFolder folder;
        folder.write(s_name, "0123456789");
        QByteArray content;
        Diagnostic error;
        QCOMPARE(TextFile::read(folder.path(s_name), 10, content, error),
                 TextFile::ReadResult::Read);
        QCOMPARE(TextFile::read(folder.path(s_name), 9, content, error),
                 TextFile::ReadResult::Unreadable);
        QCOMPARE(error.toString(),
                 folder.path(s_name) + QStringLiteral(": expected at most 9 bytes, found 10"));
    }

    void makesAFileWithItsFolders()
    {
        const ProjectFolder folder;
        Diagnostic error;
        QVERIFY2(TextFile::write(folder.path(QStringLiteral("a/b/c.json")), "{\r\n}\n", error),
                 qPrintable(error.toString()));
        QCOMPARE(folder.read(QStringLiteral("a/b/c.json")), QByteArray("{\r\n}\n"));
        QCOMPARE(folder.entries(),
                 QStringList(
                     {QStringLiteral("a"), QStringLiteral("a/b"), QStringLiteral("a/b/c.json")}));
    }

    void replacesAFileAndKeepsItsPermissions()
    {
        const ProjectFolder folder;
        const QFileDevice::Permissions owner = QFile::ReadOwner | QFile::WriteOwner;
        for (const auto permissions :
             {owner, owner | QFile::ReadGroup | QFile::WriteGroup, owner | QFile::ReadOther}) {
            folder.write(s_name, "a much longer old content");
            QVERIFY(QFile::setPermissions(folder.path(s_name), permissions));
            const auto before = QFile::permissions(folder.path(s_name));
            Diagnostic error;
            QVERIFY2(TextFile::write(folder.path(s_name), "new", error),
                     qPrintable(error.toString()));
            QCOMPARE(folder.read(s_name), QByteArray("new"));
            QCOMPARE(QFile::permissions(folder.path(s_name)), before);
        }
    }

    void writesThroughALink()
    {
        const ProjectFolder folder;
        folder.write(QStringLiteral("target.json"), "old");
        folder.link(s_name, QStringLiteral("../target.json"));
        Diagnostic error;
        QVERIFY2(TextFile::write(folder.path(s_name), "new", error), qPrintable(error.toString()));
        QVERIFY(QFileInfo(folder.path(s_name)).isSymLink());
        QCOMPARE(folder.read(QStringLiteral("target.json")), QByteArray("new"));
    }

    void keepsTheOldFileOnAFullDisk()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        const QStringList entries = folder.entries();
        Diagnostic error;
        bool isWritten = true;
        {
            const FullDisk disk(100000);
            isWritten = TextFile::write(folder.path(s_name), QByteArray(200000, ' '), error);
        }
        QVERIFY(!isWritten);
        QVERIFY2(error.toString().startsWith(folder.path(s_name)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(folder.read(s_name), QByteArray("old"));
        QCOMPARE(folder.entries(), entries);
    }

    void leavesNothingBehindWhereItCannotWrite_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("a folder in its place") << QStringLiteral("folder");
        QTest::newRow("a file in place of its folder") << QStringLiteral("file/pump.json");
        QTest::newRow("a file in place of a folder on the way")
            << QStringLiteral("file/line1/pump.json");
    }

    void leavesNothingBehindWhereItCannotWrite()
    {
        QFETCH(QString, file);
        const ProjectFolder folder;
        folder.makeFolder(QStringLiteral("folder/inside"));
        folder.write(QStringLiteral("file"), "old");
        const QStringList entries = folder.entries();
        Diagnostic error;
        QVERIFY(!TextFile::write(folder.path(file), "new", error));
        QVERIFY2(error.toString().startsWith(folder.path(file)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(folder.entries(), entries);
        QCOMPARE(folder.read(QStringLiteral("file")), QByteArray("old"));
    }
};

QTEST_GUILESS_MAIN(TextFileTest)

#include "TextFileTest.moc"
