#include "platform/BusProbe.h"

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

enum class Answer { answers, absent, silent };

struct LocalAddress {
    sockaddr_un address = {};
    socklen_t size = 0;
};

/// The socket of an address such as "unix:path=/run/bus,guid=0123"; nothing for other transports.
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

/// Answers whether `descriptor` has something to read, or has ended, before the time is up.
bool waitToRead(int descriptor, int abandon, const QDeadlineTimer &deadline) {
    pollfd descriptors[] = {{abandon, POLLIN, 0}, {descriptor, POLLIN, 0}};
    int changed = -1;
    do {
        changed = ::poll(descriptors, 2, static_cast<int>(deadline.remainingTime()));
    } while (changed < 0 && errno == EINTR);
    return changed > 0 && descriptors[0].revents == 0;
}

/// Whether nothing came on `abandon` for a moment.
bool pauseBriefly(int abandon) {
    pollfd descriptor = {abandon, POLLIN, 0};
    return ::poll(&descriptor, 1, 20) == 0;
}

Answer greet(int socket, const LocalAddress &local, int abandon, const QDeadlineTimer &deadline) {
    const auto *generic = reinterpret_cast<const sockaddr *>(&local.address);
    while (::connect(socket, generic, local.size) != 0) {
        // The queue of those who want to talk to the bus is full.
        if (errno != EAGAIN && errno != EINTR)
            return Answer::absent;
        if (deadline.hasExpired() || !pauseBriefly(abandon))
            return Answer::silent;
    }
    // The first step of the bus's own handshake, which anybody may take; the answer is not looked
    // at, as the library will go through it all again.
    const QByteArray greeting("\0AUTH\r\n", 7);
    if (::send(socket, greeting.constData(), static_cast<std::size_t>(greeting.size()),
               MSG_NOSIGNAL) != greeting.size())
        return Answer::absent;
    if (!waitToRead(socket, abandon, deadline))
        return Answer::silent;
    char byte = 0;
    return ::recv(socket, &byte, 1, 0) == 1 ? Answer::answers : Answer::absent;
}

Answer greet(const QString &busAddress, int abandon, std::chrono::milliseconds limit) {
    const std::optional<LocalAddress> local = localAddress(busAddress);
    if (!local)
        return Answer::answers;
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0)
        return Answer::absent;
    const Answer answer = greet(socket, *local, abandon, QDeadlineTimer(limit));
    ::close(socket);
    return answer;
}

} // namespace

tl::expected<QString, BusProblem> findResponsiveBus(const QString &busName,
                                                    const QString &addresses, int abandon,
                                                    std::chrono::milliseconds limit) {
    bool isSilent = false;
    for (const QString &address : addresses.split(u';', Qt::SkipEmptyParts)) {
        switch (greet(address, abandon, limit)) {
        case Answer::answers:
            return address;
        case Answer::silent:
            isSilent = true;
            break;
        case Answer::absent:
            break;
        }
    }
    const QString reason =
        isSilent ? QStringLiteral("the %1 does not answer") : QStringLiteral("there is no %1");
    return tl::unexpected(BusProblem{isSilent, reason.arg(busName)});
}

} // namespace lumvik
