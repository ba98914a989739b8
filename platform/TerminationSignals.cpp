#include "platform/TerminationSignals.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

namespace lumvik {

namespace {

constexpr int handledSignals[] = {SIGTERM, SIGINT, SIGHUP};

int signalSockets[2] = {-1, -1}; // written by the handler, read by the notifier
std::atomic<bool> signalHasArrived = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler takes no locks");

/// Only what is allowed in a signal handler: a flag and one write. SA_RESETHAND has already put the
/// default action back, which is what makes a second signal final.
void handleSignal(int) {
    signalHasArrived = true;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalSockets[0], &byte, sizeof byte);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate) {
    signalHasArrived = false;
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalSockets) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(signalSockets[1], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [terminate = std::move(terminate)] {
                         char bytes[16];
                         while (::read(signalSockets[1], bytes, sizeof bytes) > 0) {
                         }
                         for (const int number : handledSignals)
                             std::signal(number, SIG_DFL);
                         terminate();
                     });
    struct sigaction action = {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int number : handledSignals)
        ::sigaction(number, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    if (!m_notifier)
        return;
    for (const int number : handledSignals)
        std::signal(number, SIG_DFL);
    m_notifier.reset();
    ::close(signalSockets[0]);
    ::close(signalSockets[1]);
}

bool TerminationSignals::haveArrived() noexcept {
    return signalHasArrived;
}

} // namespace lumvik
