#pragma once

#include "platform/network/NetworkPathMonitor.h"
#include "platform/network/NetworkState.h"

// The rules that decide which addresses, interfaces and routes count as a network that a camera can
// be reached through.

namespace lumvik {

/// Returns whether machines beyond the local link can be reached from `address`: it is not a
/// link-local, loopback or "any" address.
[[nodiscard]] bool reachesOtherNetworks(const InterfaceAddress &address);

/// Returns the part of `state` that can carry traffic. It contains the interfaces other than
/// loopback that are up, have carrier, and have either an address that reaches other networks or a
/// default route, along with these addresses and routes. Names are left out. While two states are
/// equal in this respect, no connection has a reason to break.
///
/// A bridge over virtual interfaces only, as container and virtual machine managers create them,
/// counts only with a default route. Such a bridge has an address whether or not the machine is
/// connected to anything, and gains carrier as soon as a guest starts.
[[nodiscard]] NetworkState usableNetwork(const NetworkState &state);

/// Returns the signature of `state`: satisfied if any interface is in use, together with the kinds
/// of interface in use.
[[nodiscard]] NetworkPathSignature networkPathSignature(const NetworkState &state);

} // namespace lumvik
