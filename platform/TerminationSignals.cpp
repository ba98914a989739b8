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

int handlerSocket = -1; // the instance's m_handlerEnd, for the signal handler
std::atomic<bool> signalHasArrived = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler takes no locks");

/// Does only what is allowed in a signal handler: sets a flag and writes once. SA_RESETHAND has
/// already restored the default action, so a second signal ends the process.
void handleSignal(int) {
    signalHasArrived = true;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(handlerSocket, &byte, sizeof byte);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate) {
    signalHasArrived = false;
    int sockets[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, sockets) != 0)
        return;
    m_handlerEnd = FileDescriptor(sockets[0]);
    m_notifierEnd = FileDescriptor(sockets[1]);
    handlerSocket = m_handlerEnd.get();
    m_notifier = std::make_unique<QSocketNotifier>(m_notifierEnd.get(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this, terminate = std::move(terminate)] {
                         char bytes[16];
                         while (::read(m_notifierEnd.get(), bytes, sizeof bytes) > 0) {
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
}

bool TerminationSignals::haveArrived() noexcept {
    return signalHasArrived;
}

} // namespace lumvik
