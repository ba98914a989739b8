#pragma once

#include "platform/network/HostLookup.h"

#include <optional>

namespace lumvik {

/// Returns the descriptor of the TCP socket of this process that is bound to `address`, an address
/// of the loopback interface, or nothing if there is none. With the address of a peer, this is the
/// question whether the peer is this process.
[[nodiscard]] std::optional<int> ownSocketAt(const SocketAddress &address);

/// Returns how many bytes `descriptor` has received that were not read yet, or nothing if it is not
/// the socket that is bound to `address` any more.
[[nodiscard]] std::optional<qsizetype> unreadBytes(int descriptor, const SocketAddress &address);

} // namespace lumvik
