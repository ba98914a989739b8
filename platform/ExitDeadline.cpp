#include "platform/ExitDeadline.h"

#include "platform/ProcessRestart.h"

#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace lumvik {

namespace {

extern "C" void exitNow(int) {
    restartIfRequested();
    // Only async-signal-safe functions may be called in a signal handler, and logging is not among
    // them.
    constexpr std::string_view message = "Lumvik exits without waiting any longer.\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, message.data(), message.size());
    _exit(EXIT_SUCCESS);
}

} // namespace

void endProcessWithin(double seconds) {
    static std::atomic_flag isArmed;
    if (isArmed.test_and_set())
        return;
    struct sigaction action {};
    action.sa_handler = exitNow;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, nullptr);
    itimerval limit{};
    limit.it_value.tv_sec = static_cast<time_t>(seconds);
    limit.it_value.tv_usec =
        static_cast<suseconds_t>((seconds - static_cast<double>(limit.it_value.tv_sec)) * 1e6);
    setitimer(ITIMER_REAL, &limit, nullptr);
}

} // namespace lumvik
