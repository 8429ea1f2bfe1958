#include "configscript/CommandTest.h"
#include "configscript/ScratchFolder.h"

#include <QDataStream>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int s_crashed = 99; ///< the exit code of a program that FaultyCalls ended

/// How many lines make more files than are synced one by one.
constexpr int s_manyLines = 13;

const QString s_plant = QStringLiteral("plant");
const QString s_network = QStringLiteral("network");
const QString s_lock = QStringLiteral("plant/.configscript-lock");

QString line(int number)
{
    return QStringLiteral("line%1").arg(number);
}

/**
 * Two projects. The script of each line of the plant changes the line's configuration and process
 * description; the first one's those of the network's bus, too.
 */
Files projects(int lines)
{
    Files files{
        {QStringLiteral("plant/project.json"),
         "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\",\n"
         "  \"otherFiles\": { \"network\": \"../network\" } }\n"},
        {QStringLiteral("plant/dependency/line1.js"),
         "function onSave(api, url) {\n"
         "  api.setPropertyExtern(url, \"speed\", 1500);\n"
         "  api.setPropertyExtern(\"process://pumps/plant/line1\", \"range\", [0, 1500]);\n"
         "  api.setPropertyExtern(\"config://pumps/network/bus\", \"participants\", 2);\n"
         "  api.setPropertyExtern(\"process://pumps/network/bus\", \"load\", 0.5);\n"
         "}\n"},
        {QStringLiteral("plant/dependency/line.js"),
         "function onSave(api, url) {\n"
         "  api.setPropertyExtern(url, \"speed\", 1500);\n"
         "}\n"},
        {QStringLiteral("plant/scripts/line.js"),
         "function onOk(api) {\n"
         "  api.setProperty(\"\", \"speed\", 1600);\n"
         "  api.setPropertyExtern(\"process://pumps/plant/line1\", \"range\", [0, 1600]);\n"
         "  api.setPropertyExtern(\"config://pumps/network/bus\", \"participants\", 3);\n"
         "  api.setPropertyExtern(\"process://pumps/network/bus\", \"load\", 0.75);\n"
         "}\n"},
        {QStringLiteral("plant/process/line1.json"),
         "{ \"properties\": { \"range\": [0, 1200] } }\n"},
        {QStringLiteral("network/project.json"),
         "{ \"moduleName\": \"pumps\", \"objectName\": \"network\" }\n"},
        {QStringLiteral("network/configuration/manifest.json"),
         "[ { \"dependencyFileExtern\": [] } ]\n"},
        {QStringLiteral("network/configuration/bus.json"),
         "{ \"properties\": { \"participants\": 1 } }\n"},
        {QStringLiteral("network/process/bus.json"), "{ \"properties\": { \"load\": 0.25 } }\n"},
    };
    QByteArrayList entries;
    for (int i = 1; i <= lines; ++i) {
        const QByteArray script = i == 1 ? "line1.js" : "line.js";
        files.insert(QStringLiteral("plant/configuration/%1.json").arg(line(i)),
                     "{ \"properties\": { \"dependencyFileExtern\": \"" + script
                         + "\", \"scriptFile\": \"line.js\", \"speed\": 1200 } }\n");
        entries.append("{ \"instanceName\": \"" + line(i).toUtf8() + "\" }");
    }
    files.insert(QStringLiteral("plant/configuration/manifest.json"),
                 "[ { \"dependencyFileExtern\": [ " + entries.join(", ") + " ] } ]\n");
    return files;
}

/// The files and folders with their permissions.
Files stateOf(const QString &folder)
{
    Files state = readFiles(folder);
    QDirIterator folders(folder, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (folders.hasNext()) {
        state.insert(QDir(folder).relativeFilePath(folders.next()), "folder");
    }
    for (auto it = state.begin(); it != state.end(); ++it) {
        struct stat status;
        if (::stat(QFile::encodeName(folder + QLatin1Char('/') + it.key()).constData(), &status)
            != 0) {
            qFatal("no file %s", qPrintable(it.key()));
        }
        it->prepend(QByteArray::number(status.st_mode & 07777, 8) + '\n');
    }
    return state;
}

Files part(const Files &state, const QString &project)
{
    Files files;
    for (auto it = state.cbegin(); it != state.cend(); ++it) {
        if (it.key().startsWith(project + QLatin1Char('/'))) {
            files.insert(it.key(), it.value());
        }
    }
    return files;
}

/// What differs, in short.
QString differingNames(const Files &expected, const Files &actual)
{
    QStringList names =
        differingFiles(expected, actual).keys() + differingFiles(actual, expected).keys();
    names.removeDuplicates();
    return names.join(QStringLiteral(", "));
}

/// Without the lock of a process that is gone, which nobody minds before the next one that writes.
Files withoutLock(Files state)
{
    state.remove(s_lock);
    return state;
}

/// Without what a second journal is made of; it is no journal, and goes when the run's own project
/// is opened.
Files withoutHalfJournal(Files state)
{
    static const QRegularExpression name(QStringLiteral("^network/\\.configscript-\\d+\\.new$"));
    for (const QString &halfJournal : state.keys().filter(name)) {
        state.remove(halfJournal);
    }
    return state;
}

/// Calls with the numbers of staged files as if the first one were 0.
QString withNumbersFromZero(QString calls)
{
    static const QRegularExpression numbered(QStringLiteral("\\.configscript-(\\d+)\\."));
    static const QRegularExpression firstOne(QStringLiteral("\"number\":\"(\\d+)\""));
    const QRegularExpressionMatch match = firstOne.match(calls);
    if (!match.hasMatch()) {
        return calls; // of a recovery
    }
    const qint64 number = match.captured(1).toLongLong();
    for (int begin = 0; (begin = calls.indexOf(numbered, begin)) >= 0; ++begin) {
        const QRegularExpressionMatch name = numbered.match(calls, begin);
        calls.replace(name.capturedStart(1), name.capturedLength(1),
                      QString::number(name.captured(1).toLongLong() - number));
    }
    return calls;
}

/// Tells a figure, among the results.
void tell(const QString &text)
{
    std::printf("       : %s(%s): %s\n", QTest::currentTestFunction(),
                QTest::currentDataTag() ? QTest::currentDataTag() : "", qPrintable(text));
    std::fflush(stdout);
}

/// A fault as FaultyCalls takes it.
QString fault(int number, const QString &how)
{
    return QStringLiteral("%1=%2").arg(number).arg(how);
}

QString fault(int number, int error)
{
    return fault(number, QString::number(error));
}

const QString s_crash = QStringLiteral("crash");

/// To sync takes no time in memory; everything else is as on a disk.
bool useMemory()
{
    return QFileInfo(QStringLiteral("/dev/shm")).isWritable() && qputenv("TMPDIR", "/dev/shm");
}

const bool s_isInMemory = useMemory(); // before any folder is made

/// A command that changes files, and what it does when nothing goes wrong.
struct Scenario
{
    QStringList launcher; ///< stands in front of the command
    QStringList arguments;
    int lines = 0;
    Files before;
    Files after;
    QStringList calls; ///< each one's name and paths; the first has the number 1

    QString call(int number) const { return calls.value(number - 1); }

    /// The first call from a number on that a pattern describes; 0 for none.
    int first(const QString &pattern, int from = 1) const
    {
        const QRegularExpression expression(pattern);
        int number = from;
        while (number <= calls.size() && !calls.at(number - 1).contains(expression)) {
            ++number;
        }
        return number <= calls.size() ? number : 0;
    }

    int last(const QString &pattern) const
    {
        int number = first(pattern);
        for (int next = number; next > 0; next = first(pattern, next + 1)) {
            number = next;
        }
        return number;
    }

    /// The call that takes the first file's place.
    int switchOver() const
    {
        return first(QStringLiteral("^(link|rename) .*\\.new -> .*/[^.][^/]*$"));
    }

    /// The call that says that all is saved.
    int saved() const { return first(QStringLiteral("^write .*-journal .*saved")); }

    /// The call from which on all files are replaced, and that is on the disk.
    int end() const { return first(QStringLiteral("^fsync .*-journal$"), saved()) + 1; }
};

const QString s_resolve = QStringLiteral("resolve");
const QString s_resolveOne = QStringLiteral("resolve in one project");
const QString s_resolveMany = QStringLiteral("resolve with many files");
const QString s_run = QStringLiteral("run --write");
const QString s_resolveInPlace = QStringLiteral("resolve --in-place --write");
const QString s_newFiles = QStringLiteral("a batch with new files and folders");

/// Those in which each call counts: many files go the way of few, but for syncing.
const QStringList s_wholeScenarios{s_resolve, s_resolveOne, s_run, s_resolveInPlace, s_newFiles};

Scenario newScenario(const QString &name)
{
    Scenario scenario;
    scenario.arguments = QStringList{s_resolve, s_plant};
    scenario.lines = name == s_resolveMany ? s_manyLines : 2;
    if (name == s_resolveOne) {
        scenario.arguments.append(line(2));
    } else if (name == s_run) {
        scenario.arguments = QStringList{QStringLiteral("run"), s_plant, line(1),
                                         QStringLiteral("onOk"), QStringLiteral("--write")};
    } else if (name == s_resolveInPlace) {
        scenario.arguments = QStringList{s_resolve,
                                         QStringLiteral("--in-place"),
                                         QStringLiteral("plant/configuration/line2.json"),
                                         QStringLiteral("--instance"),
                                         line(2),
                                         QStringLiteral("--write")};
    } else if (name == s_newFiles) {
        scenario.launcher = QStringList{QStringLiteral(NEW_FILES_WRITER)};
    }
    return scenario;
}

} // namespace

/// A run of the program in which any one call to the file system goes wrong.
class CrashTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void survivesACrash_data();
    void survivesACrash();
    void survivesATornWrite_data();
    void survivesATornWrite();
    void survivesAShortWrite_data();
    void survivesAShortWrite();
    void survivesACrashAfterAShortWrite();
    void survivesAFailure_data();
    void survivesAFailure();
    void survivesLastingFailures_data();
    void survivesLastingFailures();
    void survivesACrashWhileItUndoes_data();
    void survivesACrashWhileItUndoes();
    void survivesACrashOfTheRecovery_data();
    void survivesACrashOfTheRecovery();
    void survivesAFailureOfTheRecovery_data();
    void survivesAFailureOfTheRecovery();
    void bringsFilesToTheDiskInOrder_data();
    void bringsFilesToTheDiskInOrder();
    void cleanupTestCase();

private:
    /// What came out at the points that were tried.
    struct Results
    {
        QStringList problems;
        int points = 0;
        int old = 0; ///< points after which the files were as before
        int anew = 0; ///< points after which all of them were new
    };

    static void addRow(const QString &name, int error);
    const Scenario &scenario(const QString &name);

    void tryPoints(const std::function<void()> &tryAll);
    void restore(const Scenario &scenario) const;
    ProgramRun run(const Scenario &scenario, const QString &faults = QString(),
                   QStringList *calls = nullptr) const;
    ProgramRun run(Program program, const QStringList &arguments, const QString &faults,
                   QStringList *calls) const;
    ProgramRun open(const QString &project, int variant, const QString &faults = QString(),
                    QStringList *calls = nullptr) const;

    bool begin(const Scenario &scenario, const QStringList &calls, int number, const QString &how);
    void check(bool isTrue, const QString &problem);
    Files examineOpening(const Scenario &scenario, int variant);
    void examineNextRun(const Scenario &scenario);
    void examineCrash(const Scenario &scenario, const QString &faults, int variant);
    void examineFailure(const Scenario &scenario, const ProgramRun &run, int number,
                        bool isLasting);
    static bool isHarmless(const Scenario &scenario, int number, bool isLasting);
    static void addStages();
    static QString faultsOfStage(const Scenario &command);
    Files recover(const Scenario &command, const QString &faults, QStringList &calls) const;
    void tryRecovery(const QString &faultName, const QString &how,
                     const std::function<void(const ProgramRun &opening)> &checkOpening);

    std::unique_ptr<ScratchFolder> m_folder = std::make_unique<ScratchFolder>();
    QHash<QString, Scenario> m_scenarios;
    int m_share = 0; ///< of the points that are this process's to try, of m_shares
    int m_shares = 1;
    int m_candidates = 0;
    QString m_point; ///< what is tried
    Results m_results;
    int m_allPoints = 0;
};

/**
 * Tries points in several processes at once, each of which begins those of its share only. Fails
 * when there were problems; tells how often what came out.
 */
void CrashTest::tryPoints(const std::function<void()> &tryAll)
{
    m_shares = qBound(2, QThread::idealThreadCount(), 8);
    QVector<QPair<pid_t, int>> processes;
    for (m_share = 0; m_share < m_shares; ++m_share) {
        int ends[2];
        const pid_t process = ::pipe(ends) == 0 ? ::fork() : -1;
        if (process == 0) {
            ::close(ends[0]);
            m_folder.release(); // it is the parent's
            m_folder = std::make_unique<ScratchFolder>();
            m_scenarios.clear();
            m_candidates = 0;
            m_results = Results();
            tryAll();
            m_folder.reset();
            QFile pipe;
            const bool isOpen = pipe.open(ends[1], QFile::WriteOnly, QFile::AutoCloseHandle);
            QDataStream stream(&pipe);
            stream << m_results.problems << m_results.points << m_results.old << m_results.anew;
            pipe.close();
            ::_exit(isOpen ? 0 : 1);
        }
        ::close(ends[1]);
        processes.append({process, ends[0]});
    }
    Results sum;
    for (const auto &process : qAsConst(processes)) {
        QFile pipe;
        QVERIFY(process.first > 0
                && pipe.open(process.second, QFile::ReadOnly, QFile::AutoCloseHandle));
        const QByteArray bytes = pipe.readAll();
        int status = -1;
        QCOMPARE(::waitpid(process.first, &status, 0), process.first);
        QCOMPARE(status, 0);
        QDataStream stream(bytes);
        Results part;
        stream >> part.problems >> part.points >> part.old >> part.anew;
        QVERIFY(stream.status() == QDataStream::Ok);
        sum.problems += part.problems;
        sum.points += part.points;
        sum.old += part.old;
        sum.anew += part.anew;
    }
    m_results = sum;
    m_allPoints += sum.points;
    tell(QStringLiteral("%1 points: then %2 times as before, %3 times new")
             .arg(sum.points)
             .arg(sum.old)
             .arg(sum.anew));
    QVERIFY(sum.points > 0);
    QVERIFY2(sum.problems.isEmpty(),
             qPrintable(QStringLiteral("%1 problems at %2 points\n%3")
                            .arg(sum.problems.size())
                            .arg(sum.points)
                            .arg(sum.problems.mid(0, 20).join(QLatin1Char('\n')))));
}

void CrashTest::cleanupTestCase()
{
    tell(QStringLiteral("%1 points in all").arg(m_allPoints));
}

const Scenario &CrashTest::scenario(const QString &name)
{
    Scenario &known = m_scenarios[name];
    if (known.calls.isEmpty()) {
        known = newScenario(name);
        restore(known);
        known.before = stateOf(m_folder->path());
        const ProgramRun plain = run(known, QString(), &known.calls);
        known.after = stateOf(m_folder->path());
        if (plain.exitCode != 0 || known.switchOver() == 0 || known.saved() < known.switchOver()
            || known.end() <= known.saved() || known.before == known.after) {
            qFatal("%s did not work: %s%s", qPrintable(name), qPrintable(plain.output),
                   qPrintable(plain.errors));
        }
        for (auto it = known.before.cbegin(); it != known.before.cend(); ++it) {
            const QByteArray after = known.after.value(it.key());
            if (after.left(after.indexOf('\n')) != it->left(it->indexOf('\n'))) {
                qFatal("%s does not keep the permissions of %s", qPrintable(name),
                       qPrintable(it.key()));
            }
        }
    }
    return known;
}

/// The projects as they were before the command.
void CrashTest::restore(const Scenario &scenario) const
{
    for (const QString &project : {s_plant, s_network}) {
        QDir(m_folder->path(project)).removeRecursively();
    }
    writeFiles(m_folder->path(), projects(scenario.lines));
    // Not what new files get.
    QFile::setPermissions(m_folder->path(QStringLiteral("plant/configuration/line1.json")),
                          QFile::ReadOwner | QFile::WriteOwner);
    QFile::setPermissions(m_folder->path(QStringLiteral("network/process/bus.json")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup
                              | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther);
}

ProgramRun CrashTest::run(const Scenario &scenario, const QString &faults, QStringList *calls) const
{
    Program program(m_folder->path());
    program.setLauncher(scenario.launcher);
    return run(program, scenario.arguments, faults, calls);
}

ProgramRun CrashTest::run(Program program, const QStringList &arguments, const QString &faults,
                          QStringList *calls) const
{
    program.setVariable(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0")); // the same each time
    if (faults.isEmpty() && !calls) {
        return program.run(arguments);
    }
    const QTemporaryDir logFolder;
    const QString log = logFolder.filePath(QStringLiteral("calls"));
    program.setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral(FAULTY_CALLS));
    program.setVariable(QStringLiteral("FAULTS_BELOW"), m_folder->path());
    program.setVariable(QStringLiteral("FAULTS"), faults);
    if (calls) {
        program.setVariable(QStringLiteral("FAULTS_LOG"), log);
    }
    const ProgramRun result = program.run(arguments);
    QFile file(log);
    if (calls && file.open(QFile::ReadOnly)) {
        *calls = withNumbersFromZero(QString::fromUtf8(file.readAll()))
                     .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    return result;
}

/// Any command that changes nothing of its own accord.
ProgramRun CrashTest::open(const QString &project, int variant, const QString &faults,
                           QStringList *calls) const
{
    const QStringList list{QStringLiteral("list")}; // the quickest one
    static const QVector<QStringList> commands{list, list, {QStringLiteral("check")},
                                               list, list, {s_resolve, QStringLiteral("-n")}};
    return run(Program(m_folder->path()),
               commands.at(variant % commands.size()) + QStringList{project}, faults, calls);
}

/// The next point: one of the calls, and how it goes wrong.
/// @return false when it is another process's
bool CrashTest::begin(const Scenario &scenario, const QStringList &calls, int number,
                      const QString &how)
{
    if (m_candidates++ % m_shares != m_share) {
        return false;
    }
    ++m_results.points;
    m_point = QStringLiteral("%1: %2, %3").arg(number).arg(calls.value(number - 1), how);
    restore(scenario);
    return true;
}

void CrashTest::check(bool isTrue, const QString &problem)
{
    if (!isTrue) {
        m_results.problems.append(m_point + QStringLiteral(": ") + problem);
    }
}

/**
 * Opens a project after something went wrong, in half of the cases the other one first: what is
 * opened is whole, and in the end everything is as before or new.
 * @return how it is then
 */
Files CrashTest::examineOpening(const Scenario &scenario, int variant)
{
    static const QRegularExpression line(QStringLiteral(
        "^configscript: <folder>/(plant|network): a run was interrupted (while it saved; all its "
        "files are saved now|before all was saved; none of its files is changed)\n$"));
    const bool isNetworkFirst = variant % 2 == 1;
    for (const QString &project :
         isNetworkFirst ? QStringList{s_network, s_plant} : QStringList{s_plant}) {
        const ProgramRun opening = open(project, variant / 2);
        const QRegularExpressionMatch match = line.match(opening.errors);
        check(opening.exitCode == 0 && (opening.errors.isEmpty() || match.hasMatch()),
              QStringLiteral("opening %1 ends with %2 and says \"%3\"")
                  .arg(project)
                  .arg(opening.exitCode)
                  .arg(opening.errors.trimmed()));
        Files files = part(withoutLock(stateOf(m_folder->path())), project);
        if (project == s_network) {
            files = withoutHalfJournal(files);
        }
        const bool isOld = files == part(scenario.before, project);
        const bool isNew = files == part(scenario.after, project);
        check(isOld || isNew,
              QStringLiteral("%1, opened, is not old: %2; nor new: %3")
                  .arg(project, differingNames(part(scenario.before, project), files),
                       differingNames(part(scenario.after, project), files)));
        const bool isFinished = match.captured(2).startsWith(QLatin1String("while"));
        check(!match.hasMatch() || (isFinished ? isNew : isOld),
              QStringLiteral("that is not so: ") + opening.errors.trimmed());
    }
    const Files left = withoutLock(stateOf(m_folder->path()));
    m_results.old += left == scenario.before ? 1 : 0;
    m_results.anew += left == scenario.after ? 1 : 0;
    check(left == scenario.before || left == scenario.after, QStringLiteral("the files are mixed"));
    return left;
}

/// The command works again, and leaves nothing behind.
void CrashTest::examineNextRun(const Scenario &scenario)
{
    const ProgramRun next = run(scenario);
    check(next.exitCode == 0,
          QStringLiteral("the next run ends with %1 and says \"%2\"")
              .arg(next.exitCode)
              .arg(next.errors.trimmed()));
    check(stateOf(m_folder->path()) == scenario.after,
          QStringLiteral("after the next run, not new: ")
              + differingNames(scenario.after, stateOf(m_folder->path())));
}

void CrashTest::examineCrash(const Scenario &scenario, const QString &faults, int variant)
{
    const ProgramRun crashed = run(scenario, faults);
    check(crashed.exitCode == s_crashed,
          QStringLiteral("it does not crash, but ends with %1").arg(crashed.exitCode));
    examineOpening(scenario, variant);
    if (variant % 5 == 0) {
        examineNextRun(scenario);
    }
}

/// Whether a command can do without a call, so that it may succeed although the call failed.
bool CrashTest::isHarmless(const Scenario &scenario, int number, bool isLasting)
{
    static const QVector<QRegularExpression> harmless{
        // Who has the lock is told to those who wait only.
        QRegularExpression(QStringLiteral("^(ftruncate64|write) .*\\.configscript-lock")),
        QRegularExpression(QStringLiteral("^close .*\\.configscript-lock$")),
        // The old file is moved instead.
        QRegularExpression(QStringLiteral("^link .*\\.old$")),
        // What a second journal was made of: it is removed once more in the end.
        QRegularExpression(QStringLiteral("^unlink .*\\.configscript--1\\.(old|new)$")),
        // Nothing was written, or it is on the disk already.
        QRegularExpression(QStringLiteral("^close "))};
    const QString call = scenario.call(number);
    const bool isWrite = call.startsWith(QLatin1String("close "))
        && scenario.call(number - 1).startsWith(call.mid(6).prepend(QLatin1String("write ")));
    const bool isAlone = !isLasting && !isWrite
        && std::any_of(harmless.begin(), harmless.end(),
                       [&call](const QRegularExpression &kind) { return call.contains(kind); });
    // The line that says that all is saved holds, when it cannot be taken back any more.
    const bool isSaid = isLasting && number > scenario.saved();
    return isAlone || isSaid || number >= scenario.end();
}

/// @param number of the call that failed
/// @param isLasting whether none worked any more, so that nothing could be undone, either
void CrashTest::examineFailure(const Scenario &scenario, const ProgramRun &run, int number,
                               bool isLasting)
{
    static const QRegularExpression message(
        QStringLiteral("<folder>/(plant|network)(/[^\\n:]*)?: cannot be (written|locked): "));
    static const QRegularExpression lock(
        QStringLiteral("^(create|open|flock) .*\\.configscript-lock$"));
    const QString said = (run.errors + run.output).section(QStringLiteral("NOT WRITTEN"), 1, 1);
    const QString result =
        QStringLiteral("it ends with %1 and says \"%2\"")
            .arg(run.exitCode)
            .arg((said.isEmpty() ? run.errors + run.output : said).trimmed().left(300));
    const Files left = examineOpening(scenario, number);
    if (run.exitCode == 0) {
        check(isHarmless(scenario, number, isLasting), QStringLiteral("nobody notices"));
        check(left == scenario.after, QStringLiteral("the files are not new, but ") + result);
        return;
    }
    check(run.exitCode == (scenario.call(number).contains(lock) ? 2 : 1), result);
    check(number < scenario.end(), QStringLiteral("all is done, but ") + result);
    check(left == scenario.before, QStringLiteral("the files are not as before, but ") + result);
    check((run.output + run.errors).contains(message),
          QStringLiteral("no file is named: ") + result);
}

void CrashTest::addRow(const QString &name, int error)
{
    const QString row = error == 0 ? name
                                   : name + QStringLiteral(", ")
            + QString::fromLatin1(error == ENOSPC    ? "ENOSPC"
                                      : error == EIO ? "EIO"
                                                     : "EACCES");
    QTest::newRow(qPrintable(row)) << name << error;
}

void CrashTest::survivesACrash_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : s_wholeScenarios + QStringList{s_resolveMany}) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void CrashTest::survivesACrash()
{
    QFETCH(QString, name);
    // Of many files, what happens to the third is as good as what happens to the twelfth.
    const QString calls = name == s_resolveMany
        ? QStringLiteral("^(?!.*/\\.configscript-(3|4|5|6|7|8|9|10|11)\\.)")
        : QString();
    tryPoints([&] {
        const Scenario &command = scenario(name);
        for (int number = 0; (number = command.first(calls, number + 1)) > 0;) {
            if (begin(command, command.calls, number, QStringLiteral("crash"))) {
                examineCrash(command, fault(number, s_crash), number);
            }
        }
    });
    QVERIFY(m_results.old > 0 && m_results.anew > 0);
}

void CrashTest::survivesATornWrite_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : s_wholeScenarios) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void CrashTest::survivesATornWrite()
{
    QFETCH(QString, name);
    tryPoints([&] {
        const Scenario &command = scenario(name);
        const QString write = QStringLiteral("^write ");
        for (int number = 0; (number = command.first(write, number + 1)) > 0;) {
            if (begin(command, command.calls, number, QStringLiteral("torn"))) {
                examineCrash(command, fault(number, QStringLiteral("torn")), number);
            }
        }
    });
}

void CrashTest::survivesAShortWrite_data()
{
    survivesATornWrite_data();
}

// Half is written, then there is space again: nobody may go on as if all were.
void CrashTest::survivesAShortWrite()
{
    QFETCH(QString, name);
    tryPoints([&] {
        const Scenario &command = scenario(name);
        const QString write = QStringLiteral("^write ");
        for (int number = 0; (number = command.first(write, number + 1)) > 0;) {
            if (begin(command, command.calls, number, QStringLiteral("short"))) {
                const ProgramRun result = run(command, fault(number, QStringLiteral("short")));
                check(result.exitCode == 0, QStringLiteral("the rest is not written"));
                check(examineOpening(command, number) == command.after,
                      QStringLiteral("the files are not new"));
            }
        }
    });
}

// Half a line of the journal, and then: a full disk, or the end.
void CrashTest::survivesACrashAfterAShortWrite()
{
    tryPoints([&] {
        const Scenario &command = scenario(s_resolve);
        const QString write = QStringLiteral("^write .*-journal");
        for (int number = 0; (number = command.first(write, number + 1)) > 0;) {
            const QString isShort = fault(number, QStringLiteral("short")) + QLatin1Char(',');
            if (begin(command, command.calls, number, QStringLiteral("short, then a crash"))) {
                examineCrash(command, isShort + fault(number + 1, s_crash), number);
            }
            for (const char *error : {"28", "28+", "5+"}) { // ENOSPC, and EIO
                if (begin(command, command.calls, number,
                          QStringLiteral("short, then the error ") + QLatin1String(error))) {
                    examineFailure(command,
                                   run(command, isShort + fault(number + 1, QLatin1String(error))),
                                   number, true);
                }
            }
        }
    });
}

void CrashTest::survivesAFailure_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");
    for (const QString &name : s_wholeScenarios) {
        // What saves is the same for all: in others the errors take turns.
        const bool isShort = name == s_resolveOne || name == s_resolveInPlace;
        for (const int error :
             name == s_resolve || isShort ? QVector<int>{ENOSPC, EIO, EACCES} : QVector<int>{0}) {
            addRow(name, error);
        }
    }
    addRow(s_resolveMany, 0);
}

void CrashTest::survivesAFailure()
{
    QFETCH(QString, name);
    QFETCH(int, error);
    // Many files are not synced as few are; all else is the same.
    const QString calls =
        name == s_resolveMany ? QStringLiteral("sync|^open .*[^wl]$|-journal") : QString();
    static const QVector<int> errors{ENOSPC, EIO, EACCES};
    tryPoints([&] {
        const Scenario &command = scenario(name);
        for (int number = 0; (number = command.first(calls, number + 1)) > 0;) {
            const int current = error != 0 ? error : errors.at(number % errors.size());
            if (begin(command, command.calls, number, QString::fromUtf8(strerror(current)))) {
                examineFailure(command, run(command, fault(number, current)), number, false);
            }
        }
    });
    QVERIFY(m_results.old > 0 && m_results.anew > 0);
}

void CrashTest::survivesLastingFailures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");
    addRow(s_resolve, ENOSPC);
    addRow(s_resolve, EIO);
    addRow(s_newFiles, EIO);
}

// A disk that is full stays full, and one that broke stays broken: until the next command.
void CrashTest::survivesLastingFailures()
{
    QFETCH(QString, name);
    QFETCH(int, error);
    tryPoints([&] {
        const Scenario &command = scenario(name);
        for (int number = 1; number <= command.calls.size(); ++number) {
            if (begin(command, command.calls, number,
                      QString::fromUtf8(strerror(error)) + QStringLiteral(" from here on"))) {
                const ProgramRun result =
                    run(command, fault(number, QString::number(error) + QLatin1Char('+')));
                examineFailure(command, result, number, true);
            }
        }
    });
}

void CrashTest::survivesACrashWhileItUndoes_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow(qPrintable(s_resolve)) << s_resolve;
    QTest::newRow(qPrintable(s_newFiles)) << s_newFiles;
}

void CrashTest::survivesACrashWhileItUndoes()
{
    QFETCH(QString, name);
    tryPoints([&] {
        const Scenario &command = scenario(name);
        const int failing = command.saved();
        QStringList calls;
        restore(command);
        const ProgramRun undone = run(command, fault(failing, EIO), &calls);
        check(undone.exitCode == 1 && calls.size() > failing,
              QStringLiteral("nothing is undone: ") + undone.errors);
        for (int number = failing + 1; number <= calls.size(); ++number) {
            if (begin(command, calls, number, QStringLiteral("crash while it undoes"))) {
                examineCrash(command,
                             fault(failing, EIO) + QLatin1Char(',') + fault(number, s_crash),
                             number);
            }
        }
    });
    QVERIFY(m_results.old > 0 && m_results.anew == 0);
}

/// Faults that leave something to recover.
void CrashTest::addStages()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("call");
    QTest::addColumn<bool>("isFailure"); // of that call, and a crash in the middle of undoing it
    QTest::addColumn<QString>("opened");
    const QString switchOver = QStringLiteral("^fsync plant$");
    const QString middle = QStringLiteral("^rename .*network");
    const QString saved = QStringLiteral("^unlink plant/.*\\.old$");
    QTest::newRow("collecting") << s_resolve << switchOver << false << s_plant;
    QTest::newRow("replacing") << s_resolve << middle << false << s_plant;
    QTest::newRow("replacing, the other project") << s_resolve << middle << false << s_network;
    QTest::newRow("saved") << s_resolve << saved << false << s_plant;
    QTest::newRow("saved, the other project") << s_resolve << saved << false << s_network;
    QTest::newRow("undoing") << s_resolve << middle << true << s_plant;
    QTest::newRow("new files") << s_newFiles << QStringLiteral("^write .*saved") << false
                               << s_plant;
}

/// The faults of a row of addStages().
QString CrashTest::faultsOfStage(const Scenario &command)
{
    constexpr int middleOfUndoing = 8; // calls later
    QFETCH(QString, call);
    QFETCH(bool, isFailure);
    const int number = command.first(call);
    return isFailure
        ? fault(number, EIO) + QLatin1Char(',') + fault(number + middleOfUndoing, s_crash)
        : fault(number, s_crash);
}

/// How the files are when the project of a row of addStages() was opened after faults, and the
/// calls that made them so.
Files CrashTest::recover(const Scenario &command, const QString &faults, QStringList &calls) const
{
    QFETCH(QString, opened);
    restore(command);
    run(command, faults);
    const ProgramRun opening = open(opened, 0, QString(), &calls);
    if (opening.exitCode != 0 || opening.errors.isEmpty()) {
        qFatal("nothing to recover: %s", qPrintable(opening.errors));
    }
    return withoutLock(stateOf(m_folder->path()));
}

void CrashTest::survivesACrashOfTheRecovery_data()
{
    addStages();
}

void CrashTest::survivesACrashOfTheRecovery()
{
    tryRecovery(QStringLiteral("crash"), s_crash, [this](const ProgramRun &opening) {
        check(opening.exitCode == s_crashed, QStringLiteral("it does not crash"));
    });
}

void CrashTest::survivesAFailureOfTheRecovery_data()
{
    addStages();
}

void CrashTest::survivesAFailureOfTheRecovery()
{
    static const QRegularExpression message(QStringLiteral(
        "^configscript: <folder>/(plant|network)[^\\n]*: cannot be (read|written|locked): "
        "[^\\n]*\n$"));
    tryRecovery(QStringLiteral("failure"), QString::number(EIO), [this](const ProgramRun &opening) {
        check(opening.exitCode == 0 || (opening.exitCode == 2 && opening.errors.contains(message)),
              QStringLiteral("it ends with %1 and says \"%2\"")
                  .arg(opening.exitCode)
                  .arg(opening.errors.trimmed()));
    });
}

/// Breaks each call of a command that recovers what a crash left, and then recovers again.
void CrashTest::tryRecovery(const QString &faultName, const QString &how,
                            const std::function<void(const ProgramRun &opening)> &checkOpening)
{
    QFETCH(QString, name);
    QFETCH(QString, opened);
    tryPoints([&] {
        const Scenario &command = scenario(name);
        const QString faults = faultsOfStage(command);
        QStringList calls;
        const Files recovered = recover(command, faults, calls);
        for (int number = 1; number <= calls.size(); ++number) {
            if (begin(command, calls, number, faultName + QStringLiteral(" while it recovers"))) {
                check(run(command, faults).exitCode == s_crashed,
                      QStringLiteral("the command does not crash"));
                checkOpening(open(opened, number, fault(number, how)));
                check(examineOpening(command, number) == recovered,
                      QStringLiteral("it is not recovered as without the ") + faultName);
            }
        }
    });
}

void CrashTest::bringsFilesToTheDiskInOrder_data()
{
    survivesACrash_data();
}

// A process that ends takes nothing from the disk's cache; a loss of power does. So what must be on
// the disk before something else begins is looked for in the calls.
void CrashTest::bringsFilesToTheDiskInOrder()
{
    QFETCH(QString, name);
    const Scenario &command = scenario(name);
    const int switchOver = command.switchOver();
    const int saved = command.saved();
    const int firstForgotten = command.first(QStringLiteral("^unlink "), saved);
    const int end = command.last(QStringLiteral("^unlink plant/.configscript-journal"));
    QVERIFY(0 < switchOver && switchOver < saved && saved < firstForgotten && firstForgotten < end);

    /// That a file or folder is synced by some call between two others.
    const auto checkSynced = [&](int from, int to, const QString &path, const char *problem) {
        const int sync = command.first(
            QStringLiteral("^(fsync|fdatasync) %1$|^syncfs ").arg(QRegularExpression::escape(path)),
            from + 1);
        ++m_results.points;
        check(from < sync && sync < to, path + QLatin1String(problem));
    };
    m_results = Results();
    for (int number = 1; number <= command.calls.size(); ++number) {
        const QString &call = command.calls.at(number - 1);
        const QString kind = call.section(QLatin1Char(' '), 0, 0);
        const QString path = call.contains(QLatin1String(" -> "))
            ? call.section(QLatin1String(" -> "), 1)
            : call.section(QLatin1Char(' '), 1, 1);
        const QString folder = QFileInfo(path).path();
        m_point = call;
        if (path.endsWith(QLatin1String("-lock"))) {
            continue;
        }
        if (number < switchOver && kind == QLatin1String("write")) {
            checkSynced(number, switchOver, path, " is not synced before the switch-over");
        } else if (number < switchOver
                   && QStringList{QStringLiteral("create"), QStringLiteral("link"),
                                  QStringLiteral("mkdir")}
                          .contains(kind)) {
            checkSynced(number, switchOver, folder, " is not synced before the switch-over");
        } else if (number < saved
                   && (kind == QLatin1String("rename") || kind == QLatin1String("link"))) {
            checkSynced(number, saved, folder, " is not synced before all is called saved");
        } else if (number == saved) {
            checkSynced(number, firstForgotten, path,
                        " is not synced before old files are forgotten");
        } else if (number > saved && number != end && kind == QLatin1String("unlink")) {
            const int next = folder == s_network
                ? end // what pointed to the other journal
                : command.first(QStringLiteral("^unlink .*-journal"), number + 1);
            checkSynced(number, next, folder, " is not synced before a journal is removed");
        }
    }
    tell(QStringLiteral("%1 orders").arg(m_results.points));
    QVERIFY(m_results.points > 0);
    QVERIFY2(m_results.problems.isEmpty(), qPrintable(m_results.problems.join(QLatin1Char('\n'))));
}

TEST_CLASS(CrashTest)

#include "CrashTest.moc"
