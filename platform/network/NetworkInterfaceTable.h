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

/// Follows the kernel's rtnetlink messages about links, addresses and routes, one at a time.
///
/// The same messages announce changes and answer requests for a list. What the table knows and a
/// complete list does not mention is gone: `beginListing` before the list is asked for and
/// `endListing` after its last message remove it. Announcements may arrive in between. Belongs to
/// one thread.
class NetworkInterfaceTable {
  public:
    using FactSource = std::function<SysfsInterfaceAttributes(const std::string &name)>;
    enum class Listing { links, addresses, routes };

    /// `factsOf` is asked about an interface at each of its link messages, and about all bridges
    /// at each link message: what joins or leaves a bridge is announced as a link.
    explicit NetworkInterfaceTable(FactSource factsOf = readSysfsInterfaceAttributes);

    /// Takes one message, of which `nlmsg_len` bytes must be readable. Malformed messages, and
    /// those about other things, change nothing.
    void apply(const nlmsghdr &message);

    void beginListing(Listing listing);
    void endListing();

    [[nodiscard]] const NetworkState &state() const { return m_state; }

  private:
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
