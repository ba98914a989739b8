#include "UnresponsiveBus.h"

#include <QFile>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace lumvik::test {

UnresponsiveBus::UnresponsiveBus(Queue queue)
    : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path());
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    const auto *generic = reinterpret_cast<const sockaddr *>(&address);
    const int backlog = queue == Queue::full ? 0 : 8;
    m_isThere = ::bind(m_socket, generic, sizeof address) == 0 && ::listen(m_socket, backlog) == 0;
    if (queue == Queue::open)
        return;
    bool isFull = false;
    for (int &filler : m_fillers) {
        filler = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        isFull = ::connect(filler, generic, sizeof address) != 0;
    }
    m_isThere = m_isThere && isFull;
}

UnresponsiveBus::~UnresponsiveBus() {
    for (const int filler : m_fillers) {
        if (filler >= 0)
            ::close(filler);
    }
    ::close(m_socket);
}

QString UnresponsiveBus::address() const {
    return QStringLiteral("unix:path=") + path();
}

QString UnresponsiveBus::path() const {
    return m_folder.filePath(QStringLiteral("bus"));
}

} // namespace lumvik::test
