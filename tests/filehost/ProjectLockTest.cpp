#include "filehost/ProjectLock.h"
#include "filehost/FaultySurroundings.h"
#include "filehost/ProjectFolder.h"
#include "support/StrictTest.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <functional>

#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString s_name = QStringLiteral(".configscript-lock");

/// Another process, which does something with the project and then waits to be ended.
class OtherProcess
{
public:
    explicit OtherProcess(const std::function<void()> &action)
    {
        int ends[2];
        if (pipe(ends) != 0 || (m_process = fork()) < 0) {
            qFatal("no other process");
        }
        if (m_process == 0) {
            action();
            const ssize_t told = ::write(ends[1], "", 1);
            Q_UNUSED(told)
            for (;;) {
                pause();
            }
        }
        char byte;
        const ssize_t heard = ::read(ends[0], &byte, 1);
        Q_UNUSED(heard)
        close(ends[0]);
        close(ends[1]);
    }

    ~OtherProcess() { kill(); }

    qint64 number() const { return m_process; }

    void kill()
    {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
            m_process = 0;
        }
    }

private:
    Q_DISABLE_COPY(OtherProcess)

    pid_t m_process = 0;
};

/// Another process that has the lock.
class Holder : public OtherProcess
{
public:
    explicit Holder(const QString &projectPath)
        : OtherProcess([projectPath] {
            Diagnostic error;
            ProjectLock::acquire(projectPath, error).release();
        })
    {
    }
};

} // namespace

class ProjectLockTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void isThereForItsLife()
    {
        const ProjectFolder folder;
        Diagnostic error;
        for (int i = 0; i < 2; ++i) {
            const auto lock = ProjectLock::acquire(folder.path(), error);
            QVERIFY2(lock, qPrintable(error.toString()));
            QCOMPARE(folder.entries(), QStringList{s_name});
        }
        QCOMPARE(folder.entries(), QStringList());
    }

    void waitsAndTellsWhoHasIt()
    {
        const ProjectFolder folder;
        const Holder holder(folder.path());
        QElapsedTimer timer;
        timer.start();
        Diagnostic error;
        QVERIFY(!ProjectLock::acquire(folder.path(), error));
        QVERIFY(timer.elapsed() >= ProjectLock::patience);
        QVERIFY(timer.elapsed() < 5 * ProjectLock::patience);
        QCOMPARE(error.toString(),
                 folder.path()
                     + QStringLiteral(": is being written by FileHostTests, process %1 on %2; "
                                      "try again when it is done")
                           .arg(holder.number())
                           .arg(QSysInfo::machineHostName()));
    }

    void isTheSameThroughALink()
    {
        const ProjectFolder folder;
        folder.makeFolder(QStringLiteral("plant"));
        folder.link(QStringLiteral("link"), QStringLiteral("plant"));
        const Holder holder(folder.path(QStringLiteral("plant")));
        Diagnostic error;
        QVERIFY(!ProjectLock::acquire(folder.path(QStringLiteral("link")), error));
    }

    void getsItFromADeadProcess()
    {
        const ProjectFolder folder;
        Holder holder(folder.path());
        holder.kill();
        QCOMPARE(folder.entries(), QStringList{s_name});
        QElapsedTimer timer;
        timer.start();
        Diagnostic error;
        QVERIFY2(ProjectLock::acquire(folder.path(), error), qPrintable(error.toString()));
        QVERIFY(timer.elapsed() < ProjectLock::patience);
        QCOMPARE(folder.entries(), QStringList());
    }

    // What a process leaves that was ended while it took the lock, or gave it back.
    void getsItFromADeadProcessWhateverItLeft_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray machine = QSysInfo::machineHostName().toUtf8();
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("torn") << QByteArray("4194");
        QTest::newRow("no process") << QByteArray("\n\n\n");
        QTest::newRow("zeros") << QByteArray(90, '\0');
        // Numbers are used again: the one who has it now does not lock.
        QTest::newRow("a living process that is another program")
            << QByteArray::number(getppid()) + "\nFileHostTests\n" + machine + '\n';
        // In a container a program often has the same number each time.
        QTest::newRow("the same number")
            << QByteArray::number(getpid()) + "\nFileHostTests\n" + machine + '\n';
        QTest::newRow("a machine that had another name")
            << QByteArray("4194000\nFileHostTests\nrenamed-since\n");
    }

    void getsItFromADeadProcessWhateverItLeft()
    {
        QFETCH(QByteArray, content);
        const ProjectFolder folder;
        folder.write(s_name, content);
        Diagnostic error;
        QVERIFY2(ProjectLock::acquire(folder.path(), error), qPrintable(error.toString()));
    }

    // The same, beside the lock: what helps to take it.
    void getsItFromADeadProcessThatWasAboutToTakeIt()
    {
        const ProjectFolder folder;
        folder.write(s_name,
                     "4194000\nFileHostTests\n" + QSysInfo::machineHostName().toUtf8() + '\n');
        folder.write(s_name + QStringLiteral(".rmlock"), "");
        Diagnostic error;
        QVERIFY2(ProjectLock::acquire(folder.path(), error), qPrintable(error.toString()));
    }

    // Two who share the project folder as a group.
    void getsItFromSomeoneElsesDeadProcess()
    {
        if (geteuid() != 0) {
            QSKIP("only the superuser can be two users");
        }
        const ProjectFolder folder;
        Holder holder(folder.path());
        holder.kill();
        Diagnostic error;
        bool isLocked = false;
        {
            const OrdinaryUser user(folder);
            isLocked = ProjectLock::acquire(folder.path(), error) != nullptr;
        }
        QVERIFY2(isLocked, qPrintable(error.toString()));
    }

    void tellsWhenTheFolderIsReadOnly()
    {
        const ProjectFolder folder;
        const OrdinaryUser user(folder);
        QVERIFY(QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::ExeOwner));
        Diagnostic error;
        const auto lock = ProjectLock::acquire(folder.path(), error);
        QVERIFY(QFile::setPermissions(folder.path(),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(!lock);
        QVERIFY2(
            error.toString().startsWith(folder.path() + QStringLiteral(": cannot be locked: ")),
            qPrintable(error.toString()));
    }
};

TEST_CLASS(ProjectLockTest)

#include "ProjectLockTest.moc"
