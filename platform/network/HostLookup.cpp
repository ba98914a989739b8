#include "platform/network/HostLookup.h"

#include <QHostAddress>
#include <QUrl>

#include <netdb.h>
#include <netinet/in.h>

#include <atomic>
#include <cstring>
#include <system_error>
#include <thread>

namespace lumvik {

namespace {

std::atomic_int runningLookups = 0;

LookupResult addressesOf(const std::string &name, std::uint16_t port, int flags) {
    addrinfo hints = {};
    hints.ai_flags = flags | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *list = nullptr;
    const int number = ::getaddrinfo(name.c_str(), std::to_string(port).c_str(), &hints, &list);
    if (number != 0)
        return tl::unexpected(lookupError(number));
    std::vector<SocketAddress> addresses;
    for (const addrinfo *entry = list; entry; entry = entry->ai_next) {
        if (entry->ai_addrlen > sizeof(sockaddr_storage))
            continue;
        SocketAddress address;
        address.size = entry->ai_addrlen;
        std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
        addresses.push_back(address);
    }
    ::freeaddrinfo(list);
    return addresses;
}

} // namespace

LookupResult resolveWithSystem(const std::string &name, std::uint16_t port) {
    return addressesOf(name, port, 0);
}

LookupError lookupError(int number) {
    return number == EAI_AGAIN ? LookupError::temporary : LookupError::noSuchName;
}

std::vector<SocketAddress> numericalAddresses(const QString &host, std::uint16_t port) {
    return addressesOf(host.toStdString(), port, AI_NUMERICHOST)
        .value_or(std::vector<SocketAddress>());
}

bool isScopedAddress(const QString &host) {
    const QHostAddress address(host);
    return address.isLinkLocal() && !address.scopeId().isEmpty();
}

bool lookUpHost(const QString &host, std::uint16_t port, NameResolver resolver,
                std::function<void(LookupResult)> found) {
    if (runningLookups.fetch_add(1) >= lookupLimit) {
        --runningLookups;
        return false;
    }
    // toAce returns an empty name if the name cannot be encoded for DNS.
    auto lookUp = [name = QUrl::toAce(host).toStdString(), port, resolver = std::move(resolver),
                   found = std::move(found)]() mutable {
        found(name.empty() ? LookupResult(tl::unexpected(LookupError::noSuchName))
                           : resolver(name, port));
        // Everything that the callback holds must be destroyed before the look-up counts as
        // finished.
        found = nullptr;
        --runningLookups;
    };
    try {
        std::thread(std::move(lookUp)).detach();
    } catch (const std::system_error &) {
        --runningLookups;
        return false;
    }
    return true;
}

} // namespace lumvik
