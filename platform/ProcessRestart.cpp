#include "platform/ProcessRestart.h"

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
    if (arguments == nullptr)
        return;
    // A running timer and blocked signals would be inherited by the new instance. The timer would
    // end it, and a blocked signal could not end it any more.
    const itimerval none{};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigset_t empty;
    sigemptyset(&empty);
    sigprocmask(SIG_SETMASK, &empty, nullptr);
    close_range(STDERR_FILENO + 1, UINT_MAX, 0);
    execve("/proc/self/exe", arguments, environ);
}

} // namespace lumvik
