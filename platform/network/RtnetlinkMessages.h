#pragma once

#include "platform/network/NetworkState.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct nlmsghdr;

// Reads the kernel's rtnetlink messages about links, addresses and routes. Of a message
// `nlmsg_len` bytes must be readable; nothing beyond them is read, whatever its attributes claim.

namespace lumvik {

/// What a message about a link tells.
struct LinkMessage {
    int interfaceIndex = 0;  ///< As the message has it, which may be no valid one.
    int family = 0;          ///< AF_UNSPEC, or AF_BRIDGE where a bridge speaks of one of its ports.
    std::uint32_t flags = 0; ///< IFF_ numbers.
    std::uint16_t hardwareType = 0; ///< One of the ARPHRD_ numbers.
    std::string name;               ///< Empty when the message does not tell.
};

/// None where the message is malformed.
[[nodiscard]] std::optional<LinkMessage> parsedLink(const nlmsghdr &message);

/// What a message about an address tells.
struct AddressMessage {
    int interfaceIndex = 0;
    InterfaceAddress address;
    std::uint32_t flags = 0; ///< IFA_F_ numbers.

    /// An address of version 6 cannot be sent from while the kernel still asks around whether
    /// another machine has it, nor when one has; the kernel tells when that changes. (An optimistic
    /// one can.)
    [[nodiscard]] bool isUsable() const;
};

/// None where the message is malformed, or about an address of another family than those of IP.
[[nodiscard]] std::optional<AddressMessage> parsedAddress(const nlmsghdr &message);

/// The default routes that the message is about; none if it is malformed, or about another route:
/// one that leads to a part of the world only, one of a table that only some traffic is sent to,
/// one that refuses.
[[nodiscard]] std::vector<DefaultRoute> parsedDefaultRoutes(const nlmsghdr &message);

} // namespace lumvik
