#include "UnresponsivePort.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace lumvik::test {

UnresponsivePort::UnresponsivePort(Behaviour behaviour)
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    // A bound socket that does not listen refuses connections. For a socket that listens, the
    // kernel establishes connections until the queue is full, although the program never accepts
    // them.
    bool ready = ::bind(m_socket.get(), generic, size) == 0 &&
                 ::getsockname(m_socket.get(), generic, &size) == 0;
    if (behaviour == Behaviour::unresponsive)
        ready = ready && ::listen(m_socket.get(), 128) == 0;
    EXPECT_TRUE(ready) << "no port of the loopback interface is available";
    m_port = ntohs(address.sin_port);
}

QString UnresponsivePort::url() const {
    return QStringLiteral("rtsp://127.0.0.1:%1/none").arg(m_port);
}

} // namespace lumvik::test
