#include "platform/BusProbe.h"

#include "platform/FileDescriptor.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QStringList>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>

namespace lumvik {

namespace {

enum class BusState { responsive, absent, unresponsive };

struct LocalAddress {
    sockaddr_un address = {};
    socklen_t size = 0;
};

/// Returns the socket of an address such as "unix:path=/run/bus,guid=0123", or nothing for other
/// transports.
std::optional<LocalAddress> localAddress(const QString &busAddress) {
    const QString transport = QStringLiteral("unix:");
    if (!busAddress.startsWith(transport))
        return std::nullopt;
    for (const QString &pair : busAddress.mid(transport.size()).split(u',')) {
        const QString key = pair.section(u'=', 0, 0);
        const bool isAbstract = key == QStringLiteral("abstract");
        if (!isAbstract && key != QStringLiteral("path"))
            continue;
        QByteArray path = QByteArray::fromPercentEncoding(pair.section(u'=', 1).toUtf8());
        if (isAbstract)
            path.prepend('\0');
        LocalAddress local;
        local.address.sun_family = AF_UNIX;
        const auto length = static_cast<std::size_t>(path.size());
        if (length >= sizeof local.address.sun_path)
            return std::nullopt;
        std::memcpy(local.address.sun_path, path.constData(), length);
        local.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length +
                                            (isAbstract ? 0U : 1U));
        return local;
    }
    return std::nullopt;
}

/// Returns whether `descriptor` becomes readable or is closed by the peer before the deadline.
bool waitToRead(int descriptor, int abandon, const QDeadlineTimer &deadline) {
    pollfd descriptors[] = {{abandon, POLLIN, 0}, {descriptor, POLLIN, 0}};
    int changed = -1;
    do {
        changed = ::poll(descriptors, 2, static_cast<int>(deadline.remainingTime()));
    } while (changed < 0 && errno == EINTR);
    return changed > 0 && descriptors[0].revents == 0;
}

/// Waits briefly. Returns false if `abandon` became readable meanwhile.
bool pauseBriefly(int abandon) {
    pollfd descriptor = {abandon, POLLIN, 0};
    return ::poll(&descriptor, 1, 20) == 0;
}

BusState probe(int socket, const LocalAddress &local, int abandon, const QDeadlineTimer &deadline) {
    const auto *generic = reinterpret_cast<const sockaddr *>(&local.address);
    while (::connect(socket, generic, local.size) != 0) {
        // EAGAIN means that the bus's queue of pending connections is full.
        if (errno != EAGAIN && errno != EINTR)
            return BusState::absent;
        if (deadline.hasExpired() || !pauseBriefly(abandon))
            return BusState::unresponsive;
    }
    // The request is the first step of the D-Bus handshake, which needs no credentials. The reply
    // is not examined because the library repeats the handshake from the start.
    const QByteArray request("\0AUTH\r\n", 7);
    if (::send(socket, request.constData(), static_cast<std::size_t>(request.size()),
               MSG_NOSIGNAL) != request.size())
        return BusState::absent;
    if (!waitToRead(socket, abandon, deadline))
        return BusState::unresponsive;
    char byte = 0;
    return ::recv(socket, &byte, 1, 0) == 1 ? BusState::responsive : BusState::absent;
}

BusState probe(const QString &busAddress, int abandon, std::chrono::milliseconds limit) {
    const std::optional<LocalAddress> local = localAddress(busAddress);
    if (!local)
        return BusState::responsive;
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen())
        return BusState::absent;
    return probe(socket.get(), *local, abandon, QDeadlineTimer(limit));
}

} // namespace

tl::expected<QString, BusProblem> findResponsiveBus(const QString &busName,
                                                    const QString &addresses, int abandon,
                                                    std::chrono::milliseconds limit) {
    bool isUnresponsive = false;
    for (const QString &address : addresses.split(u';', Qt::SkipEmptyParts)) {
        switch (probe(address, abandon, limit)) {
        case BusState::responsive:
            return address;
        case BusState::unresponsive:
            isUnresponsive = true;
            break;
        case BusState::absent:
            break;
        }
    }
    const QString reason = isUnresponsive ? QStringLiteral("the %1 does not answer")
                                          : QStringLiteral("there is no %1");
    return tl::unexpected(BusProblem{isUnresponsive, reason.arg(busName)});
}

} // namespace lumvik
