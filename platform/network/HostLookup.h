#pragma once

#include <QString>

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace lumvik {

/// A numerical address and port in the form that the socket functions take.
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
    temporary, ///< No name server was reachable, or none could answer at the moment.
};

/// The addresses of a name, in order of preference, or the error.
using LookupResult = tl::expected<std::vector<SocketAddress>, LookupError>;

/// Finds the addresses of a name. An empty result counts as `noSuchName`. The resolver may block
/// indefinitely. Because it runs on a detached thread, it must not use anything that is destroyed
/// when the process exits.
using NameResolver = std::function<LookupResult(const std::string &name, std::uint16_t port)>;

/// Resolves a name as the system is configured to: hosts file, DNS and so on. The result includes
/// addresses of families for which the machine itself has no address. Without those addresses,
/// every name would appear not to exist while there is no network, although its host is only
/// unreachable.
[[nodiscard]] LookupResult resolveWithSystem(const std::string &name, std::uint16_t port);

/// Translates a getaddrinfo error code other than 0.
[[nodiscard]] LookupError lookupError(int number);

/// Returns the address that `host` spells out: IPv4, or IPv6 without brackets and optionally with a
/// scope ("fe80::1%eth0"). The result is empty if `host` is a name or if its scope is not an
/// existing interface. Does not block.
[[nodiscard]] std::vector<SocketAddress> numericalAddresses(const QString &host,
                                                            std::uint16_t port);

/// Returns whether `host` is a link-local address with a scope ("fe80::1%eth0").
[[nodiscard]] bool isScopedAddress(const QString &host);

/// The maximum number of concurrent look-ups.
inline constexpr int lookupLimit = 32;

/// Looks `host` up on a detached thread and calls `found` on it. Not even process exit waits for
/// this thread, because an unresponsive name server can delay a look-up for half a minute.
///
/// Qt's look-up is not used, because its threads are joined when the application object is
/// destroyed, and because a second look-up of the same name waits for the first.
///
/// Returns whether the look-up has started. A look-up is refused while `lookupLimit` others are
/// running.
[[nodiscard]] bool lookUpHost(const QString &host, std::uint16_t port, NameResolver resolver,
                              std::function<void(LookupResult)> found);

} // namespace lumvik
