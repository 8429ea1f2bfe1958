#include "LastWords.h"

#include "configscript/process/ExitCode.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>

#include <sys/resource.h>
#include <unistd.h>

namespace {

// Everything is made beforehand: a dying process can do little.
std::array<char, 1024> s_script;
std::array<char, 128> s_outOfMemory;
std::uintptr_t s_stackBegin; ///< an address near the end where the stack begins
std::uintptr_t s_stackSize;

void say(const char *text)
{
    if (write(STDERR_FILENO, text, std::strlen(text)) < 0) {
        // There is nobody else to tell.
    }
}

[[noreturn]] void end(const char *reason)
{
    say("configscript: ");
    say(s_script.data());
    say(reason);
    _exit(ExitCode::failure);
}

bool isStackUsedUp(const siginfo_t &info)
{
    constexpr std::uintptr_t tolerance = 0x100000;
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    return info.si_signo == SIGSEGV && address < s_stackBegin
        && s_stackBegin - address < s_stackSize + tolerance;
}

void signalled(int signal, siginfo_t *info, void * /*context*/)
{
    const bool isScript = s_script[0] != '\0';
    if (isScript && isStackUsedUp(*info)) {
        end("what the script nests is too deep for its engine, which crashed. Nothing was "
            "written.\n");
    }
    if (s_outOfMemory[0] != '\0') {
        end(s_outOfMemory.data());
    }
    if (isScript) {
        end("the script crashed its engine. Nothing was written.\n");
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

[[noreturn]] void terminated()
{
    end(s_outOfMemory[0] != '\0' ? s_outOfMemory.data() : "out of memory\n");
}

} // namespace

void LastWords::prepare()
{
    static std::array<char, 0x4000> alternativeStack; // the thread's own may be used up
    s_stackBegin = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    rlimit limit{};
    getrlimit(RLIMIT_STACK, &limit);
    s_stackSize = limit.rlim_cur == RLIM_INFINITY ? s_stackBegin : limit.rlim_cur;

    stack_t stack{};
    stack.ss_sp = alternativeStack.data();
    stack.ss_size = alternativeStack.size();
    sigaltstack(&stack, nullptr);
    struct sigaction action
    {
    };
    action.sa_sigaction = signalled;
    action.sa_flags = SA_ONSTACK | SA_SIGINFO;
    for (const int signal : {SIGABRT, SIGBUS, SIGILL, SIGSEGV, SIGTRAP}) {
        sigaction(signal, &action, nullptr);
    }
    std::set_terminate(terminated);
}

void LastWords::memoryIsLimited(int megabytes)
{
    std::snprintf(s_outOfMemory.data(), s_outOfMemory.size(),
                  "out of memory: --memory allows %d MB\n", megabytes);
}

void LastWords::scriptBegins(const QString &description)
{
    std::snprintf(s_script.data(), s_script.size(), "%s: ", description.toUtf8().constData());
}

void LastWords::scriptEnds()
{
    s_script[0] = '\0';
}
