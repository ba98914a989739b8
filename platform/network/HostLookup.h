#pragma once

#include <QString>

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace lumvik {

/// A numerical address and port, as the socket calls take it.
struct SocketAddress {
    sockaddr_storage storage = {};
    socklen_t size = 0;

    [[nodiscard]] int family() const { return storage.ss_family; }
    [[nodiscard]] const sockaddr *generic() const {
        return reinterpret_cast<const sockaddr *>(&storage);
    }
};

enum class LookupError {
    noSuchName,
    notNow, ///< No name server could be asked, or it does not know at the moment.
};

/// The addresses of a name, the preferred one first.
using LookupResult = tl::expected<std::vector<SocketAddress>, LookupError>;

/// Finds the addresses of a name; none counts as no such name. May block for as long as it likes,
/// and runs on a thread that nobody waits for: it must touch nothing that ends with the process.
using NameResolver = std::function<LookupResult(const std::string &name, std::uint16_t port)>;

/// The system's own way of resolving names: hosts file, DNS and whatever else it is set up for.
/// Addresses of a kind that the machine has no address of itself are among them: with no network at
/// all every name would seem to have none, though it is only out of reach.
[[nodiscard]] LookupResult resolveWithSystem(const std::string &name, std::uint16_t port);

/// What an error number of getaddrinfo's means, other than 0.
[[nodiscard]] LookupError lookupError(int number);

/// The address that `host` spells out: IPv4, or IPv6 without brackets and perhaps with a scope
/// ("fe80::1%eth0"). None where it is a name, or its scope is no interface at the moment. Does not
/// block.
[[nodiscard]] std::vector<SocketAddress> numericalAddresses(const QString &host,
                                                            std::uint16_t port);

/// Whether `host` is a link-local address on a certain interface ("fe80::1%eth0").
[[nodiscard]] bool isScopedAddress(const QString &host);

/// How many look-ups may be under way at once.
inline constexpr int lookupLimit = 32;

/// Looks `host` up on a thread of its own, which nothing waits for, not even the end of the
/// process: a name server that does not answer holds a look-up for half a minute. `found` runs on
/// that thread.
///
/// This is why the toolkit's look-up is not used. Its threads are waited for when the application
/// object is destroyed, and a second look-up of a name waits for the first.
///
/// Answers whether the look-up has begun; it has not where `lookupLimit` are under way.
[[nodiscard]] bool lookUpHost(const QString &host, std::uint16_t port, NameResolver resolver,
                              std::function<void(LookupResult)> found);

} // namespace lumvik
