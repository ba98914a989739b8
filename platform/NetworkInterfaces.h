#pragma once

#include "platform/NetworkPathMonitor.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

struct nlmsghdr;

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
    bool bridgesHardware = false;            ///< Of a bridge: see InterfaceFacts.
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

/// What the kernel's messages do not tell of an interface.
struct InterfaceFacts {
    bool isWireless = false;
    bool isBridge = false;
    /// Of a bridge: whether a device of the machine is among its ports, or below one of them (a
    /// port may be a VLAN or a bond).
    bool bridgesHardware = false;
};

/// The facts that `folder`, laid out like /sys/class/net, holds about the interface of this name;
/// none where it does not know the name.
[[nodiscard]] InterfaceFacts interfaceFactsIn(const std::filesystem::path &folder,
                                              const std::string &name);

/// The facts that /sys/class/net holds.
[[nodiscard]] InterfaceFacts systemInterfaceFacts(const std::string &name);

/// Follows the kernel's rtnetlink messages about links, addresses and routes, one at a time.
///
/// The same messages announce changes and answer requests for a list. What the table knows and a
/// complete list does not mention is gone: `beginListing` before the list is asked for and
/// `endListing` after its last message remove it. Announcements may arrive in between. Belongs to
/// one thread.
class NetworkInterfaceTable {
  public:
    using FactSource = std::function<InterfaceFacts(const std::string &name)>;
    enum class Listing { links, addresses, routes };

    /// `factsOf` is asked about an interface at each of its link messages, and about all bridges
    /// at each link message: what joins or leaves a bridge is announced as a link.
    explicit NetworkInterfaceTable(FactSource factsOf = systemInterfaceFacts);

    /// Takes one message, of which `nlmsg_len` bytes must be readable. Malformed messages, and
    /// those about other things, change nothing.
    void apply(const nlmsghdr &message);

    void beginListing(Listing listing);
    void endListing();

    [[nodiscard]] const NetworkState &state() const { return m_state; }

  private:
    struct LinkMessage;

    void applyLink(const nlmsghdr &message);
    void applyAddress(const nlmsghdr &message);
    void applyRoute(const nlmsghdr &message);
    void updateInterface(const LinkMessage &link);
    void askAboutBridges();
    void removeInterface(int index);
    void removeAddress(int index, const InterfaceAddress &address);
    void removeRoutesOf(int index);
    void removeRoutesFlushedWith(const NetworkInterface &interface,
                                 const InterfaceAddress &address);
    [[nodiscard]] NetworkInterface *find(int index);

    FactSource m_factsOf;
    NetworkState m_state;

    // What the running listing has not mentioned yet.
    std::set<int> m_unlistedInterfaces;
    std::set<std::pair<int, InterfaceAddress>> m_unlistedAddresses;
    std::set<DefaultRoute> m_unlistedRoutes;
};

} // namespace lumvik
