#include "LocalPort.h"

#include "platform/network/HostLookup.h"

#include <QtTest/QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace lumvik::test {

namespace {

constexpr int deadline = 20'000; // milliseconds

} // namespace

LocalPort::LocalPort(Behaviour behaviour, const char *address) {
    SocketAddress local = numericalAddresses(QString::fromLatin1(address), 0).at(0);
    m_listener = ::socket(local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    auto *generic = reinterpret_cast<sockaddr *>(&local.storage);
    m_isBound = ::bind(m_listener, generic, local.size) == 0 &&
                ::getsockname(m_listener, generic, &local.size) == 0;
    // The port stands at the same place in both kinds of address.
    m_port = ntohs(reinterpret_cast<sockaddr_in *>(generic)->sin_port);
    if (behaviour != Behaviour::refusing)
        m_isBound = m_isBound && ::listen(m_listener, behaviour == Behaviour::full ? 0 : 64) == 0;
    for (int n = 0; behaviour == Behaviour::full && n < 4; ++n) {
        m_fillers.push_back(
            ::socket(local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        ::connect(m_fillers.back(), generic, local.size);
    }
}

LocalPort::~LocalPort() {
    for (const int filler : m_fillers)
        ::close(filler);
    hangUp();
    ::close(m_listener);
}

bool LocalPort::accept() {
    hangUp();
    return QTest::qWaitFor(
        [this] {
            m_peer = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
            return m_peer >= 0;
        },
        deadline);
}

void LocalPort::takeAll() const {
    int peer = -1;
    while ((peer = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0)
        ::close(peer);
}

bool LocalPort::peerIsSilent() const {
    char byte = 0;
    return ::recv(m_peer, &byte, 1, 0) < 0 && errno == EAGAIN;
}

bool LocalPort::peerEnds() const {
    char byte = 0;
    ssize_t received = -1;
    return QTest::qWaitFor(
               [&] {
                   received = ::recv(m_peer, &byte, 1, 0);
                   return received >= 0 || errno != EAGAIN;
               },
               deadline) &&
           received == 0;
}

void LocalPort::hangUp() {
    if (m_peer >= 0)
        ::close(m_peer);
    m_peer = -1;
}

} // namespace lumvik::test
