#include "platform/HostLookup.h"

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

std::atomic_int lookupsUnderWay = 0;

std::vector<SocketAddress> addressesOf(const std::string &name, std::uint16_t port, int flags) {
    addrinfo hints = {};
    hints.ai_flags = flags | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *list = nullptr;
    if (::getaddrinfo(name.c_str(), std::to_string(port).c_str(), &hints, &list) != 0)
        return {};
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

std::vector<SocketAddress> resolveWithSystem(const std::string &name, std::uint16_t port) {
    return addressesOf(name, port, AI_ADDRCONFIG);
}

std::vector<SocketAddress> numericalAddresses(const QString &host, std::uint16_t port) {
    return addressesOf(host.toStdString(), port, AI_NUMERICHOST);
}

bool isScopedAddress(const QString &host) {
    const QHostAddress address(host);
    return address.isLinkLocal() && !address.scopeId().isEmpty();
}

bool lookUpHost(const QString &host, std::uint16_t port, NameResolver resolver,
                std::function<void(std::vector<SocketAddress>)> found) {
    if (lookupsUnderWay.fetch_add(1) >= lookupLimit) {
        --lookupsUnderWay;
        return false;
    }
    // An empty name is what comes of one that cannot be spelt for a name server.
    auto look = [name = QUrl::toAce(host).toStdString(), port, resolver = std::move(resolver),
                 found = std::move(found)]() mutable {
        found(name.empty() ? std::vector<SocketAddress>() : resolver(name, port));
        // What the callback holds must be gone before the look-up counts as over.
        found = nullptr;
        --lookupsUnderWay;
    };
    try {
        std::thread(std::move(look)).detach();
    } catch (const std::system_error &) {
        --lookupsUnderWay;
        return false;
    }
    return true;
}

} // namespace lumvik
