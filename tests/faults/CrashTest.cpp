#include "configscript/CommandTest.h"
#include "configscript/ScratchFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QTest>

#include <cerrno>
#include <cstdio>
#include <functional>

#include <sys/stat.h>

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

/// The files with their permissions.
Files stateOf(const QString &folder)
{
    Files state = readFiles(folder);
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
    QStringList arguments;
    int lines = 0;
    Files before;
    Files after;
    QStringList calls; ///< each one's name and paths; the first has the number 1

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

    /// The call from which on all files are replaced, and that is on the disk.
    int end() const { return first(QStringLiteral("^unlink "), last(QStringLiteral("^rename "))); }
};

const QString s_resolve = QStringLiteral("resolve");
const QString s_resolveMany = QStringLiteral("resolve with many files");
const QString s_run = QStringLiteral("run --write");
const QString s_resolveInPlace = QStringLiteral("resolve --in-place --write");

Scenario newScenario(const QString &name)
{
    Scenario scenario;
    scenario.arguments = QStringList{s_resolve, s_plant};
    scenario.lines = name == s_resolveMany ? s_manyLines : 2;
    if (name == s_run) {
        scenario.arguments = QStringList{QStringLiteral("run"), s_plant, line(1),
                                         QStringLiteral("onOk"), QStringLiteral("--write")};
    } else if (name == s_resolveInPlace) {
        scenario.arguments = QStringList{s_resolve,
                                         QStringLiteral("--in-place"),
                                         QStringLiteral("plant/configuration/line2.json"),
                                         QStringLiteral("--instance"),
                                         line(2),
                                         QStringLiteral("--write")};
    }
    return scenario;
}

} // namespace

/// A run of the program in which any one call to the file system goes wrong.
class CrashTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

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
    void survivesACrashWhileItUndoes();
    void survivesACrashOfTheRecovery_data();
    void survivesACrashOfTheRecovery();
    void survivesAFailureOfTheRecovery_data();
    void survivesAFailureOfTheRecovery();
    void bringsFilesToTheDiskInOrder_data();
    void bringsFilesToTheDiskInOrder();

private:
    static void addRow(const QString &name, int error);
    const Scenario &scenario(const QString &name);

    void restore(const Scenario &scenario) const;
    ProgramRun run(const QStringList &arguments, const QString &faults = QString(),
                   QStringList *calls = nullptr) const;
    ProgramRun open(const QString &project, int variant, const QString &faults = QString(),
                    QStringList *calls = nullptr) const;

    void begin(const Scenario &scenario, const QStringList &calls, int number, const QString &how);
    void check(bool isTrue, const QString &problem);
    Files examineOpening(const Scenario &scenario, int variant);
    void examineNextRun(const Scenario &scenario);
    void examineCrash(const Scenario &scenario, const QString &faults, int variant);
    void examineFailure(const Scenario &scenario, const ProgramRun &run, int number, bool isBroken);
    bool report();
    static void addStages();
    static QString faultsOfStage(const Scenario &command);
    Files recover(const Scenario &command, const QString &faults, QStringList &calls) const;

    ScratchFolder m_folder;
    QHash<QString, Scenario> m_scenarios;
    QString m_point; ///< what is tried
    QStringList m_problems;
    int m_points = 0;
    int m_old = 0; ///< points after which the files were as before
    int m_new = 0;
};

void CrashTest::cleanup()
{
    m_problems.clear();
    m_points = m_old = m_new = 0;
    CommandTest::cleanup();
}

const Scenario &CrashTest::scenario(const QString &name)
{
    Scenario &known = m_scenarios[name];
    if (known.calls.isEmpty()) {
        known = newScenario(name);
        restore(known);
        known.before = stateOf(m_folder.path());
        const ProgramRun plain = run(known.arguments, QString(), &known.calls);
        known.after = stateOf(m_folder.path());
        if (plain.exitCode != 0 || known.calls.isEmpty() || known.before == known.after
            || known.before.keys() != known.after.keys()) {
            qFatal("%s did not work: %s%s", qPrintable(name), qPrintable(plain.output),
                   qPrintable(plain.errors));
        }
    }
    for (auto it = known.before.cbegin(); it != known.before.cend(); ++it) {
        const QByteArray after = known.after.value(it.key());
        if (after.left(after.indexOf('\n')) != it->left(it->indexOf('\n'))) {
            qFatal("%s does not keep the permissions of %s", qPrintable(name),
                   qPrintable(it.key()));
        }
    }
    return known;
}

/// The projects as they were before the command.
void CrashTest::restore(const Scenario &scenario) const
{
    for (const QString &project : {s_plant, s_network}) {
        QDir(m_folder.path(project)).removeRecursively();
    }
    writeFiles(m_folder.path(), projects(scenario.lines));
    // Not what new files get.
    QFile::setPermissions(m_folder.path(QStringLiteral("plant/configuration/line1.json")),
                          QFile::ReadOwner | QFile::WriteOwner);
    QFile::setPermissions(m_folder.path(QStringLiteral("network/process/bus.json")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup
                              | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther);
}

ProgramRun CrashTest::run(const QStringList &arguments, const QString &faults,
                          QStringList *calls) const
{
    Program program(m_folder.path());
    program.setVariable(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0")); // the same each time
    if (faults.isEmpty() && !calls) {
        return program.run(arguments);
    }
    const QTemporaryDir logFolder;
    const QString log = logFolder.filePath(QStringLiteral("calls"));
    program.setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral(FAULTY_CALLS));
    program.setVariable(QStringLiteral("FAULTS_BELOW"), m_folder.path());
    program.setVariable(QStringLiteral("FAULTS"), faults);
    if (calls) {
        program.setVariable(QStringLiteral("FAULTS_LOG"), log);
    }
    const ProgramRun result = program.run(arguments);
    QFile file(log);
    if (calls && file.open(QFile::ReadOnly)) {
        *calls = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    return result;
}

/// Any command that changes nothing of its own accord.
ProgramRun CrashTest::open(const QString &project, int variant, const QString &faults,
                           QStringList *calls) const
{
    static const QVector<QStringList> commands{
        {QStringLiteral("list")}, {QStringLiteral("check")}, {s_resolve, QStringLiteral("-n")}};
    return run(commands.at(variant % commands.size()) + QStringList{project}, faults, calls);
}

/// The next point: one of the calls, and how it goes wrong.
void CrashTest::begin(const Scenario &scenario, const QStringList &calls, int number,
                      const QString &how)
{
    ++m_points;
    m_point = QStringLiteral("%1: %2, %3").arg(number).arg(calls.value(number - 1), how);
    restore(scenario);
}

void CrashTest::check(bool isTrue, const QString &problem)
{
    if (!isTrue) {
        m_problems.append(m_point + QStringLiteral(": ") + problem);
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
        "files are saved now|before it saved; none of its files is changed)\n$"));
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
        const Files files = part(withoutLock(stateOf(m_folder.path())), project);
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
    const Files left = withoutLock(stateOf(m_folder.path()));
    m_old += left == scenario.before ? 1 : 0;
    m_new += left == scenario.after ? 1 : 0;
    check(left == scenario.before || left == scenario.after, QStringLiteral("the files are mixed"));
    return left;
}

/// The command works again, and leaves nothing behind.
void CrashTest::examineNextRun(const Scenario &scenario)
{
    const ProgramRun next = run(scenario.arguments);
    check(next.exitCode == 0,
          QStringLiteral("the next run ends with %1 and says \"%2\"")
              .arg(next.exitCode)
              .arg(next.errors.trimmed()));
    check(stateOf(m_folder.path()) == scenario.after,
          QStringLiteral("after the next run, not new: ")
              + differingNames(scenario.after, stateOf(m_folder.path())));
}

void CrashTest::examineCrash(const Scenario &scenario, const QString &faults, int variant)
{
    const ProgramRun crashed = run(scenario.arguments, faults);
    check(crashed.exitCode == s_crashed,
          QStringLiteral("it does not crash, but ends with %1").arg(crashed.exitCode));
    examineOpening(scenario, variant);
    if (variant % 3 == 0 || variant < 6) {
        examineNextRun(scenario);
    }
}

/// @param number of the call that failed
/// @param isBroken whether none worked any more, so that nothing could be undone, either
void CrashTest::examineFailure(const Scenario &scenario, const ProgramRun &run, int number,
                               bool isBroken)
{
    static const QRegularExpression message(
        QStringLiteral("<folder>/(plant|network)(/[^\\n:]*)?: cannot be (written|locked): "));
    const QString call = scenario.calls.value(number - 1);
    const bool isLock = call.endsWith(QLatin1String(".configscript-lock"))
        || call.contains(QLatin1String(".configscript-lock "));
    const Files left = examineOpening(scenario, number);
    // What can be done without, or in another way. To close what was written may fail its writing.
    const bool isSpared = isLock || call.startsWith(QLatin1String("link "))
        || (call.startsWith(QLatin1String("close "))
            && !scenario.calls.value(number - 2).startsWith(QLatin1String("write ")))
        || number >= scenario.end();
    const QString said = (run.errors + run.output).section(QStringLiteral("NOT WRITTEN"), 1, 1);
    const QString result =
        QStringLiteral("it ends with %1 and says \"%2\"")
            .arg(run.exitCode)
            .arg((said.isEmpty() ? run.errors + run.output : said).trimmed().left(300));
    switch (run.exitCode) {
    case 0:
        check(isSpared, QStringLiteral("nobody notices"));
        check(left == scenario.after, QStringLiteral("the files are not new, but ") + result);
        break;
    case 1:
        check(number < scenario.end(), QStringLiteral("all is done, but ") + result);
        if (isBroken && left == scenario.after) {
            check(!(run.output + run.errors).contains(QLatin1String("restored")),
                  QStringLiteral("that is not so, the files are new: ") + result);
        } else {
            check(left == scenario.before, QStringLiteral("the files are not old, but ") + result);
        }
        check((run.output + run.errors).contains(message),
              QStringLiteral("no file is named: ") + result);
        break;
    case 2:
        check(isLock, result);
        check(left == scenario.before, QStringLiteral("the files are not old, but ") + result);
        check(run.errors.contains(message), QStringLiteral("no file is named: ") + result);
        break;
    default:
        check(false, result);
    }
}

/// Fails when there were problems; tells how often what came out.
bool CrashTest::report()
{
    std::printf("       : %s(%s): %d points, %d old, %d new\n", QTest::currentTestFunction(),
                QTest::currentDataTag() ? QTest::currentDataTag() : "", m_points, m_old, m_new);
    std::fflush(stdout);
    if (m_problems.isEmpty() && m_points > 0) {
        return true;
    }
    QTest::qFail(qPrintable(QStringLiteral("%1 problems at %2 points\n%3")
                                .arg(m_problems.size())
                                .arg(m_points)
                                .arg(m_problems.mid(0, 20).join(QLatin1Char('\n')))),
                 __FILE__, __LINE__);
    return false;
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
    for (const QString &name : {s_resolve, s_resolveMany, s_run, s_resolveInPlace}) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void CrashTest::survivesACrash()
{
    QFETCH(QString, name);
    const Scenario &command = scenario(name);
    // Of many files, what happens to the third is as good as what happens to the twelfth.
    const QString calls = name == s_resolveMany
        ? QStringLiteral("^(?!.*/\\.configscript-(3|4|5|6|7|8|9|10|11)\\.)")
        : QString();
    for (int number = 0; (number = command.first(calls, number + 1)) > 0;) {
        begin(command, command.calls, number, QStringLiteral("crash"));
        examineCrash(command, fault(number, s_crash), number);
    }
    if (report()) {
        QVERIFY(m_old > 0 && m_new > 0);
    }
}

void CrashTest::survivesATornWrite_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : {s_resolve, s_run, s_resolveInPlace}) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void CrashTest::survivesATornWrite()
{
    QFETCH(QString, name);
    const Scenario &command = scenario(name);
    const QString write = QStringLiteral("^write ");
    for (int number = 0; (number = command.first(write, number + 1)) > 0;) {
        begin(command, command.calls, number, QStringLiteral("torn"));
        examineCrash(command, fault(number, QStringLiteral("torn")), number);
    }
    report();
}

void CrashTest::survivesAShortWrite_data()
{
    survivesATornWrite_data();
}

// Half is written, then there is space again: nobody may go on as if all were.
void CrashTest::survivesAShortWrite()
{
    QFETCH(QString, name);
    const Scenario &command = scenario(name);
    const QString write = QStringLiteral("^write ");
    for (int number = 0; (number = command.first(write, number + 1)) > 0;) {
        begin(command, command.calls, number, QStringLiteral("short"));
        const ProgramRun result = run(command.arguments, fault(number, QStringLiteral("short")));
        if (result.exitCode == 0) {
            check(examineOpening(command, number) == command.after,
                  QStringLiteral("the files are not new"));
        } else {
            examineFailure(command, result, number, false);
        }
    }
    report();
}

// What half a line in the journal is taken for shows when nobody can set it right any more.
void CrashTest::survivesACrashAfterAShortWrite()
{
    const Scenario &command = scenario(s_resolve);
    const QString write = QStringLiteral("^write .*-journal");
    const int middle = command.first(QStringLiteral("^rename .*network"));
    for (int number = 0; (number = command.first(write, number + 1)) > 0;) {
        for (const int crash : {number + 1, number + 2, number + 9, middle}) {
            if (crash > number) {
                begin(command, command.calls, number,
                      QStringLiteral("short, and crash at call %1").arg(crash));
                run(command.arguments,
                    fault(number, QStringLiteral("short")) + QLatin1Char(',')
                        + fault(crash, s_crash));
                examineOpening(command, number);
            }
        }
    }
    report();
}

void CrashTest::survivesAFailure_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");
    addRow(s_resolve, ENOSPC);
    addRow(s_resolve, EIO);
    addRow(s_resolve, EACCES);
    // What saves is the same: the errors take turns.
    addRow(s_resolveMany, 0);
    addRow(s_run, 0);
    addRow(s_resolveInPlace, 0);
}

void CrashTest::survivesAFailure()
{
    QFETCH(QString, name);
    QFETCH(int, error);
    const Scenario &command = scenario(name);
    // Many files are not synced as few are; all else is the same.
    const QString calls =
        name == s_resolveMany ? QStringLiteral("sync|^open .*[^wl]$|-journal") : QString();
    static const QVector<int> errors{ENOSPC, EIO, EACCES};
    for (int number = 0; (number = command.first(calls, number + 1)) > 0;) {
        const int current = error != 0 ? error : errors.at(number % errors.size());
        begin(command, command.calls, number, QString::fromUtf8(strerror(current)));
        examineFailure(command, run(command.arguments, fault(number, current)), number, false);
    }
    if (report()) {
        QVERIFY(m_old > 0 && m_new > 0);
    }
}

void CrashTest::survivesLastingFailures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");
    addRow(s_resolve, ENOSPC);
    addRow(s_resolve, EIO);
}

// A disk that is full stays full, and one that broke stays broken: until the next command.
void CrashTest::survivesLastingFailures()
{
    QFETCH(QString, name);
    QFETCH(int, error);
    const Scenario &command = scenario(name);
    for (int number = 1; number <= command.calls.size(); ++number) {
        begin(command, command.calls, number,
              QString::fromUtf8(strerror(error)) + QStringLiteral(" from here on"));
        const ProgramRun result =
            run(command.arguments, fault(number, QString::number(error) + QLatin1Char('+')));
        examineFailure(command, result, number, error == EIO);
    }
    report();
}

void CrashTest::survivesACrashWhileItUndoes()
{
    const Scenario &command = scenario(s_resolve);
    const int failing = command.last(QStringLiteral("^rename "));
    QStringList calls;
    restore(command);
    QCOMPARE(run(command.arguments, fault(failing, EIO), &calls).exitCode, 1);
    QVERIFY(calls.size() > failing);
    for (int number = failing + 1; number <= calls.size(); ++number) {
        begin(command, calls, number, QStringLiteral("crash while it undoes"));
        examineCrash(command, fault(failing, EIO) + QLatin1Char(',') + fault(number, s_crash),
                     number);
    }
    if (report()) {
        QVERIFY(m_old > 0);
    }
}

/// Faults that leave something to recover.
void CrashTest::addStages()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<bool>("isFailure"); // of that call, and a crash in the middle of undoing it
    QTest::addColumn<QString>("opened");
    const QString switchOver = QStringLiteral("^write plant/.configscript-journal .*replacing");
    const QString middle = QStringLiteral("^rename .*network");
    const QString cleanUp = QStringLiteral("^unlink network/.configscript-journal");
    QTest::newRow("collecting") << switchOver << false << s_plant;
    QTest::newRow("replacing") << middle << false << s_plant;
    QTest::newRow("replacing, the other project") << middle << false << s_network;
    QTest::newRow("cleaning up") << cleanUp << false << s_plant;
    QTest::newRow("undoing") << middle << true << s_plant;
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
    run(command.arguments, faults);
    const ProgramRun opening = open(opened, 0, QString(), &calls);
    if (opening.exitCode != 0 || opening.errors.isEmpty()) {
        qFatal("nothing to recover: %s", qPrintable(opening.errors));
    }
    return withoutLock(stateOf(m_folder.path()));
}

void CrashTest::survivesACrashOfTheRecovery_data()
{
    addStages();
}

void CrashTest::survivesACrashOfTheRecovery()
{
    QFETCH(QString, opened);
    const Scenario &command = scenario(s_resolve);
    const QString faults = faultsOfStage(command);
    QStringList calls;
    const Files recovered = recover(command, faults, calls);
    for (int number = 1; number <= calls.size(); ++number) {
        begin(command, calls, number, QStringLiteral("crash while it recovers"));
        QCOMPARE(run(command.arguments, faults).exitCode, s_crashed);
        check(open(opened, number, fault(number, s_crash)).exitCode == s_crashed,
              QStringLiteral("it does not crash"));
        check(examineOpening(command, number) == recovered,
              QStringLiteral("it is not recovered as without the second crash"));
    }
    report();
}

void CrashTest::survivesAFailureOfTheRecovery_data()
{
    addStages();
}

void CrashTest::survivesAFailureOfTheRecovery()
{
    static const QRegularExpression message(QStringLiteral(
        "^configscript: <folder>/(plant|network)[^\\n:]*: cannot be (read|written|locked): "
        "[^\\n]*\n$"));
    QFETCH(QString, opened);
    const Scenario &command = scenario(s_resolve);
    const QString faults = faultsOfStage(command);
    QStringList calls;
    const Files recovered = recover(command, faults, calls);
    for (int number = 1; number <= calls.size(); ++number) {
        begin(command, calls, number, QStringLiteral("failure while it recovers"));
        QCOMPARE(run(command.arguments, faults).exitCode, s_crashed);
        const ProgramRun opening = open(opened, number, fault(number, EIO));
        check(opening.exitCode == 0 || (opening.exitCode == 2 && opening.errors.contains(message)),
              QStringLiteral("it ends with %1 and says \"%2\"")
                  .arg(opening.exitCode)
                  .arg(opening.errors.trimmed()));
        check(examineOpening(command, number) == recovered,
              QStringLiteral("it is not recovered as without the failure"));
    }
    report();
}

void CrashTest::bringsFilesToTheDiskInOrder_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : {s_resolve, s_resolveMany, s_run}) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

// A process that ends takes nothing from the disk's cache; a loss of power does. So what must be on
// the disk before something else begins is looked for in the calls.
void CrashTest::bringsFilesToTheDiskInOrder()
{
    QFETCH(QString, name);
    const Scenario &command = scenario(name);
    const int replacing =
        command.first(QStringLiteral("^write plant/.configscript-journal .*replacing"));
    const int firstChange = command.first(QStringLiteral("^(link|rename) "));
    const int lastChange = command.last(QStringLiteral("^(link|rename) "));
    const int firstForgotten = command.first(QStringLiteral("^unlink "), lastChange);
    const int end = command.last(QStringLiteral("^unlink plant/.configscript-journal"));
    QVERIFY(0 < replacing && replacing < firstChange && lastChange < firstForgotten
            && firstForgotten < end);

    /// Whether a file or folder is synced by some call between two others.
    const auto isSynced = [&](int from, int to, const QString &path) {
        const int sync = command.first(
            QStringLiteral("^(fsync|fdatasync) %1$|^syncfs ").arg(QRegularExpression::escape(path)),
            from + 1);
        return from < sync && sync < to;
    };
    for (int number = 1; number <= command.calls.size(); ++number) {
        const QString &call = command.calls.at(number - 1);
        const QString path = call.section(QLatin1Char(' '), 1, 1);
        m_point = call;
        ++m_points;
        const QString folder = QFileInfo(path).path();
        if (call.startsWith(QLatin1String("write ")) && path.endsWith(QLatin1String(".new"))) {
            check(isSynced(number, replacing, path),
                  QStringLiteral("not synced before the switch-over is announced"));
            check(isSynced(number, replacing, folder),
                  QStringLiteral("its folder is not synced before the switch-over is announced"));
        } else if (call.startsWith(QLatin1String("create "))
                   && path.endsWith(QLatin1String("-journal"))) {
            check(isSynced(number, firstChange, folder),
                  QStringLiteral("its folder is not synced before the first file is replaced"));
        } else if (call.startsWith(QLatin1String("write "))
                   && path.endsWith(QLatin1String("-journal"))) {
            check(isSynced(number, number < replacing ? replacing : firstChange, path),
                  QStringLiteral("not synced before the next step"));
        } else if (call.startsWith(QLatin1String("rename "))) {
            check(isSynced(number, firstForgotten, folder),
                  QStringLiteral("its folder is not synced before the old files are forgotten"));
        } else if (call.startsWith(QLatin1String("unlink ")) && number > lastChange
                   && path.endsWith(QLatin1String(".old"))) {
            check(isSynced(number, end, folder),
                  QStringLiteral("its folder is not synced before the journal is removed"));
        }
    }
    report();
}

QTEST_GUILESS_MAIN(CrashTest)

#include "CrashTest.moc"
