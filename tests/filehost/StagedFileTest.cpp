#include "filehost/store/StagedFile.h"
#include "filehost/FaultySurroundings.h"
#include "filehost/ProjectFolder.h"
#include "filehost/store/TextFile.h"
#include "support/StrictTest.h"

#include <QTest>

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ConfigScript;

namespace {

const QString s_name = QStringLiteral("a.json");
const QString s_newName = QStringLiteral(".configscript-7.new");
const QString s_oldName = QStringLiteral(".configscript-7.old");

StagedFile stagedFile(const ProjectFolder &folder, const QString &name = s_name)
{
    StagedFile::RealFolders folders;
    return StagedFile(StagedFile::realPath(folder.path(name), folders), 7);
}

struct stat statusOf(const ProjectFolder &folder, const QString &name)
{
    struct stat status;
    if (stat(QFile::encodeName(folder.path(name)).constData(), &status) != 0) {
        qFatal("no file %s", qPrintable(name));
    }
    return status;
}

int modeOf(const ProjectFolder &folder, const QString &name)
{
    return int(statusOf(folder, name).st_mode & 07777);
}

void setMode(const ProjectFolder &folder, const QString &name, mode_t mode)
{
    if (chmod(QFile::encodeName(folder.path(name)).constData(), mode) != 0) {
        qFatal("cannot change %s", qPrintable(name));
    }
}

/// What new files are not given, for a scope.
class Umask
{
public:
    explicit Umask(mode_t mask)
        : m_previous(umask(mask))
    {
    }
    ~Umask() { umask(m_previous); }

private:
    Q_DISABLE_COPY(Umask)

    mode_t m_previous;
};

} // namespace

class StagedFileTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void leavesTheFileAloneUntilItIsReplaced()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QCOMPARE(folder.read(s_name), QByteArray("old"));
        QCOMPARE(folder.read(s_newName), QByteArray("new"));
        QVERIFY(file.keep(error));
        QVERIFY(file.sync(error));
        QVERIFY(file.replace(error));
        QCOMPARE(folder.read(s_name), QByteArray("new"));
        QCOMPARE(folder.read(s_oldName), QByteArray("old"));
        QVERIFY(file.discard(error));
        QCOMPARE(folder.read(s_name), QByteArray("new"));
        QCOMPARE(folder.entries(), QStringList{s_name});
        QCOMPARE(error.toString(), QString());
    }

    void takesTheLastContent()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("a longer first content", error));
        QVERIFY(file.write("new", error));
        QVERIFY(file.replaceFinally(error));
        QCOMPARE(folder.read(s_name), QByteArray("new"));
        QCOMPARE(folder.entries(), QStringList{s_name});
    }

    void undoes_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::addColumn<bool>("isReplaced");
        QTest::newRow("before a file is replaced") << true << false;
        QTest::newRow("a replaced file") << true << true;
        QTest::newRow("before a file is made") << false << false;
        QTest::newRow("a new file") << false << true;
    }

    // Twice: a process that ended may have done it already.
    void undoes()
    {
        QFETCH(bool, exists);
        QFETCH(bool, isReplaced);
        const ProjectFolder folder;
        if (exists) {
            folder.write(s_name, "old");
        }
        const QStringList entries = folder.entries();
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        if (isReplaced) {
            QVERIFY(file.keep(error));
            QVERIFY(file.replace(error));
            QCOMPARE(folder.read(s_name), QByteArray("new"));
        }
        QVERIFY(file.undo(error));
        QVERIFY(file.undo(error));
        QCOMPARE(folder.entries(), entries);
        if (exists) {
            QCOMPARE(folder.read(s_name), QByteArray("old"));
        }
    }

    void makesANewFile()
    {
        const ProjectFolder folder;
        StagedFile file = stagedFile(folder, QStringLiteral("line1/a.json"));
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QVERIFY(file.keep(error));
        QVERIFY(file.sync(error));
        QVERIFY(file.replace(error));
        QVERIFY(file.discard(error));
        QVERIFY(file.discard(error));
        QCOMPARE(folder.read(QStringLiteral("line1/a.json")), QByteArray("new"));
        QCOMPARE(folder.entries(),
                 QStringList({QStringLiteral("line1"), QStringLiteral("line1/a.json")}));
    }

    // As on a file system that has no links.
    void replacesWithoutASecondName()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QVERIFY(file.replace(error));
        QCOMPARE(folder.read(s_name), QByteArray("new"));
        QVERIFY(file.undo(error));
        QCOMPARE(folder.read(s_name), QByteArray("old"));
        QCOMPARE(folder.entries(), QStringList{s_name});
    }

    void doesNotReplaceANewFileOfSomebodyElse()
    {
        const ProjectFolder folder;
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QVERIFY(file.keep(error));
        folder.write(s_name, "theirs");
        QVERIFY(!file.replace(error));
        QVERIFY(file.undo(error));
        QCOMPARE(folder.read(s_name), QByteArray("theirs"));
        QCOMPARE(folder.entries(), QStringList{s_name});
    }

    // What an earlier process left beside the file is not taken for this one's.
    void ignoresWhatIsLeftOver()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        folder.write(s_newName, "left over, and longer");
        folder.write(s_oldName, "left over");
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QVERIFY(file.keep(error));
        QVERIFY(file.replace(error));
        QCOMPARE(folder.read(s_name), QByteArray("new"));
        QVERIFY(file.undo(error));
        QCOMPARE(folder.read(s_name), QByteArray("old"));
        QCOMPARE(folder.entries(), QStringList{s_name});
    }

    void doesNotFollowALinkThatIsLeftOver()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        folder.write(QStringLiteral("precious"), "kept");
        folder.link(s_newName, QStringLiteral("precious"));
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QVERIFY(file.replaceFinally(error));
        QCOMPARE(folder.read(QStringLiteral("precious")), QByteArray("kept"));
        QVERIFY(!QFileInfo(folder.path(s_name)).isSymLink());
        QCOMPARE(folder.read(s_name), QByteArray("new"));
    }

    void keepsTheMode_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("mask");
        QTest::newRow("private") << 0600 << 0022;
        QTest::newRow("private, no umask") << 0600 << 0000;
        QTest::newRow("for a group") << 0660 << 0077;
        QTest::newRow("for all") << 0666 << 0077;
        QTest::newRow("a program") << 0755 << 0077;
    }

    // At no time can more people read the content than may read the file.
    void keepsTheMode()
    {
        QFETCH(int, mode);
        QFETCH(int, mask);
        const Umask umask((mode_t(mask)));
        const ProjectFolder folder;
        folder.write(s_name, "old");
        setMode(folder, s_name, mode_t(mode));
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QCOMPARE(modeOf(folder, s_newName), mode);
        QVERIFY(file.keep(error));
        QVERIFY(file.replace(error));
        QCOMPARE(modeOf(folder, s_name), mode);
        QVERIFY(file.undo(error));
        QCOMPARE(modeOf(folder, s_name), mode);
    }

    void makesFilesAndFoldersWithTheUmask_data()
    {
        QTest::addColumn<int>("mask");
        QTest::newRow("usual") << 0022;
        QTest::newRow("for a group") << 0002;
        QTest::newRow("private") << 0077;
    }

    void makesFilesAndFoldersWithTheUmask()
    {
        QFETCH(int, mask);
        const Umask umask((mode_t(mask)));
        const ProjectFolder folder;
        const QString name = QStringLiteral("line1/a.json");
        StagedFile file = stagedFile(folder, name);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QCOMPARE(modeOf(folder, QStringLiteral("line1/") + s_newName), 0666 & ~mask);
        QVERIFY(file.replaceFinally(error));
        QCOMPARE(modeOf(folder, name), 0666 & ~mask);
        QCOMPARE(modeOf(folder, QStringLiteral("line1")), 0777 & ~mask);
    }

    void keepsTheOwner()
    {
        if (geteuid() != 0) {
            QSKIP("only the superuser can give files away");
        }
        const ProjectFolder folder;
        folder.write(s_name, "old");
        QCOMPARE(chown(QFile::encodeName(folder.path(s_name)).constData(), 1234, 5678), 0);
        setMode(folder, s_name, 0640);
        StagedFile file = stagedFile(folder);
        Diagnostic error;
        QVERIFY(file.write("new", error));
        QVERIFY(file.replaceFinally(error));
        QCOMPARE(statusOf(folder, s_name).st_uid, uid_t(1234));
        QCOMPARE(statusOf(folder, s_name).st_gid, gid_t(5678));
        QCOMPARE(modeOf(folder, s_name), 0640);
    }

    // Someone else's file that is shared in a group: a member replaces it. The members of that
    // member's first group, who may not read it, shall not be let in.
    void keepsTheGroupOfSomeoneElsesFile()
    {
        if (geteuid() != 0) {
            QSKIP("only the superuser can choose groups");
        }
        constexpr gid_t shared = 5678;
        constexpr gid_t first = 5679;
        const ProjectFolder folder;
        folder.write(s_name, "old");
        QCOMPARE(chown(QFile::encodeName(folder.path(s_name)).constData(), 1234, shared), 0);
        setMode(folder, s_name, 0660);
        QCOMPARE(setgroups(1, &shared), 0);
        QCOMPARE(setegid(first), 0);
        bool isReplaced = false;
        Diagnostic error;
        {
            const OrdinaryUser user(folder);
            StagedFile file = stagedFile(folder);
            isReplaced = file.write("new", error) && file.replaceFinally(error);
        }
        QCOMPARE(setegid(0), 0);
        QCOMPARE(setgroups(0, nullptr), 0);
        QVERIFY2(isReplaced, qPrintable(error.toString()));
        const struct stat status = statusOf(folder, s_name);
        QVERIFY2(status.st_gid == shared || (status.st_mode & 0070) == 0,
                 qPrintable(QStringLiteral("group %1, mode %2")
                                .arg(status.st_gid)
                                .arg(int(status.st_mode & 07777), 0, 8)));
    }

    void refusesWhatIsNoFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("folder") << QStringLiteral("folder") << QStringLiteral("it is no file");
        QTest::newRow("pipe") << QStringLiteral("pipe") << QStringLiteral("it is no file");
        QTest::newRow("below a file")
            << QStringLiteral("file/a.json") << QStringLiteral("no folder <folder>/file");
    }

    void refusesWhatIsNoFile()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        const ProjectFolder folder;
        folder.makeFolder(QStringLiteral("folder"));
        folder.write(QStringLiteral("file"), "old");
        QCOMPARE(mkfifo(QFile::encodeName(folder.path(QStringLiteral("pipe"))).constData(), 0600),
                 0);
        const QStringList entries = folder.entries();
        Diagnostic error;
        QVERIFY(!stagedFile(folder, name).write("new", error));
        QCOMPARE(error.toString(),
                 folder.path(name) + QStringLiteral(": cannot be written: ")
                     + reason.replace(QLatin1String("<folder>"), folder.path()));
        QCOMPARE(folder.entries(), entries);
    }

    void leavesNothingOnAFullDisk()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        Diagnostic error;
        bool isWritten = true;
        {
            const FullDisk disk(1000);
            isWritten = stagedFile(folder).write(QByteArray(2000, ' '), error);
        }
        QVERIFY(!isWritten);
        QVERIFY2(error.toString().startsWith(folder.path(s_name)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(folder.entries(), QStringList{s_name});
        QCOMPARE(folder.read(s_name), QByteArray("old"));
    }

    void namesTheFileThatALinkLeadsTo()
    {
        const ProjectFolder folder;
        folder.write(QStringLiteral("files/a.json"), "old");
        folder.link(QStringLiteral("link.json"), QStringLiteral("files/a.json"));
        folder.link(QStringLiteral("folder"), QStringLiteral("files"));
        const auto real = [&](const QString &name) {
            StagedFile::RealFolders folders;
            return StagedFile::realPath(folder.path(name), folders);
        };
        const QString files = QFileInfo(folder.path(QStringLiteral("files"))).canonicalFilePath();
        QCOMPARE(real(QStringLiteral("link.json")), files + QStringLiteral("/a.json"));
        QCOMPARE(real(QStringLiteral("folder/a.json")), files + QStringLiteral("/a.json"));
        QCOMPARE(real(QStringLiteral("folder/new.json")), files + QStringLiteral("/new.json"));
    }

    // Two processes that cannot see each other, such as in two containers, may have one number.
    void keepsTheContentsOfTwoWritersApart()
    {
        const ProjectFolder folder;
        folder.write(s_name, "old");
        Diagnostic error;
        StagedFile::RealFolders folders;
        StagedFile file(StagedFile::realPath(folder.path(s_name), folders), getpid());
        QVERIFY(file.write("new", error));
        QVERIFY(file.keep(error));
        QVERIFY(TextFile::write(folder.path(QStringLiteral("b.json")), "other", error));
        QVERIFY2(file.replace(error), qPrintable(error.toString()));
        QCOMPARE(folder.read(s_name), QByteArray("new"));
        QCOMPARE(folder.read(QStringLiteral("b.json")), QByteArray("other"));
    }
};

QTEST_GUILESS_MAIN(StagedFileTest)

#include "StagedFileTest.moc"
