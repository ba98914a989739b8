#include "platform/network/NetworkInterfaceTable.h"

#include "platform/network/RtnetlinkMessages.h"

#include <linux/rtnetlink.h>
#include <net/if.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace lumvik {

namespace {

/// Inserts `value` into the sorted vector unless the vector already contains it.
template<typename Value>
void insertSorted(std::vector<Value> &values, const Value &value) {
    const auto place = std::lower_bound(values.begin(), values.end(), value);
    if (place == values.end() || *place != value)
        values.insert(place, value);
}

template<typename Value>
void eraseSorted(std::vector<Value> &values, const Value &value) {
    const auto [first, last] = std::equal_range(values.begin(), values.end(), value);
    values.erase(first, last);
}

} // namespace

NetworkInterfaceTable::NetworkInterfaceTable(AttributeReader readAttributes)
    : m_readAttributes(std::move(readAttributes)) {}

void NetworkInterfaceTable::apply(const nlmsghdr &message) {
    switch (message.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
        applyLink(message);
        break;
    case RTM_NEWADDR:
    case RTM_DELADDR:
        applyAddress(message);
        break;
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
        applyRoute(message);
        break;
    default:
        break;
    }
}

void NetworkInterfaceTable::applyLink(const nlmsghdr &message) {
    const std::optional<LinkMessage> link = parsedLink(message);
    if (!link || link->interfaceIndex <= 0)
        return;
    // A bridge announces its ports in messages of the family AF_BRIDGE. When a port leaves the
    // bridge, such a message looks like the removal of the link.
    if (link->family == AF_UNSPEC) {
        m_unlistedInterfaces.erase(link->interfaceIndex);
        if (message.nlmsg_type == RTM_DELLINK)
            removeInterface(link->interfaceIndex);
        else
            updateInterface(*link);
    }
    updateBridges();
}

void NetworkInterfaceTable::updateInterface(const LinkMessage &link) {
    const int index = link.interfaceIndex;
    NetworkInterface *interface = find(index);
    if (!interface) {
        const auto place =
            std::ranges::lower_bound(m_state.interfaces, index, {}, &NetworkInterface::index);
        interface = &*m_state.interfaces.emplace(place);
        interface->index = index;
    }
    if (!link.name.empty())
        interface->name = link.name;
    // The kernel derives IFF_RUNNING from the operational state. The flag is set in the state "up"
    // and also in the state "unknown", which tunnels and other devices without carrier detection
    // have.
    interface->isUp = (link.flags & IFF_UP) != 0;
    interface->isRunning = (link.flags & IFF_RUNNING) != 0;
    interface->isLoopback = (link.flags & IFF_LOOPBACK) != 0;
    interface->hardwareType = link.hardwareType;
    // The attributes are read at every message, because an earlier read may have failed if the
    // interface had been renamed meanwhile.
    const SysfsInterfaceAttributes attributes = m_readAttributes(interface->name);
    interface->isWireless = interface->isWireless || attributes.isWireless;
    interface->isBridge = interface->isBridge || attributes.isBridge;
    // An interface that goes down loses its routes. The kernel sends no message about the lost IPv4
    // routes.
    if (!interface->isUp)
        removeRoutesOf(index);
}

void NetworkInterfaceTable::updateBridges() {
    for (NetworkInterface &interface : m_state.interfaces) {
        if (interface.isBridge)
            interface.bridgesHardware = m_readAttributes(interface.name).bridgesHardware;
    }
}

void NetworkInterfaceTable::applyAddress(const nlmsghdr &message) {
    const std::optional<AddressMessage> parsed = parsedAddress(message);
    if (!parsed)
        return;
    m_unlistedAddresses.erase({parsed->interfaceIndex, parsed->address});
    if (message.nlmsg_type == RTM_DELADDR || !parsed->isUsable()) {
        removeAddress(parsed->interfaceIndex, parsed->address);
        return;
    }
    // An unknown interface has already been removed, or its link message was lost. If the message
    // was lost, the links and then the addresses are listed again.
    if (NetworkInterface *interface = find(parsed->interfaceIndex))
        insertSorted(interface->addresses, parsed->address);
}

void NetworkInterfaceTable::applyRoute(const nlmsghdr &message) {
    const std::vector<DefaultRoute> routes = parsedDefaultRoutes(message);
    if (routes.empty())
        return;
    const bool isNew = message.nlmsg_type == RTM_NEWROUTE;
    // When a route replaces an old route, the kernel does not announce the removal of the old
    // route.
    if (isNew && (message.nlmsg_flags & NLM_F_REPLACE) != 0) {
        std::erase_if(m_state.defaultRoutes, [&](const DefaultRoute &old) {
            return old.family == routes.front().family && old.priority == routes.front().priority &&
                   old.typeOfService == routes.front().typeOfService;
        });
    }
    for (const DefaultRoute &route : routes) {
        m_unlistedRoutes.erase(route);
        if (isNew)
            insertSorted(m_state.defaultRoutes, route);
        else
            eraseSorted(m_state.defaultRoutes, route);
    }
}

void NetworkInterfaceTable::beginListing(Listing listing) {
    m_unlistedInterfaces.clear();
    m_unlistedAddresses.clear();
    m_unlistedRoutes.clear();
    switch (listing) {
    case Listing::links:
        for (const NetworkInterface &interface : m_state.interfaces)
            m_unlistedInterfaces.insert(interface.index);
        break;
    case Listing::addresses:
        for (const NetworkInterface &interface : m_state.interfaces)
            for (const InterfaceAddress &address : interface.addresses)
                m_unlistedAddresses.insert({interface.index, address});
        break;
    case Listing::routes:
        m_unlistedRoutes.insert(m_state.defaultRoutes.begin(), m_state.defaultRoutes.end());
        break;
    }
}

void NetworkInterfaceTable::endListing() {
    for (const int index : std::exchange(m_unlistedInterfaces, {}))
        removeInterface(index);
    for (const auto &[index, address] : std::exchange(m_unlistedAddresses, {}))
        removeAddress(index, address);
    for (const DefaultRoute &route : std::exchange(m_unlistedRoutes, {}))
        eraseSorted(m_state.defaultRoutes, route);
}

void NetworkInterfaceTable::removeInterface(int index) {
    std::erase_if(m_state.interfaces,
                  [=](const NetworkInterface &interface) { return interface.index == index; });
    removeRoutesOf(index);
}

void NetworkInterfaceTable::removeAddress(int index, const InterfaceAddress &address) {
    NetworkInterface *interface = find(index);
    if (!interface)
        return;
    eraseSorted(interface->addresses, address);
    removeRoutesFlushedWith(*interface, address);
}

void NetworkInterfaceTable::removeRoutesOf(int index) {
    std::erase_if(m_state.defaultRoutes,
                  [=](const DefaultRoute &route) { return route.interfaceIndex == index; });
}

/// When an IPv4 address is removed, the kernel silently drops the routes that use it as their
/// source. When an interface loses its last IPv4 address, the kernel silently drops all its IPv4
/// routes. Keeping such a route would make a machine without an address look connected.
void NetworkInterfaceTable::removeRoutesFlushedWith(const NetworkInterface &interface,
                                                    const InterfaceAddress &address) {
    if (address.family != AF_INET)
        return;
    const auto hasIPv4Address = [](const NetworkInterface &candidate) {
        return std::ranges::any_of(candidate.addresses, [](const InterfaceAddress &held) {
            return held.family == AF_INET;
        });
    };
    const auto holdsSameBytes = [&](const NetworkInterface &candidate) {
        return std::ranges::any_of(candidate.addresses, [&](const InterfaceAddress &held) {
            return held.family == AF_INET && held.bytes == address.bytes;
        });
    };
    const bool wasLast = !hasIPv4Address(interface);
    const bool isGone = std::ranges::none_of(m_state.interfaces, holdsSameBytes);
    std::erase_if(m_state.defaultRoutes, [&](const DefaultRoute &route) {
        return route.family == AF_INET && ((wasLast && route.interfaceIndex == interface.index) ||
                                           (isGone && route.source == address.bytes));
    });
}

NetworkInterface *NetworkInterfaceTable::find(int index) {
    const auto found =
        std::ranges::lower_bound(m_state.interfaces, index, {}, &NetworkInterface::index);
    return found != m_state.interfaces.end() && found->index == index ? &*found : nullptr;
}

} // namespace lumvik
