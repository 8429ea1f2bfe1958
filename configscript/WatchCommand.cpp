#include "WatchCommand.h"

#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/process/ScriptWatchdog.h"
#include "configscript/process/Termination.h"
#include "configscript/report/Output.h"
#include "configscript/report/WatchReport.h"
#include "host/PropertyManagerConst.h"
#include "runner/watch/ProjectRounds.h"
#include "runner/watch/ProjectWatcher.h"

#include <CLI/CLI.hpp>

#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>

namespace {

constexpr int s_maximumRounds = 5; ///< one after the other, because scripts write
constexpr std::chrono::milliseconds s_lockInterval(500);

/// Makes and prints rounds until it is told to end.
class Watch
{
public:
    Watch(const Project &project, HostSession::Writing writing, ScriptGuard &guard,
          WatchReport report)
        : m_writing(writing)
        , m_watcher(project)
        , m_rounds(project, writing, guard)
        , m_report(report)
    {
        QObject::connect(&m_watcher, &ProjectWatcher::settled, &m_loop,
                         [this] { continueWatch(); });
        QObject::connect(&m_termination, &Termination::requested, &m_loop,
                         [this] { m_loop.quit(); });
        m_waiting.setSingleShot(true);
        m_waiting.setInterval(s_lockInterval);
        QObject::connect(&m_waiting, &QTimer::timeout, &m_loop, [this] { continueWatch(); });
    }

    /// @return the program's exit code
    int run()
    {
        QTimer::singleShot(0, &m_loop, [this] { continueWatch(); });
        return m_loop.exec();
    }

private:
    bool isWriting() const { return m_writing == HostSession::Writing::Files; }

    void continueWatch()
    {
        m_pending += m_watcher.takeChanges();
        tellPolling();
        if (m_isBegun && m_pending.isEmpty()) {
            return;
        }
        std::unique_ptr<ProjectLock> lock;
        if (isWriting() && QFileInfo(m_rounds.project().path()).isDir()) {
            lock = waitForLock();
            if (!lock) {
                m_waiting.start();
                return;
            }
        }
        Termination::setImmediate(!isWriting());
        const WatchReport::Content content = makeRounds();
        Termination::setImmediate(false);
        lock.reset();
        m_isBegun = true;
        m_report.print(m_rounds.project(), content, !isWriting());
        if (!Output::finish()) {
            m_loop.exit(ExitCode::failure);
        }
    }

    /// Says once whom it waits for. @return null when it has to be tried again
    std::unique_ptr<ProjectLock> waitForLock()
    {
        Diagnostic error;
        auto lock = lockProject(m_rounds.project(), error);
        if (!lock && m_lockError != error.message) {
            Output::error(QStringLiteral("waiting: ") + error.toString());
        }
        m_lockError = error.message;
        return lock;
    }

    WatchReport::Content makeRounds()
    {
        const Round before = m_rounds.last();
        WatchReport::Content content;
        content.changes = m_pending;
        QVector<ChangedTree> stored = m_isBegun ? m_rounds.next(m_pending) : m_rounds.begin();
        m_pending.clear();
        m_watcher.setProject(m_rounds.project());
        for (int round = 1; !stored.isEmpty(); ++round) {
            content.stored += stored;
            const QVector<FileChange> changes = m_watcher.takeChanges();
            if (round == s_maximumRounds) {
                giveUp(stored, changes, content.unsettled);
                break;
            }
            stored = m_rounds.next(changes);
            m_watcher.setProject(m_rounds.project());
        }
        content.difference = RoundDifference::between(before, m_rounds.last());
        if (!m_isBegun) {
            countParts(content);
        }
        return content;
    }

    /// Leaves what the scripts wrote last alone; what others changed meanwhile begins a new round.
    void giveUp(const QVector<ChangedTree> &stored, const QVector<FileChange> &changes,
                QStringList &unsettled)
    {
        QStringList files;
        for (const ChangedTree &tree : stored) {
            files.append(tree.identity.filePath);
            unsettled.append(m_rounds.project().relativePath(tree.identity.filePath));
        }
        unsettled.removeDuplicates();
        unsettled.sort();
        std::copy_if(
            changes.begin(), changes.end(), std::back_inserter(m_pending),
            [&files](const FileChange &change) { return !files.contains(change.filePath); });
        if (!m_pending.isEmpty()) {
            m_waiting.start();
        }
    }

    void countParts(WatchReport::Content &content) const
    {
        const Project &project = m_rounds.project();
        content.instances = project.instances(FileTree::Kind::Configuration).size();
        const QString scripts =
            PropertyManagerConst::getDependencyFolderPath(project.path()) + QLatin1Char('/');
        const QStringList files = m_watcher.files();
        content.scripts =
            int(std::count_if(files.begin(), files.end(), [&scripts](const QString &file) {
                return file.startsWith(scripts);
            }));
    }

    void tellPolling()
    {
        if (m_watcher.isPolling() && !m_isPollingTold
            && QFileInfo(m_rounds.project().path()).isDir()) {
            m_isPollingTold = true;
            Output::error(QStringLiteral(
                "the system cannot watch all files of the project (its limit is "
                "fs.inotify.max_user_watches); they are looked at every second instead"));
        }
    }

    const HostSession::Writing m_writing;
    QEventLoop m_loop;
    Termination m_termination;
    QTimer m_waiting;
    ProjectWatcher m_watcher;
    ProjectRounds m_rounds;
    WatchReport m_report;
    bool m_isBegun = false;
    bool m_isPollingTold = false;
    QString m_lockError; ///< told already
    QVector<FileChange> m_pending;
};

} // namespace

WatchCommand::WatchCommand(CLI::App &program)
    : Command(program, "watch",
              "Check and resolve a project while it is edited, and print what differs")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_flag("--write", m_isWriting, "Save what the scripts change");
    arguments().add_flag("--json", m_isJson, "Print a JSON object for each round, in a line");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());
}

int WatchCommand::run()
{
    m_limits.limitMemory();
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    ScriptWatchdog watchdog(m_limits.timeout());
    return Watch(*project,
                 m_isWriting ? HostSession::Writing::Files : HostSession::Writing::Nothing,
                 watchdog,
                 WatchReport(m_isJson ? WatchReport::Format::Json : WatchReport::Format::Text,
                             output))
        .run();
}
