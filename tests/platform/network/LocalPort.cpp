#include "LocalPort.h"

#include "platform/network/HostLookup.h"

#include <QtTest/QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>

namespace lumvik::test {

namespace {

constexpr int deadline = 20'000; // milliseconds

} // namespace

LocalPort::LocalPort(Behaviour behaviour, const char *address) {
    SocketAddress local = numericalAddresses(QString::fromLatin1(address), 0).at(0);
    m_listener =
        FileDescriptor(::socket(local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    auto *generic = reinterpret_cast<sockaddr *>(&local.storage);
    m_isBound = ::bind(m_listener.get(), generic, local.size) == 0 &&
                ::getsockname(m_listener.get(), generic, &local.size) == 0;
    // The port is at the same offset in IPv4 and IPv6 addresses.
    m_port = ntohs(reinterpret_cast<sockaddr_in *>(generic)->sin_port);
    if (behaviour != Behaviour::refusing)
        m_isBound =
            m_isBound && ::listen(m_listener.get(), behaviour == Behaviour::full ? 0 : 64) == 0;
    for (int n = 0; behaviour == Behaviour::full && n < 4; ++n) {
        m_fillers.emplace_back(
            ::socket(local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        ::connect(m_fillers.back().get(), generic, local.size);
    }
}

bool LocalPort::accept() {
    m_peer.reset();
    return QTest::qWaitFor(
        [this] {
            m_peer = FileDescriptor(
                ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            return m_peer.isOpen();
        },
        deadline);
}

void LocalPort::acceptAndCloseAll() const {
    while (FileDescriptor(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC)).isOpen()) {
    }
}

bool LocalPort::peerIsIdle() const {
    char byte = 0;
    return ::recv(m_peer.get(), &byte, 1, 0) < 0 && errno == EAGAIN;
}

bool LocalPort::peerEndsCleanly() const {
    char byte = 0;
    ssize_t received = -1;
    return QTest::qWaitFor(
               [&] {
                   received = ::recv(m_peer.get(), &byte, 1, 0);
                   return received >= 0 || errno != EAGAIN;
               },
               deadline) &&
           received == 0;
}

} // namespace lumvik::test
