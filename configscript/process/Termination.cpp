#include "Termination.h"

#include "configscript/process/ExitCode.h"

#include <QSocketNotifier>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

int s_pipe[2] = {-1, -1};
volatile std::sig_atomic_t s_isImmediate = 0;

void signalled(int /*signal*/)
{
    const char byte = 0;
    if (s_isImmediate != 0 || write(s_pipe[1], &byte, 1) != 1) {
        _exit(ExitCode::success);
    }
}

void handle(void (*handler)(int))
{
    struct sigaction action
    {
    };
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | int(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaction(signal, &action, nullptr);
    }
}

} // namespace

Termination::Termination()
{
    if (pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) == 0) {
        m_notifier = std::make_unique<QSocketNotifier>(s_pipe[0], QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
            m_notifier->setEnabled(false);
            Q_EMIT requested();
        });
        handle(signalled);
    }
}

Termination::~Termination()
{
    handle(SIG_DFL);
    for (const int end : s_pipe) {
        close(end);
    }
}

void Termination::setImmediate(bool isImmediate)
{
    s_isImmediate = isImmediate ? 1 : 0;
}
