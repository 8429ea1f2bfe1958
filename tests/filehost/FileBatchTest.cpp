#include "filehost/store/FileBatch.h"
#include "filehost/FaultySurroundings.h"
#include "filehost/ProjectFolder.h"
#include "support/StrictTest.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

using namespace ConfigScript;

namespace {

/// How far a batch came.
enum class Stage { Collecting, Replacing, Saved, Undoing };

const QString s_plant = QStringLiteral("plant");
const QString s_network = QStringLiteral("network");
const QString s_a = QStringLiteral("plant/configuration/a.json");
const QString s_b = QStringLiteral("plant/process/b.json");
const QString s_bus = QStringLiteral("network/configuration/bus.json");
const QStringList s_names{s_a, s_b, s_bus};

/// Two projects with three files, each of which holds "old".
class Projects : public ProjectFolder
{
public:
    Projects()
    {
        for (const QString &name : s_names) {
            write(name, "old");
        }
    }

    QString projectOf(const QString &name) const
    {
        return path(name.section(QLatin1Char('/'), 0, 0));
    }

    bool add(FileBatch &batch, const QString &name, const QByteArray &content) const
    {
        Diagnostic error;
        TextFile::Stamp stamp;
        return batch.add(projectOf(name), path(name), content, stamp, error);
    }

    QByteArrayList contents() const
    {
        QByteArrayList contents;
        for (const QString &name : s_names) {
            contents.append(read(name));
        }
        return contents;
    }
};

const QByteArrayList s_old{"old", "old", "old"};
const QByteArrayList s_new{"new", "new", "new"};

constexpr qint64 s_number = 7;

/// What a process that was ended leaves of a batch of the plant that changes all files to "new".
void interrupt(const Projects &projects, Stage stage, int replaced)
{
    Diagnostic error;
    BatchJournal journal(projects.path(s_plant));
    bool isDone = journal.create(s_number, error)
        && journal.addProject(projects.path(s_network), error)
        && BatchJournal(projects.path(s_network))
               .pointTo(projects.path(s_plant), s_number - 1, error);
    QVector<StagedFile> files;
    for (const QString &name : s_names) {
        files.append(StagedFile(projects.path(name), s_number + files.size()));
        isDone = isDone && journal.addFile(projects.path(name), error)
            && files.last().write("new", error);
    }
    for (StagedFile &file : files) {
        isDone = isDone && (stage == Stage::Collecting || file.keep(error));
    }
    for (int i = 0; i < replaced; ++i) {
        isDone = isDone && files.at(i).replace(error);
    }
    if (stage == Stage::Saved) {
        isDone = isDone && journal.setSaved(error) && files.at(0).discard(error);
    } else if (stage == Stage::Undoing) {
        isDone = isDone && files.at(0).undo(error);
    }
    if (!isDone) {
        qFatal("%s", qPrintable(error.toString()));
    }
}

} // namespace

Q_DECLARE_METATYPE(Stage)

class FileBatchTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void replacesAllFilesAtOnce()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        FileBatch batch(projects.path(s_plant));
        for (const QString &name : s_names) {
            QVERIFY(projects.add(batch, name, "new"));
            QCOMPARE(projects.contents(), s_old);
        }
        QVERIFY(FileBatch::isInterrupted(projects.path(s_plant)));
        QVERIFY(FileBatch::isInterrupted(projects.path(s_network)));
        QCOMPARE(FileBatch::owner(projects.path(s_network)), projects.path(s_plant));
        QCOMPARE(FileBatch::owner(projects.path(s_plant)), projects.path(s_plant));
        Diagnostic error;
        QVERIFY2(batch.commit(error), qPrintable(error.toString()));
        QCOMPARE(projects.contents(), s_new);
        QCOMPARE(projects.entries(), entries);
        QVERIFY(!FileBatch::isInterrupted(projects.path(s_plant)));
    }

    void leavesNothingWithoutFiles()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        Diagnostic error;
        FileBatch batch(projects.path(s_plant));
        QCOMPARE(projects.entries(), entries);
        QVERIFY(batch.commit(error));
        QCOMPARE(projects.entries(), entries);
    }

    void takesTheLastContentOfEachFile()
    {
        const Projects projects;
        projects.link(QStringLiteral("plant/configuration/link.json"), QStringLiteral("a.json"));
        const QStringList entries = projects.entries();
        FileBatch batch(projects.path(s_plant));
        QVERIFY(projects.add(batch, s_a, "a longer first content"));
        QVERIFY(projects.add(batch, s_b, "new"));
        QVERIFY(projects.add(batch, QStringLiteral("plant/configuration/link.json"), "second"));
        Diagnostic error;
        QVERIFY(batch.commit(error));
        QCOMPARE(projects.contents(), QByteArrayList({"second", "new", "old"}));
        QCOMPARE(projects.entries(), entries);
    }

    void worksAgainAfterACommit()
    {
        const Projects projects;
        FileBatch batch(projects.path(s_plant));
        Diagnostic error;
        QVERIFY(projects.add(batch, s_a, "new") && batch.commit(error));
        QVERIFY(projects.add(batch, s_bus, "new") && batch.commit(error));
        QCOMPARE(projects.contents(), QByteArrayList({"new", "old", "new"}));
    }

    void replacesManyFilesAndMakesNewOnes()
    {
        const Projects projects;
        FileBatch batch(projects.path(s_plant));
        QStringList names;
        for (int i = 0; i < 40; ++i) {
            names.append(QStringLiteral("plant/configuration/%1/a%2.json").arg(i % 3).arg(i));
            if (i % 2 == 0) {
                projects.write(names.last(), "old");
            }
            QVERIFY(projects.add(batch, names.last(), QByteArray::number(i)));
        }
        Diagnostic error;
        QVERIFY2(batch.commit(error), qPrintable(error.toString()));
        for (int i = 0; i < names.size(); ++i) {
            QCOMPARE(projects.read(names.at(i)), QByteArray::number(i));
        }
        QVERIFY(projects.entries().filter(QStringLiteral(".configscript")).isEmpty());
    }

    void drops_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("dropped") << QStringLiteral("drop");
        QTest::newRow("destroyed") << QStringLiteral("destroy");
        QTest::newRow("given up") << QStringLiteral("give up");
    }

    void drops()
    {
        QFETCH(QString, how);
        const Projects projects;
        const QStringList entries = projects.entries();
        {
            FileBatch batch(projects.path(s_plant));
            for (const QString &name : s_names) {
                QVERIFY(projects.add(batch, name, "new"));
            }
            if (how == QLatin1String("drop")) {
                batch.drop();
            } else if (how == QLatin1String("give up")) {
                batch.giveUp({QString(), 0, 0, QStringLiteral("first reason")});
                batch.giveUp({QString(), 0, 0, QStringLiteral("second reason")});
                Diagnostic error;
                QVERIFY(!batch.commit(error));
                QCOMPARE(error.toString(), QStringLiteral("first reason"));
            }
        }
        QCOMPARE(projects.contents(), s_old);
        QCOMPARE(projects.entries(), entries);
    }

    void isGivenUpWhenAFileCannotBeStored_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a folder") << QStringLiteral("plant/configuration");
        QTest::newRow("below a file") << QStringLiteral("plant/configuration/a.json/b.json");
    }

    void isGivenUpWhenAFileCannotBeStored()
    {
        QFETCH(QString, name);
        const Projects projects;
        const QStringList entries = projects.entries();
        FileBatch batch(projects.path(s_plant));
        QVERIFY(projects.add(batch, s_a, "new"));
        Diagnostic error;
        TextFile::Stamp stamp;
        QVERIFY(!batch.add(projects.path(s_plant), projects.path(name), "new", stamp, error));
        projects.add(batch, s_bus, "new");
        Diagnostic reason;
        QVERIFY(!batch.commit(reason));
        QCOMPARE(reason.toString(), error.toString());
        QVERIFY2(reason.toString().startsWith(projects.path(name)
                                              + QStringLiteral(": cannot be written: ")),
                 qPrintable(reason.toString()));
        QCOMPARE(projects.contents(), s_old);
        QCOMPARE(projects.entries(), entries);
    }

    void leavesNothingOnAFullDisk()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        Diagnostic error;
        {
            const FullDisk disk(1000);
            FileBatch batch(projects.path(s_plant));
            projects.add(batch, s_bus, "new");
            QVERIFY(!projects.add(batch, s_a, QByteArray(2000, ' ')));
            projects.add(batch, s_b, "new");
            QVERIFY(!batch.commit(error));
        }
        QVERIFY2(error.toString().startsWith(projects.path(s_a)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(projects.contents(), s_old);
        QCOMPARE(projects.entries(), entries);
    }

    void leavesNothingWhenItCannotBegin()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        const FullDisk disk(5);
        FileBatch batch(projects.path(s_plant));
        QVERIFY(!projects.add(batch, s_a, "new"));
        QCOMPARE(projects.entries(), entries);
    }

    void restoresAllWhenOneCannotBeReplaced()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        FileBatch batch(projects.path(s_plant));
        for (const QString &name : s_names) {
            QVERIFY(projects.add(batch, name, "new"));
        }
        Diagnostic error;
        {
            // Neither can the old file be kept, nor the new one take its place.
            QVERIFY(QFile::remove(projects.path(s_bus)));
            projects.makeFolder(s_bus + QStringLiteral("/in the way"));
            QVERIFY(!batch.commit(error));
        }
        QVERIFY2(error.toString().startsWith(projects.path(s_bus)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(projects.read(s_a), QByteArray("old"));
        QCOMPARE(projects.read(s_b), QByteArray("old"));
    }

    void refusesASecondBatch()
    {
        const Projects projects;
        FileBatch first(projects.path(s_plant));
        QVERIFY(projects.add(first, s_a, "new"));
        FileBatch second(projects.path(s_plant));
        QVERIFY(!projects.add(second, s_b, "other"));
        Diagnostic error;
        QVERIFY(!second.commit(error));
        QVERIFY(first.commit(error));
        QCOMPARE(projects.contents(), QByteArrayList({"new", "old", "old"}));
    }

    void refusesAnotherBatchsProject()
    {
        const Projects projects;
        FileBatch first(projects.path(s_plant));
        QVERIFY(projects.add(first, s_bus, "new"));
        {
            FileBatch second(projects.path(s_network));
            QVERIFY(!projects.add(second, s_bus, "other"));
            FileBatch third(projects.path(QStringLiteral(".")));
            QVERIFY(!projects.add(third, s_bus, "other"));
        }
        Diagnostic error;
        QVERIFY2(first.commit(error), qPrintable(error.toString()));
        QCOMPARE(projects.read(s_bus), QByteArray("new"));
    }

    void recovers_data()
    {
        QTest::addColumn<Stage>("stage");
        QTest::addColumn<int>("replaced");
        QTest::addColumn<QString>("opened");
        QTest::addColumn<QString>("move");
        for (const QString &opened : {s_plant, s_network}) {
            const auto row = [&](const char *name) -> QTestData & {
                return QTest::newRow(
                    qPrintable(QLatin1String(name) + QStringLiteral(", ") + opened));
            };
            row("collecting") << Stage::Collecting << 0 << opened << QString();
            row("nothing replaced") << Stage::Replacing << 0 << opened << QString();
            row("one replaced") << Stage::Replacing << 1 << opened << QString();
            row("all replaced") << Stage::Replacing << 3 << opened << QString();
            row("undoing") << Stage::Undoing << 2 << opened << QString();
            row("saved") << Stage::Saved << 3 << opened << QString();
            row("through a link") << Stage::Replacing << 1 << opened << QStringLiteral("link");
            row("both moved") << Stage::Replacing << 1 << opened << QStringLiteral("rename");
            row("both copied") << Stage::Replacing << 1 << opened << QStringLiteral("copy");
            row("saved, both copied") << Stage::Saved << 3 << opened << QStringLiteral("copy");
        }
    }

    void recovers()
    {
        QFETCH(Stage, stage);
        QFETCH(int, replaced);
        QFETCH(QString, opened);
        QFETCH(QString, move);
        const Projects projects;
        const QStringList entries = projects.entries();
        interrupt(projects, stage, replaced);
        QString folder = projects.path();
        const QTemporaryDir elsewhere;
        QString path = projects.path(opened);
        if (move == QLatin1String("link")) {
            path = elsewhere.filePath(QStringLiteral("link"));
            QVERIFY(QFile::link(projects.path(opened), path));
        } else if (!move.isEmpty()) {
            for (const QString &name : {s_plant, s_network}) {
                const QString target = elsewhere.filePath(name);
                const QByteArray command = move == QLatin1String("copy") ? "cp -r '" : "mv '";
                QCOMPARE(std::system((command + projects.path(name).toUtf8() + "' '"
                                      + target.toUtf8() + '\'')
                                         .constData()),
                         0);
            }
            folder = elsewhere.path();
            path = elsewhere.filePath(opened);
        }
        const bool isFinished = stage == Stage::Saved;
        Diagnostic error;
        QVERIFY(FileBatch::isInterrupted(path));
        const FileBatch::Recovery recovery = FileBatch::recover(path, error);
        QCOMPARE(error.toString(), QString());
        QCOMPARE(recovery,
                 isFinished ? FileBatch::Recovery::Finished : FileBatch::Recovery::Undone);
        for (const QString &name : s_names) {
            QFile file(folder + QLatin1Char('/') + name);
            QVERIFY(file.open(QFile::ReadOnly));
            QCOMPARE(file.readAll(), QByteArray(isFinished ? "new" : "old"));
        }
        const QStringList left =
            QDir(folder + QLatin1Char('/') + s_plant)
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
            + QDir(folder + QLatin1Char('/') + s_network)
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        QCOMPARE(left,
                 QStringList({QStringLiteral("configuration"), QStringLiteral("process"),
                              QStringLiteral("configuration")}));
        QCOMPARE(FileBatch::recover(path, error), FileBatch::Recovery::Nothing);
        QCOMPARE(error.toString(), QString());
        if (folder == projects.path()) {
            QCOMPARE(projects.entries(), entries);
        }
    }

    void findsNothingToRecover()
    {
        const Projects projects;
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_plant), error), FileBatch::Recovery::Nothing);
        QCOMPARE(error.toString(), QString());
    }

    void removesAnEmptyJournal()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        projects.write(QStringLiteral("plant/.configscript-journal"), "");
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_plant), error), FileBatch::Recovery::Undone);
        QCOMPARE(error.toString(), QString());
        QCOMPARE(projects.entries(), entries);
    }

    // It ended while it made the other project's journal.
    void recoversBeforeTheOtherProjectPointsBack()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"number\":\"7\"}\n{\"alsoIn\":\"../network\"}\n");
        projects.write(QStringLiteral("network/.configscript-6.new"), "{\"belongs");
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_plant), error), FileBatch::Recovery::Undone);
        QCOMPARE(error.toString(), QString());
        QCOMPARE(projects.entries(), entries);
    }

    // The journal names a file before its folder is made.
    void recoversBeforeAFoldersMade()
    {
        const Projects projects;
        const QStringList entries = projects.entries();
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"file\":\"process/line9/new.json\"}\n");
        Diagnostic error;
        const FileBatch::Recovery recovery = FileBatch::recover(projects.path(s_plant), error);
        QCOMPARE(error.toString(), QString());
        QCOMPARE(recovery, FileBatch::Recovery::Undone);
        QCOMPARE(projects.entries(), entries);
    }

    // What another batch left is not put back.
    void ignoresLeftOvers()
    {
        const Projects projects;
        FileBatch batch(projects.path(s_plant));
        QVERIFY(projects.add(batch, s_a, "new"));
        const QStringList staged =
            projects.entries().filter(QRegularExpression(QStringLiteral("\\.new$")));
        QCOMPARE(staged.size(), 1);
        projects.write(
            QString(staged.first()).replace(QStringLiteral(".new"), QStringLiteral(".old")),
            "ancient");
        Diagnostic error;
        QVERIFY2(batch.commit(error), qPrintable(error.toString()));
        QCOMPARE(projects.contents(), QByteArrayList({"new", "old", "old"}));
        QVERIFY(projects.entries().filter(QStringLiteral(".configscript")).isEmpty());
    }

    // Somebody has removed it: the batch must not take it for replaced.
    void restoresAllWhenAStagedFileIsMissing_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("of an old file") << true;
        QTest::newRow("of a new file") << false;
    }

    void restoresAllWhenAStagedFileIsMissing()
    {
        QFETCH(bool, exists);
        const Projects projects;
        const QString name = QStringLiteral("plant/process/c.json");
        if (exists) {
            projects.write(name, "old");
        }
        const QStringList entries = projects.entries();
        FileBatch batch(projects.path(s_plant));
        QVERIFY(projects.add(batch, s_a, "new"));
        QVERIFY(projects.add(batch, name, "new"));
        const QStringList staged = projects.entries().filter(
            QRegularExpression(QStringLiteral("^plant/process/.*\\.new$")));
        QCOMPARE(staged.size(), 1);
        QVERIFY(QFile::remove(projects.path(staged.first())));
        Diagnostic error;
        QVERIFY(!batch.commit(error));
        QVERIFY2(error.toString().startsWith(projects.path(name)
                                             + QStringLiteral(": cannot be written: ")),
                 qPrintable(error.toString()));
        QCOMPARE(projects.contents(), s_old);
        QCOMPARE(projects.entries(), entries);
    }

    void removesTheFoldersThatItMade_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("dropped") << QStringLiteral("drop");
        QTest::newRow("recovered") << QStringLiteral("recover");
        QTest::newRow("recovered through the other project") << QStringLiteral("network");
    }

    void removesTheFoldersThatItMade()
    {
        QFETCH(QString, how);
        const Projects projects;
        projects.makeFolder(QStringLiteral("plant/process/empty"));
        const QStringList entries = projects.entries();
        const QStringList names{QStringLiteral("plant/process/line1/pumps/p1.json"),
                                QStringLiteral("plant/process/line1/p2.json"),
                                QStringLiteral("plant/process/empty/p3.json"),
                                QStringLiteral("network/configuration/line1/p4.json")};
        if (how == QLatin1String("drop")) {
            FileBatch batch(projects.path(s_plant));
            for (const QString &name : names) {
                QVERIFY(projects.add(batch, name, "new"));
                QVERIFY(projects.add(batch, name, "newer"));
            }
        } else {
            const pid_t child = fork();
            if (child == 0) {
                FileBatch batch(projects.path(s_plant));
                for (const QString &name : names) {
                    projects.add(batch, name, "new");
                }
                _exit(0);
            }
            QCOMPARE(waitpid(child, nullptr, 0), child);
            QVERIFY(projects.entries() != entries);
            Diagnostic error;
            const QString opened = how == QLatin1String("network") ? s_network : s_plant;
            QCOMPARE(FileBatch::recover(projects.path(opened), error), FileBatch::Recovery::Undone);
            QCOMPARE(error.toString(), QString());
        }
        QCOMPARE(projects.entries(), entries);
    }

    void removesNoFolderOutsideItsProjects()
    {
        const Projects projects;
        projects.makeFolder(QStringLiteral("elsewhere/empty"));
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"folder\":\"../elsewhere/empty\"}\n{\"folder\":\"../network\"}\n");
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_plant), error), FileBatch::Recovery::Undone);
        QVERIFY(QFileInfo::exists(projects.path(QStringLiteral("elsewhere/empty"))));
    }

    // The project is reached through a link, and the folder is not there yet.
    void knowsANewFileByEachOfItsPaths()
    {
        const Projects projects;
        projects.link(QStringLiteral("link"), QStringLiteral("plant"));
        FileBatch batch(projects.path(s_plant));
        QVERIFY(projects.add(batch, QStringLiteral("link/process/line1/p.json"), "first"));
        QVERIFY(projects.add(batch, QStringLiteral("plant/process/line1/p.json"), "second"));
        Diagnostic error;
        QVERIFY2(batch.commit(error), qPrintable(error.toString()));
        QCOMPARE(projects.read(QStringLiteral("plant/process/line1/p.json")), QByteArray("second"));
    }

    void touchesNoFileOutsideItsProjects_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("state");
        for (const QByteArray &state : {QByteArray(), QByteArray("{\"state\":\"saved\"}\n")}) {
            const auto row = [&](const QByteArray &name) -> QTestData & {
                return QTest::newRow(name + (state.isEmpty() ? "" : ", saved"));
            };
            row("..") << QByteArray("../elsewhere/a.json") << state;
            row("absolute") << QByteArray("<folder>/elsewhere/a.json") << state;
            row("through a link") << QByteArray("configuration/link/a.json") << state;
        }
    }

    // A journal that somebody else made, who knows of files that a batch left elsewhere.
    void touchesNoFileOutsideItsProjects()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, state);
        const Projects projects;
        projects.write(QStringLiteral("elsewhere/a.json"), "theirs");
        projects.write(QStringLiteral("elsewhere/.configscript-0.new"), "of another file");
        projects.link(QStringLiteral("plant/configuration/link"),
                      QStringLiteral("../../elsewhere"));
        name.replace("<folder>", projects.path().toUtf8());
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"file\":\"" + name + "\"}\n" + state);
        Diagnostic error;
        FileBatch::recover(projects.path(s_plant), error);
        QCOMPARE(projects.read(QStringLiteral("elsewhere/a.json")), QByteArray("theirs"));
        QVERIFY(QFile::exists(projects.path(QStringLiteral("elsewhere/.configscript-0.new"))));
        QVERIFY(!error.message.isEmpty());
    }

    // The other project's journal is removed first; the crash comes before the own one's turn.
    void endsWhenTheOtherProjectPointsBackNoMore()
    {
        const Projects projects;
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"alsoIn\":\"../network\"}\n"
                       "{\"file\":\"../network/configuration/bus.json\"}\n"
                       "{\"state\":\"saved\"}\n");
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_plant), error), FileBatch::Recovery::Finished);
        QCOMPARE(error.toString(), QString());
        QVERIFY(!FileBatch::isInterrupted(projects.path(s_plant)));
        QCOMPARE(projects.contents(), s_old);
    }

    void leavesAnotherBatchsJournal()
    {
        const Projects projects;
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"alsoIn\":\"../network\"}\n{\"state\":\"saved\"}\n");
        projects.write(QStringLiteral("network/.configscript-journal"),
                       "{\"belongsTo\":\"../third\"}\n");
        Diagnostic error;
        FileBatch::recover(projects.path(s_plant), error);
        QVERIFY(FileBatch::isInterrupted(projects.path(s_network)));
    }

    void endsWhenJournalsPointToEachOther()
    {
        const Projects projects;
        projects.write(QStringLiteral("plant/.configscript-journal"),
                       "{\"belongsTo\":\"../network\"}\n");
        projects.write(QStringLiteral("network/.configscript-journal"),
                       "{\"belongsTo\":\"../plant\"}\n");
        Diagnostic error;
        FileBatch::recover(projects.path(s_plant), error);
        QCOMPARE(projects.contents(), s_old);
    }

    void keepsAJournalThatItDoesNotUnderstand()
    {
        const Projects projects;
        projects.write(QStringLiteral("plant/.configscript-journal"), "{\"state\":\"later\"}\n");
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_plant), error), FileBatch::Recovery::Nothing);
        QVERIFY(!error.message.isEmpty());
        QVERIFY(FileBatch::isInterrupted(projects.path(s_plant)));
    }

    // Finished or not, it does not say before the owner's journal can be read.
    void saysNothingWhileTheOwnersJournalCannotBeRead()
    {
        const Projects projects;
        projects.write(QStringLiteral("plant/.configscript-journal"), "{\"state\":\"later\"}\n");
        projects.write(QStringLiteral("network/.configscript-journal"),
                       "{\"belongsTo\":\"../plant\"}\n");
        Diagnostic error;
        QCOMPARE(FileBatch::recover(projects.path(s_network), error), FileBatch::Recovery::Nothing);
        QVERIFY(!error.message.isEmpty());
        QVERIFY(FileBatch::isInterrupted(projects.path(s_network)));
    }
};

QTEST_GUILESS_MAIN(FileBatchTest)

#include "FileBatchTest.moc"
