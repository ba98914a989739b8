#pragma once

#include "platform/network/NetworkPathMonitor.h"
#include "platform/network/NetworkState.h"

// The rules that decide which addresses, interfaces and routes count as a network that a camera can
// be reached through.

namespace lumvik {

/// Returns whether cameras can be reached from `address`. Cameras can be reached unless `address`
/// is a loopback, "any" or link-local IPv6 address. A link-local IPv4 address may be the only
/// address of a computer to which a camera is connected directly. A link-local IPv6 address,
/// however, exists on every interface, whether or not anything is connected to it.
[[nodiscard]] bool reachesCameras(const InterfaceAddress &address);

/// Returns the part of `state` that can carry traffic. The result contains the interfaces other
/// than loopback that are up, have carrier, and have either an address that reaches cameras or a
/// default route, along with these addresses and routes. Names are left out. No connection has a
/// reason to break while the returned part stays the same.
///
/// A bridge that connects only virtual interfaces, such as a container or virtual machine manager
/// creates, counts only if it has a default route. Such a bridge has an address whether or not the
/// machine is connected to anything, and gains carrier as soon as a guest starts.
[[nodiscard]] NetworkState usableNetwork(const NetworkState &state);

/// Returns the signature of `state`: satisfied if any interface is in use, together with the kinds
/// of interface in use.
[[nodiscard]] NetworkPathSignature networkPathSignature(const NetworkState &state);

} // namespace lumvik
