#include "engine/link/EnginePort.h"

#include "engine/link/OwnSocket.h"

#include <QSocketNotifier>
#include <QTimer>

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <utility>

namespace lumvik {

namespace {

/// How long the port waits before it accepts a connection again if there was no descriptor left.
constexpr std::chrono::milliseconds acceptPause{100};
/// How many connections may wait, because other programs may try the port before the engine.
constexpr int mostWaiting = 16;

} // namespace

void EnginePort::DeleteLater::operator()(QObject *notifier) const {
    notifier->disconnect();
    notifier->deleteLater();
}

std::unique_ptr<EnginePort> EnginePort::open() {
    FileDescriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (!listener.isOpen() || ::bind(listener.get(), generic, size) != 0 ||
        ::listen(listener.get(), mostWaiting) != 0 ||
        ::getsockname(listener.get(), generic, &size) != 0)
        return nullptr;
    return std::unique_ptr<EnginePort>(
        new EnginePort(std::move(listener), ntohs(address.sin_port)));
}

EnginePort::EnginePort(FileDescriptor listener, std::uint16_t number)
    : m_number(number)
    , m_listener(std::move(listener)) {}

EnginePort::~EnginePort() {
    close();
}

void EnginePort::listen(Handlers handlers) {
    m_handlers = std::move(handlers);
    m_notifier.reset(new QSocketNotifier(m_listener.get(), QSocketNotifier::Read));
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { accept(); });
}

void EnginePort::close() {
    if (m_notifier)
        m_notifier->setEnabled(false); // before its descriptor is closed
    m_notifier.reset();
    m_listener.reset();
}

void EnginePort::accept() {
    SocketAddress peer;
    peer.size = sizeof peer.storage;
    FileDescriptor descriptor(::accept4(m_listener.get(),
                                        reinterpret_cast<sockaddr *>(&peer.storage), &peer.size,
                                        SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!descriptor.isOpen()) {
        // The connection still waits, and without a pause the notifier would report it incessantly.
        m_notifier->setEnabled(false);
        QTimer::singleShot(acceptPause, m_notifier.get(),
                           [notifier = m_notifier.get()] { notifier->setEnabled(true); });
        return;
    }
    const std::optional<int> engineDescriptor = ownSocketAt(peer);
    if (!engineDescriptor) {
        if (!std::exchange(m_hasReportedIntruder, true) && m_handlers.intruderRefused)
            m_handlers.intruderRefused();
        return;
    }
    close();
    const auto accepted = std::move(m_handlers.accepted);
    accepted({.descriptor = std::move(descriptor),
              .engineDescriptor = *engineDescriptor,
              .engineSocket = peer});
}

} // namespace lumvik
