#include "platform/NetworkInterfaces.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

namespace lumvik {

namespace {

// MARK: Reading messages

/// Calls `visit(type, attribute)` for each attribute that follows the first `offset` bytes of the
/// message's payload. False when the message is too short for those, when an attribute does not
/// end within the message, or when `visit` answers false.
template<typename Visit>
bool visitAttributes(const nlmsghdr &message, std::size_t offset, Visit visit) {
    if (mnl_nlmsg_get_payload_len(&message) < offset)
        return false;
    // Not libmnl's idea of the end, which is rounded up to the next message's beginning.
    const char *end = reinterpret_cast<const char *>(&message) + message.nlmsg_len;
    const auto *attribute =
        static_cast<const nlattr *>(mnl_nlmsg_get_payload_offset(&message, offset));
    const auto remaining = [&] { return end - reinterpret_cast<const char *>(attribute); };
    for (; mnl_attr_ok(attribute, static_cast<int>(remaining()));
         attribute = mnl_attr_next(attribute)) {
        if (!visit(mnl_attr_get_type(attribute), *attribute))
            return false;
    }
    return remaining() < static_cast<std::ptrdiff_t>(sizeof(nlattr));
}

std::span<const std::uint8_t> payload(const nlattr &attribute) {
    return {static_cast<const std::uint8_t *>(mnl_attr_get_payload(&attribute)),
            mnl_attr_get_payload_len(&attribute)};
}

/// The attribute as a number, read byte by byte: attributes inside others may lie anywhere.
bool readNumber(const nlattr &attribute, std::uint32_t &number) {
    if (payload(attribute).size() != sizeof number)
        return false;
    std::memcpy(&number, payload(attribute).data(), sizeof number);
    return true;
}

bool readAddress(std::span<const std::uint8_t> bytes, int family, AddressBytes &address) {
    const std::size_t size = family == AF_INET ? 4 : 16;
    if (bytes.size() != size)
        return false;
    address = {};
    std::ranges::copy(bytes, address.begin());
    return true;
}

/// RTA_VIA: a gateway of the other family than the route's, behind its family's number.
bool readVia(const nlattr &attribute, AddressBytes &address) {
    const std::span<const std::uint8_t> bytes = payload(attribute);
    sa_family_t family = 0;
    if (bytes.size() < sizeof family)
        return false;
    std::memcpy(&family, bytes.data(), sizeof family);
    return (family == AF_INET || family == AF_INET6) &&
           readAddress(bytes.subspan(sizeof family), family, address);
}

bool readGateway(int type, const nlattr &attribute, int family, AddressBytes &gateway) {
    return type == RTA_VIA ? readVia(attribute, gateway)
                           : readAddress(payload(attribute), family, gateway);
}

/// The next hops of RTA_MULTIPATH, as copies of `route` with the interface and the gateway of each.
bool readNextHops(const nlattr &attribute, const DefaultRoute &route,
                  std::vector<DefaultRoute> &hops) {
    std::span<const std::uint8_t> rest = payload(attribute);
    while (rest.size() >= sizeof(rtnexthop)) {
        rtnexthop hop;
        std::memcpy(&hop, rest.data(), sizeof hop);
        if (hop.rtnh_len < sizeof hop || hop.rtnh_len > rest.size())
            return false;
        DefaultRoute copy = route;
        copy.interfaceIndex = hop.rtnh_ifindex;
        const auto *inner = reinterpret_cast<const nlattr *>(rest.data() + sizeof hop);
        auto left = static_cast<int>(hop.rtnh_len - sizeof hop);
        for (; mnl_attr_ok(inner, left); inner = mnl_attr_next(inner)) {
            const int type = mnl_attr_get_type(inner);
            if ((type == RTA_GATEWAY || type == RTA_VIA) &&
                !readGateway(type, *inner, route.family, copy.gateway))
                return false;
            left -= static_cast<int>(MNL_ALIGN(mnl_attr_get_len(inner)));
        }
        hops.push_back(copy);
        rest = rest.subspan(std::min<std::size_t>(MNL_ALIGN(hop.rtnh_len), rest.size()));
    }
    return rest.empty();
}

struct AddressMessage {
    int interfaceIndex = 0;
    InterfaceAddress address;
    std::uint32_t flags = 0; // IFA_F_
};

std::optional<AddressMessage> parsedAddress(const nlmsghdr &message) {
    ifaddrmsg header{};
    if (mnl_nlmsg_get_payload_len(&message) < sizeof header)
        return std::nullopt;
    std::memcpy(&header, mnl_nlmsg_get_payload(&message), sizeof header);
    if (header.ifa_family != AF_INET && header.ifa_family != AF_INET6)
        return std::nullopt;

    AddressMessage result{
        .interfaceIndex = static_cast<int>(header.ifa_index),
        .address = {.family = header.ifa_family, .bytes = {}, .prefixLength = header.ifa_prefixlen},
        .flags = header.ifa_flags};
    // Between two points IFA_ADDRESS is the other end's address, and the own one is IFA_LOCAL.
    std::optional<AddressBytes> local;
    std::optional<AddressBytes> address;
    const auto visit = [&](int type, const nlattr &attribute) {
        switch (type) {
        case IFA_LOCAL:
            return readAddress(payload(attribute), header.ifa_family, local.emplace());
        case IFA_ADDRESS:
            return readAddress(payload(attribute), header.ifa_family, address.emplace());
        case IFA_FLAGS: // all of them; the header has room for eight only
            return readNumber(attribute, result.flags);
        default:
            return true;
        }
    };
    if (!visitAttributes(message, sizeof header, visit) || (!local && !address))
        return std::nullopt;
    result.address.bytes = local ? *local : *address;
    return result;
}

/// An address of version 6 cannot be sent from while the kernel still asks around whether another
/// machine has it, nor when one has; the kernel tells when that changes. (An optimistic one can.)
bool isUsable(const AddressMessage &message) {
    if ((message.flags & IFA_F_DADFAILED) != 0)
        return false;
    return (message.flags & IFA_F_TENTATIVE) == 0 || (message.flags & IFA_F_OPTIMISTIC) != 0;
}

/// The default routes that the message is about, none if it is about another route: one that leads
/// to a part of the world only, one of a table that only some traffic is sent to, one that refuses.
std::vector<DefaultRoute> parsedDefaultRoutes(const nlmsghdr &message) {
    rtmsg header{};
    if (mnl_nlmsg_get_payload_len(&message) < sizeof header)
        return {};
    std::memcpy(&header, mnl_nlmsg_get_payload(&message), sizeof header);
    if ((header.rtm_family != AF_INET && header.rtm_family != AF_INET6) ||
        header.rtm_dst_len != 0 || header.rtm_src_len != 0 || header.rtm_type != RTN_UNICAST ||
        (header.rtm_flags & RTM_F_CLONED) != 0)
        return {};

    DefaultRoute route{.family = header.rtm_family, .typeOfService = header.rtm_tos};
    std::uint32_t table = header.rtm_table;
    const nlattr *nextHops = nullptr;
    const auto visit = [&](int type, const nlattr &attribute) {
        std::uint32_t index = 0;
        switch (type) {
        case RTA_OIF:
            if (!readNumber(attribute, index))
                return false;
            route.interfaceIndex = static_cast<int>(index);
            return true;
        case RTA_GATEWAY:
        case RTA_VIA:
            return readGateway(type, attribute, route.family, route.gateway);
        case RTA_PREFSRC:
            return readAddress(payload(attribute), route.family, route.source);
        case RTA_PRIORITY:
            return readNumber(attribute, route.priority);
        case RTA_TABLE:
            return readNumber(attribute, table);
        case RTA_MULTIPATH:
            nextHops = &attribute;
            return true;
        default:
            return true;
        }
    };
    if (!visitAttributes(message, sizeof header, visit) || table != RT_TABLE_MAIN)
        return {};
    if (!nextHops)
        return {route};
    std::vector<DefaultRoute> routes;
    if (!readNextHops(*nextHops, route, routes))
        return {};
    return routes;
}

// MARK: Sorted vectors

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

// MARK: Judging

/// Whether the interface is a device of the machine, or stands on one. `levels` is how far down to
/// look; the kernel stacks no more than eight interfaces.
bool standsOnHardware(const std::filesystem::path &folder, const std::string &name,
                      int levels = 8) {
    static constexpr std::string_view lowerPrefix = "lower_";
    std::error_code error;
    if (std::filesystem::exists(folder / name / "device", error))
        return true;
    if (levels == 0)
        return false;
    std::filesystem::directory_iterator entry(folder / name, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string file = entry->path().filename();
        if (file.starts_with(lowerPrefix) &&
            standsOnHardware(folder, file.substr(lowerPrefix.size()), levels - 1))
            return true;
    }
    return false;
}

bool canPassTraffic(const NetworkInterface &interface) {
    return interface.isUp && interface.isRunning && !interface.isLoopback;
}

} // namespace

bool InterfaceAddress::reachesOthers() const {
    if (bytes == AddressBytes{})
        return false;
    if (family == AF_INET)
        return bytes[0] != 127 && !(bytes[0] == 169 && bytes[1] == 254);
    constexpr AddressBytes loopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return bytes != loopback && !(bytes[0] == 0xfe && (bytes[1] & 0xc0) == 0x80);
}

NetworkState networkInUse(const NetworkState &state) {
    NetworkState inUse;
    for (const NetworkInterface &interface : state.interfaces) {
        if (!canPassTraffic(interface))
            continue;
        NetworkInterface used = interface;
        used.name.clear();
        std::erase_if(used.addresses,
                      [](const InterfaceAddress &address) { return !address.reachesOthers(); });
        const std::size_t routesBefore = inUse.defaultRoutes.size();
        std::ranges::copy_if(
            state.defaultRoutes, std::back_inserter(inUse.defaultRoutes),
            [&](const DefaultRoute &route) { return route.interfaceIndex == interface.index; });
        const bool hasRoute = inUse.defaultRoutes.size() != routesBefore;
        const bool isVirtualBridge = used.isBridge && !used.bridgesHardware;
        used.isBridge = used.bridgesHardware = false;
        if (hasRoute || (!used.addresses.empty() && !isVirtualBridge))
            inUse.interfaces.push_back(std::move(used));
    }
    return inUse;
}

NetworkPathSignature networkPathSignature(const NetworkState &state) {
    NetworkPathSignature signature;
    for (const NetworkInterface &interface : networkInUse(state).interfaces) {
        signature.isSatisfied = true;
        if (interface.isWireless)
            signature.usesWiFi = true;
        else if (interface.hardwareType == ARPHRD_ETHER)
            signature.usesEthernet = true;
        else
            signature.usesOther = true;
    }
    return signature;
}

InterfaceFacts interfaceFactsIn(const std::filesystem::path &folder, const std::string &name) {
    const auto has = [&](const char *entry) {
        std::error_code error;
        return std::filesystem::exists(folder / name / entry, error);
    };
    InterfaceFacts facts;
    facts.isWireless = has("phy80211") || has("wireless");
    facts.isBridge = has("bridge");
    facts.bridgesHardware = facts.isBridge && standsOnHardware(folder, name);
    return facts;
}

InterfaceFacts systemInterfaceFacts(const std::string &name) {
    return interfaceFactsIn("/sys/class/net", name);
}

// MARK: The table

struct NetworkInterfaceTable::LinkMessage {
    ifinfomsg header{};
    std::string name; // empty when the message does not tell

    static std::optional<LinkMessage> parsed(const nlmsghdr &message);
};

std::optional<NetworkInterfaceTable::LinkMessage>
NetworkInterfaceTable::LinkMessage::parsed(const nlmsghdr &message) {
    LinkMessage link;
    const auto visit = [&](int type, const nlattr &attribute) {
        if (type != IFLA_IFNAME)
            return true;
        if (mnl_attr_validate(&attribute, MNL_TYPE_NUL_STRING) < 0)
            return false;
        link.name = mnl_attr_get_str(&attribute);
        return true;
    };
    if (!visitAttributes(message, sizeof link.header, visit))
        return std::nullopt;
    std::memcpy(&link.header, mnl_nlmsg_get_payload(&message), sizeof link.header);
    return link;
}

NetworkInterfaceTable::NetworkInterfaceTable(FactSource factsOf) : m_factsOf(std::move(factsOf)) {}

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
    const std::optional<LinkMessage> link = LinkMessage::parsed(message);
    if (!link || link->header.ifi_index <= 0)
        return;
    // A bridge announces its ports with its own family, their leaving like the end of a link.
    if (link->header.ifi_family == AF_UNSPEC) {
        m_unlistedInterfaces.erase(link->header.ifi_index);
        if (message.nlmsg_type == RTM_DELLINK)
            removeInterface(link->header.ifi_index);
        else
            updateInterface(*link);
    }
    askAboutBridges();
}

void NetworkInterfaceTable::updateInterface(const LinkMessage &link) {
    const int index = link.header.ifi_index;
    NetworkInterface *interface = find(index);
    if (!interface) {
        const auto place =
            std::ranges::lower_bound(m_state.interfaces, index, {}, &NetworkInterface::index);
        interface = &*m_state.interfaces.emplace(place);
        interface->index = index;
    }
    if (!link.name.empty())
        interface->name = link.name;
    // The kernel sets IFF_RUNNING from the operational state, for "up" as well as for the "unknown"
    // of tunnels and other devices that know no carrier.
    interface->isUp = (link.header.ifi_flags & IFF_UP) != 0;
    interface->isRunning = (link.header.ifi_flags & IFF_RUNNING) != 0;
    interface->isLoopback = (link.header.ifi_flags & IFF_LOOPBACK) != 0;
    interface->hardwareType = link.header.ifi_type;
    // Asked again and again because the name may have changed again before it could be looked up.
    const InterfaceFacts facts = m_factsOf(interface->name);
    interface->isWireless = interface->isWireless || facts.isWireless;
    interface->isBridge = interface->isBridge || facts.isBridge;
    // An interface that goes down loses its routes, those of version 4 without any message.
    if (!interface->isUp)
        removeRoutesOf(index);
}

void NetworkInterfaceTable::askAboutBridges() {
    for (NetworkInterface &interface : m_state.interfaces) {
        if (interface.isBridge)
            interface.bridgesHardware = m_factsOf(interface.name).bridgesHardware;
    }
}

void NetworkInterfaceTable::applyAddress(const nlmsghdr &message) {
    const std::optional<AddressMessage> parsed = parsedAddress(message);
    if (!parsed)
        return;
    m_unlistedAddresses.erase({parsed->interfaceIndex, parsed->address});
    if (message.nlmsg_type == RTM_DELADDR || !isUsable(*parsed)) {
        removeAddress(parsed->interfaceIndex, parsed->address);
        return;
    }
    // An unknown interface is one that is gone already, or whose link message was lost: then it is
    // listed again, and its addresses after it.
    if (NetworkInterface *interface = find(parsed->interfaceIndex))
        insertSorted(interface->addresses, parsed->address);
}

void NetworkInterfaceTable::applyRoute(const nlmsghdr &message) {
    const std::vector<DefaultRoute> routes = parsedDefaultRoutes(message);
    if (routes.empty())
        return;
    const bool isNew = message.nlmsg_type == RTM_NEWROUTE;
    // The one message about a replaced route is this; the old one gets none of its own.
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

/// With an address of version 4 the kernel drops, without any message, the routes that send from
/// it, and with the interface's last one all its routes of version 4. A route kept by mistake would
/// make a machine that has just lost its address look connected.
void NetworkInterfaceTable::removeRoutesFlushedWith(const NetworkInterface &interface,
                                                    const InterfaceAddress &address) {
    if (address.family != AF_INET)
        return;
    const auto holdsVersion4 = [](const NetworkInterface &candidate) {
        return std::ranges::any_of(candidate.addresses, [](const InterfaceAddress &held) {
            return held.family == AF_INET;
        });
    };
    const auto holdsSameBytes = [&](const NetworkInterface &candidate) {
        return std::ranges::any_of(candidate.addresses, [&](const InterfaceAddress &held) {
            return held.family == AF_INET && held.bytes == address.bytes;
        });
    };
    const bool wasLast = !holdsVersion4(interface);
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
