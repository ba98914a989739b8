#include "platform/ProcessRestart.h"

#include "platform/TerminationSignals.h"

#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>

namespace lumvik {

namespace {

std::atomic<char **> restartArguments = nullptr;

} // namespace

void requestRestart(char **argv) {
    restartArguments = argv;
}

void restartIfRequested() {
    char **arguments = restartArguments.load();
    if (arguments == nullptr || TerminationSignals::haveArrived())
        return;
    // The new instance would inherit a running timer, which would end it, and a set of blocked
    // signals, which could then not end it.
    const itimerval none{};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigset_t empty;
    sigemptyset(&empty);
    sigprocmask(SIG_SETMASK, &empty, nullptr);
    close_range(STDERR_FILENO + 1, UINT_MAX, 0);
    execve("/proc/self/exe", arguments, environ);
}

} // namespace lumvik
