#include "UnresponsivePort.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lumvik::test {

UnresponsivePort::UnresponsivePort(Behaviour behaviour)
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    // A bound socket that does not listen refuses; one that listens accepts in the kernel, up to
    // the length of its queue, without anybody taking the connections out.
    bool ready =
        ::bind(m_socket, generic, size) == 0 && ::getsockname(m_socket, generic, &size) == 0;
    if (behaviour == Behaviour::silent)
        ready = ready && ::listen(m_socket, 128) == 0;
    EXPECT_TRUE(ready) << "no port of the loopback interface can be had";
    m_port = ntohs(address.sin_port);
}

UnresponsivePort::~UnresponsivePort() {
    ::close(m_socket);
}

QString UnresponsivePort::url() const {
    return QStringLiteral("rtsp://127.0.0.1:%1/none").arg(m_port);
}

} // namespace lumvik::test
