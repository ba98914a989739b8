#pragma once

#include "platform/network/NetworkState.h"
#include "platform/network/SysfsInterfaceAttributes.h"

#include <functional>
#include <set>
#include <string>
#include <utility>

struct nlmsghdr;

namespace lumvik {

struct LinkMessage;

/// Maintains the state of the network from the kernel's rtnetlink messages about links, addresses
/// and routes.
///
/// The kernel uses the same messages to announce changes and to send lists. After a complete list,
/// entries of the table that the list did not contain must be removed. For this purpose, call
/// `beginListing` before requesting the list and `endListing` after the list's last message.
/// Announcements may arrive in between. Not thread-safe.
class NetworkInterfaceTable {
  public:
    using AttributeReader = std::function<SysfsInterfaceAttributes(const std::string &name)>;
    enum class Listing { links, addresses, routes };

    /// `readAttributes` is called for an interface at each of its link messages. `readAttributes`
    /// is called for every bridge at any link message, because the kernel announces a port that
    /// joins or leaves a bridge with a link message.
    explicit NetworkInterfaceTable(AttributeReader readAttributes = readSysfsInterfaceAttributes);

    /// Applies one message, of which `nlmsg_len` bytes must be readable. Malformed messages and
    /// messages about other subjects change nothing.
    void apply(const nlmsghdr &message);

    void beginListing(Listing listing);
    void endListing();

    [[nodiscard]] const NetworkState &state() const { return m_state; }

  private:
    void applyLink(const nlmsghdr &message);
    void applyAddress(const nlmsghdr &message);
    void applyRoute(const nlmsghdr &message);
    void updateInterface(const LinkMessage &link);
    void updateBridges();
    void removeInterface(int index);
    void removeAddress(int index, const InterfaceAddress &address);
    void removeRoutesOf(int index);
    void removeRoutesFlushedWith(const NetworkInterface &interface,
                                 const InterfaceAddress &address);
    [[nodiscard]] NetworkInterface *find(int index);

    AttributeReader m_readAttributes;
    NetworkState m_state;

    // Entries of the table that the current list has not contained so far.
    std::set<int> m_unlistedInterfaces;
    std::set<std::pair<int, InterfaceAddress>> m_unlistedAddresses;
    std::set<DefaultRoute> m_unlistedRoutes;
};

} // namespace lumvik
