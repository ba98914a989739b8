#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

// Plain values that describe the network interfaces, addresses and routes of this machine. The
// values are maintained by NetworkInterfaceTable; UsableNetwork.h has the rules that judge them.

namespace lumvik {

/// An IP address in network byte order. An IPv4 address fills the first four bytes; the rest are
/// zero.
using AddressBytes = std::array<std::uint8_t, 16>;

/// A usable address of an interface.
struct InterfaceAddress {
    int family = 0; ///< AF_INET or AF_INET6.
    AddressBytes bytes{};
    std::uint8_t prefixLength = 0;

    friend bool operator==(const InterfaceAddress &, const InterfaceAddress &) = default;
    friend bool operator<(const InterfaceAddress &a, const InterfaceAddress &b) {
        return std::tie(a.family, a.bytes, a.prefixLength) <
               std::tie(b.family, b.bytes, b.prefixLength);
    }
};

/// A network interface as the kernel last described it.
struct NetworkInterface {
    int index = 0; ///< The kernel's index, which survives renaming.
    std::string name;
    bool isUp = false;      ///< Enabled by the administrator.
    bool isRunning = false; ///< Has carrier and can pass packets.
    bool isLoopback = false;
    bool isWireless = false;
    bool isBridge = false;
    bool bridgesHardware = false;            ///< For bridges: see SysfsInterfaceAttributes.
    std::uint16_t hardwareType = 0;          ///< One of the ARPHRD_ numbers.
    std::vector<InterfaceAddress> addresses; ///< Sorted.

    friend bool operator==(const NetworkInterface &, const NetworkInterface &) = default;
};

/// A default route through one interface. A route over several interfaces is represented by one
/// entry per interface.
struct DefaultRoute {
    int interfaceIndex = 0;
    int family = 0; ///< AF_INET or AF_INET6.
    std::uint32_t priority = 0;
    std::uint8_t typeOfService = 0;
    AddressBytes gateway{}; ///< Zero if the route needs none.
    AddressBytes source{};  ///< The preferred source address, or zero.

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

} // namespace lumvik
