#pragma once

#include "platform/network/NetworkState.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct nlmsghdr;

// Parses the kernel's rtnetlink messages about links, addresses and routes. `nlmsg_len` bytes of a
// message must be readable. The parsers never read beyond these bytes, whatever lengths the
// message's attributes claim.

namespace lumvik {

/// The content of a message about a link.
struct LinkMessage {
    int interfaceIndex = 0;  ///< Taken from the message without validation.
    int family = 0;          ///< AF_UNSPEC, or AF_BRIDGE in a message from a bridge about a port.
    std::uint32_t flags = 0; ///< IFF_ numbers.
    std::uint16_t hardwareType = 0; ///< One of the ARPHRD_ numbers.
    std::string name;               ///< Empty if the message contains none.
};

/// Returns nothing if the message is malformed.
[[nodiscard]] std::optional<LinkMessage> parsedLink(const nlmsghdr &message);

/// The content of a message about an address.
struct AddressMessage {
    int interfaceIndex = 0;
    InterfaceAddress address;
    std::uint32_t flags = 0; ///< IFA_F_ numbers.

    /// Returns whether the address can be used as a source. An IPv6 address cannot be used if
    /// another machine has the same address, or while the kernel checks whether one has. The kernel
    /// sends a new message at the end of the check. An optimistic address is usable even during the
    /// check.
    [[nodiscard]] bool isUsable() const;
};

/// Returns nothing if the message is malformed or concerns neither IPv4 nor IPv6.
[[nodiscard]] std::optional<AddressMessage> parsedAddress(const nlmsghdr &message);

/// Returns the default routes that the message describes. The result is empty if the message is
/// malformed or describes another kind of route: one to a specific destination, one in a table for
/// selected traffic only, or one that rejects traffic.
[[nodiscard]] std::vector<DefaultRoute> parsedDefaultRoutes(const nlmsghdr &message);

} // namespace lumvik
