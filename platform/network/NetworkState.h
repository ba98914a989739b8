#pragma once

#include "platform/network/NetworkPathMonitor.h"

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

// What is known of the machine's network, as plain values, and what follows from it for the viewer.
// Where the knowledge comes from is NetworkInterfaceTable's business.

namespace lumvik {

/// An IP address in network order; one of version 4 fills the first four bytes, the rest are zero.
using AddressBytes = std::array<std::uint8_t, 16>;

/// An address that an interface holds and can use.
struct InterfaceAddress {
    int family = 0; ///< AF_INET or AF_INET6.
    AddressBytes bytes{};
    std::uint8_t prefixLength = 0;

    /// Whether other machines than those on the same cable or in the same process can be spoken to
    /// from it: not link-local, not a loopback address, not "any".
    [[nodiscard]] bool reachesOthers() const;

    friend bool operator==(const InterfaceAddress &, const InterfaceAddress &) = default;
    friend bool operator<(const InterfaceAddress &a, const InterfaceAddress &b) {
        return std::tie(a.family, a.bytes, a.prefixLength) <
               std::tie(b.family, b.bytes, b.prefixLength);
    }
};

/// A network interface as the kernel last described it.
struct NetworkInterface {
    int index = 0; ///< The kernel's number for it; stays when the interface is renamed.
    std::string name;
    bool isUp = false;      ///< Switched on by the administrator.
    bool isRunning = false; ///< Has carrier, and can pass packets.
    bool isLoopback = false;
    bool isWireless = false;
    bool isBridge = false;
    bool bridgesHardware = false;            ///< Of a bridge: see SysfsInterfaceAttributes.
    std::uint16_t hardwareType = 0;          ///< One of the ARPHRD_ numbers.
    std::vector<InterfaceAddress> addresses; ///< Sorted.

    friend bool operator==(const NetworkInterface &, const NetworkInterface &) = default;
};

/// A way out of an interface for everything that has no route of its own. A route over several
/// interfaces is one of these for each.
struct DefaultRoute {
    int interfaceIndex = 0;
    int family = 0; ///< AF_INET or AF_INET6.
    std::uint32_t priority = 0;
    std::uint8_t typeOfService = 0;
    AddressBytes gateway{}; ///< Zero where the route needs none.
    AddressBytes source{};  ///< The address that the route prefers to send from; zero where none.

    friend bool operator==(const DefaultRoute &, const DefaultRoute &) = default;
    friend bool operator<(const DefaultRoute &a, const DefaultRoute &b) {
        return std::tie(a.interfaceIndex, a.family, a.priority, a.typeOfService, a.gateway,
                        a.source) < std::tie(b.interfaceIndex, b.family, b.priority,
                                             b.typeOfService, b.gateway, b.source);
    }
};

/// The machine's interfaces and its default routes.
struct NetworkState {
    std::vector<NetworkInterface> interfaces; ///< Sorted by index.
    std::vector<DefaultRoute> defaultRoutes;  ///< Sorted.

    friend bool operator==(const NetworkState &, const NetworkState &) = default;
};

/// What of `state` traffic can go through: the interfaces other than loopback that are up, have
/// carrier, and hold an address that reaches others or carry a default route; of those, such
/// addresses and the default routes. Names are left out. As long as two states are equal in this,
/// no connection has reason to break.
///
/// A bridge over nothing but virtual interfaces, as container and virtual machine managers make
/// them, needs a default route to count: it has its address whether or not the machine is connected
/// to anything, and carrier as soon as a guest is started.
[[nodiscard]] NetworkState networkInUse(const NetworkState &state);

/// The four answers for `state`: satisfied if anything is in use, and the kinds of what is in use.
[[nodiscard]] NetworkPathSignature networkPathSignature(const NetworkState &state);

} // namespace lumvik
