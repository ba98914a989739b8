#include "platform/network/RtnetlinkMessages.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace lumvik {

namespace {

/// Calls `visit(type, attribute)` for each attribute after the first `offset` bytes of the
/// message's payload. Returns false if the message is too short, if an attribute extends beyond the
/// message, or if `visit` returns false.
template<typename Visit>
bool visitAttributes(const nlmsghdr &message, std::size_t offset, Visit visit) {
    if (mnl_nlmsg_get_payload_len(&message) < offset)
        return false;
    // mnl_nlmsg_get_payload_tail is not used, because it rounds the end up to the start of the next
    // message.
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

/// Reads the attribute as a number. The bytes are copied because nested attributes may be
/// unaligned.
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

/// Reads RTA_VIA: a gateway whose family differs from the route's, preceded by the number of that
/// family.
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

/// Reads the next hops of RTA_MULTIPATH as copies of `route`, each with its own interface and
/// gateway.
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

} // namespace

std::optional<LinkMessage> parsedLink(const nlmsghdr &message) {
    LinkMessage link;
    const auto visit = [&](int type, const nlattr &attribute) {
        if (type != IFLA_IFNAME)
            return true;
        if (mnl_attr_validate(&attribute, MNL_TYPE_NUL_STRING) < 0)
            return false;
        link.name = mnl_attr_get_str(&attribute);
        return true;
    };
    ifinfomsg header{};
    if (!visitAttributes(message, sizeof header, visit))
        return std::nullopt;
    std::memcpy(&header, mnl_nlmsg_get_payload(&message), sizeof header);
    link.interfaceIndex = header.ifi_index;
    link.family = header.ifi_family;
    link.flags = header.ifi_flags;
    link.hardwareType = header.ifi_type;
    return link;
}

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
    // On a point-to-point link IFA_ADDRESS is the peer's address and IFA_LOCAL the machine's own.
    std::optional<AddressBytes> local;
    std::optional<AddressBytes> address;
    const auto visit = [&](int type, const nlattr &attribute) {
        switch (type) {
        case IFA_LOCAL:
            return readAddress(payload(attribute), header.ifa_family, local.emplace());
        case IFA_ADDRESS:
            return readAddress(payload(attribute), header.ifa_family, address.emplace());
        case IFA_FLAGS: // all flags; the header has room for only eight
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

bool AddressMessage::isUsable() const {
    if ((flags & IFA_F_DADFAILED) != 0)
        return false;
    return (flags & IFA_F_TENTATIVE) == 0 || (flags & IFA_F_OPTIMISTIC) != 0;
}

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

} // namespace lumvik
