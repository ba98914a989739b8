#pragma once

#include "NetworkAddresses.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

// Builds messages like those that the kernel sends about its network.

namespace lumvik::test {

/// A message under construction.
class Message {
  public:
    Message(int type, int flags = 0) {
        mnl_nlmsg_put_header(m_buffer.data());
        header().nlmsg_type = static_cast<std::uint16_t>(type);
        header().nlmsg_flags = static_cast<std::uint16_t>(flags);
    }
    template<typename Header>
    Message &with(const Header &value) {
        std::memcpy(mnl_nlmsg_put_extra_header(&header(), sizeof value), &value, sizeof value);
        return *this;
    }
    Message &with(int type, const char *text) {
        mnl_attr_put_strz(&header(), static_cast<std::uint16_t>(type), text);
        return *this;
    }
    Message &with(int type, std::uint32_t number) {
        mnl_attr_put_u32(&header(), static_cast<std::uint16_t>(type), number);
        return *this;
    }
    Message &withAddress(int type, const char *text) {
        return withBytes(type, bytesOf(text).data(), familyOf(text) == AF_INET ? 4 : 16);
    }
    Message &withBytes(int type, const void *bytes, std::size_t size) {
        mnl_attr_put(&header(), static_cast<std::uint16_t>(type), size, bytes);
        return *this;
    }
    [[nodiscard]] nlmsghdr &header() { return *reinterpret_cast<nlmsghdr *>(m_buffer.data()); }

    /// Returns a copy of the first `length` bytes, with the header's length adjusted. The memory
    /// has exactly that size, so the address sanitizer detects reads past the end.
    [[nodiscard]] std::unique_ptr<char[]> cutTo(std::uint32_t length) {
        auto copy = std::make_unique<char[]>(length);
        std::memcpy(copy.get(), m_buffer.data(), length);
        reinterpret_cast<nlmsghdr *>(copy.get())->nlmsg_len = length;
        return copy;
    }

  private:
    alignas(nlmsghdr) std::array<char, 512> m_buffer{};
};

inline constexpr unsigned upAndRunning = IFF_UP | IFF_RUNNING;

inline Message link(int index, const char *name, unsigned flags = upAndRunning,
                    int type = RTM_NEWLINK) {
    return Message(type)
        .with(ifinfomsg{.ifi_family = AF_UNSPEC,
                        .__ifi_pad = 0,
                        .ifi_type = ARPHRD_ETHER,
                        .ifi_index = index,
                        .ifi_flags = flags,
                        .ifi_change = 0})
        .with(IFLA_IFNAME, name);
}

inline Message addressMessage(int type, unsigned index, const char *text, std::uint32_t flags = 0) {
    return Message(type)
        .with(ifaddrmsg{.ifa_family = static_cast<std::uint8_t>(familyOf(text)),
                        .ifa_prefixlen = 24,
                        .ifa_flags = static_cast<std::uint8_t>(flags),
                        .ifa_scope = RT_SCOPE_UNIVERSE,
                        .ifa_index = index})
        .withAddress(IFA_ADDRESS, text)
        .with(IFA_FLAGS, flags);
}

inline rtmsg routeHeader(int family) {
    rtmsg header{};
    header.rtm_family = static_cast<std::uint8_t>(family);
    header.rtm_table = RT_TABLE_MAIN;
    header.rtm_type = RTN_UNICAST;
    return header;
}

inline Message routeMessage(int type, int index, const char *gateway, std::uint32_t priority = 0,
                            int flags = 0) {
    return Message(type, flags)
        .with(routeHeader(familyOf(gateway)))
        .with(RTA_OIF, static_cast<std::uint32_t>(index))
        .withAddress(RTA_GATEWAY, gateway)
        .with(RTA_PRIORITY, priority);
}

/// Two next hops: 192.0.2.1 through interface 2, and 2001:db8::1 through interface 3.
inline std::vector<char> twoNextHops() {
    std::vector<char> bytes;
    const auto append = [&](const void *data, std::size_t size) {
        const auto *first = static_cast<const char *>(data);
        bytes.insert(bytes.end(), first, first + size);
    };
    const rtnexthop plain{.rtnh_len = 16, .rtnh_flags = 0, .rtnh_hops = 0, .rtnh_ifindex = 2};
    const nlattr gateway{.nla_len = 8, .nla_type = RTA_GATEWAY};
    append(&plain, sizeof plain);
    append(&gateway, sizeof gateway);
    append(bytesOf("192.0.2.1").data(), 4);
    const rtnexthop crossed{.rtnh_len = 30, .rtnh_flags = 0, .rtnh_hops = 0, .rtnh_ifindex = 3};
    const nlattr via{.nla_len = 22, .nla_type = RTA_VIA};
    const sa_family_t family = AF_INET6;
    append(&crossed, sizeof crossed);
    append(&via, sizeof via);
    append(&family, sizeof family);
    append(bytesOf("2001:db8::1").data(), 16);
    return bytes;
}

} // namespace lumvik::test
