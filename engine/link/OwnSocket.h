#pragma once

#include "platform/network/HostLookup.h"

namespace lumvik {

/// Returns whether a TCP socket of this process is bound to `address`, an address of the loopback
/// interface. With the address of a peer, this is the question whether the peer is this process.
[[nodiscard]] bool isOwnSocketAddress(const SocketAddress &address);

} // namespace lumvik
