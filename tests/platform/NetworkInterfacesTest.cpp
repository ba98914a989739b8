#include "platform/NetworkInterfaces.h"

#include <QTemporaryDir>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <ostream>
#include <set>

namespace lumvik {

static void PrintTo(const NetworkPathSignature &signature, std::ostream *stream) {
    *stream << "satisfied " << signature.isSatisfied << ", Wi-Fi " << signature.usesWiFi
            << ", Ethernet " << signature.usesEthernet << ", other " << signature.usesOther;
}

namespace {

constexpr NetworkPathSignature nothing{};
constexpr NetworkPathSignature wiFi{.isSatisfied = true, .usesWiFi = true};
constexpr NetworkPathSignature ethernet{.isSatisfied = true, .usesEthernet = true};
constexpr NetworkPathSignature other{.isSatisfied = true, .usesOther = true};

int familyOf(const char *text) {
    return std::strchr(text, ':') ? AF_INET6 : AF_INET;
}

AddressBytes bytesOf(const char *text) {
    AddressBytes bytes{};
    EXPECT_EQ(inet_pton(familyOf(text), text, bytes.data()), 1) << text;
    return bytes;
}

InterfaceAddress address(const char *text) {
    return {.family = familyOf(text), .bytes = bytesOf(text), .prefixLength = 24};
}

NetworkInterface interface(int index, std::vector<InterfaceAddress> addresses) {
    NetworkInterface result;
    result.index = index;
    result.name = "net" + std::to_string(index);
    result.isUp = true;
    result.isRunning = true;
    result.hardwareType = ARPHRD_ETHER;
    result.addresses = std::move(addresses);
    return result;
}

DefaultRoute route(int interfaceIndex, const char *gateway) {
    return {
        .interfaceIndex = interfaceIndex, .family = familyOf(gateway), .gateway = bytesOf(gateway)};
}

// MARK: What is in use

struct Row {
    const char *what;
    std::vector<NetworkInterface> interfaces;
    std::vector<DefaultRoute> routes;
    NetworkPathSignature expected;
};

NetworkInterface changed(NetworkInterface interface, void (*change)(NetworkInterface &)) {
    change(interface);
    return interface;
}

NetworkInterface wireless(NetworkInterface interface) {
    return changed(std::move(interface), [](NetworkInterface &i) { i.isWireless = true; });
}

NetworkInterface tunnel(NetworkInterface interface) {
    return changed(std::move(interface), [](NetworkInterface &i) { i.hardwareType = ARPHRD_NONE; });
}

NetworkInterface bridge(NetworkInterface interface, bool bridgesHardware) {
    interface.isBridge = true;
    interface.bridgesHardware = bridgesHardware;
    return interface;
}

NetworkInterface withoutCarrier(NetworkInterface interface) {
    return changed(std::move(interface), [](NetworkInterface &i) { i.isRunning = false; });
}

NetworkInterface down(NetworkInterface interface) {
    return changed(std::move(interface), [](NetworkInterface &i) { i.isUp = false; });
}

NetworkInterface loopback(NetworkInterface interface) {
    return changed(std::move(interface), [](NetworkInterface &i) {
        i.isLoopback = true;
        i.hardwareType = ARPHRD_LOOPBACK;
    });
}

TEST(NetworkPathSignature, IsReadFromWhatIsInUse) {
    const std::vector<InterfaceAddress> none;
    const std::vector<InterfaceAddress> global = {address("192.0.2.2")};
    const std::vector<Row> rows = {
        {"no interface at all", {}, {}, nothing},
        {"loopback never counts", {loopback(interface(1, global))}, {}, nothing},
        {"nor with a default route", {loopback(interface(1, none))}, {route(1, "::")}, nothing},
        {"a wired interface", {interface(2, global)}, {}, ethernet},
        {"a wireless one", {wireless(interface(2, global))}, {}, wiFi},
        {"a tunnel", {tunnel(interface(2, global))}, {}, other},
        {"a modem that dials",
         {changed(interface(2, global), [](NetworkInterface &i) { i.hardwareType = ARPHRD_PPP; })},
         {},
         other},
        {"a bridge over a cable", {bridge(interface(2, global), true)}, {}, ethernet},
        {"a bridge of guests", {bridge(interface(2, global), false)}, {}, nothing},
        {"a bridge of guests that is the way out",
         {bridge(interface(2, global), false)},
         {route(2, "192.0.2.1")},
         ethernet},
        {"the way out beside a bridge of guests",
         {wireless(interface(2, global)), bridge(interface(3, global), false)},
         {route(2, "192.0.2.1")},
         wiFi},
        {"all kinds together",
         {interface(2, global), wireless(interface(3, global)), tunnel(interface(4, global))},
         {},
         {.isSatisfied = true, .usesWiFi = true, .usesEthernet = true, .usesOther = true}},
        {"no carrier", {withoutCarrier(interface(2, global))}, {}, nothing},
        {"switched off", {down(interface(2, global))}, {}, nothing},
        {"no address", {interface(2, none)}, {}, nothing},
        {"an address of version 6", {interface(2, {address("2001:db8::2")})}, {}, ethernet},
        {"a unique local one", {interface(2, {address("fd00::2")})}, {}, ethernet},
        {"link-local, 4", {interface(2, {address("169.254.7.7")})}, {}, nothing},
        {"just beside link-local, 4", {interface(2, {address("169.253.7.7")})}, {}, ethernet},
        {"link-local, 6", {interface(2, {address("fe80::2")})}, {}, nothing},
        {"link-local to its last bit, 6", {interface(2, {address("febf::2")})}, {}, nothing},
        {"just beside link-local, 6", {interface(2, {address("fec0::2")})}, {}, ethernet},
        {"loopback address, 4", {interface(2, {address("127.0.0.2")})}, {}, nothing},
        {"loopback address, 6", {interface(2, {address("::1")})}, {}, nothing},
        {"any address", {interface(2, {address("0.0.0.0"), address("::")})}, {}, nothing},
        {"link-local beside a global one",
         {interface(2, {address("fe80::2"), address("2001:db8::2")})},
         {},
         ethernet},
        {"only a default route", {tunnel(interface(2, none))}, {route(2, "0.0.0.0")}, other},
        {"a default route, 6", {wireless(interface(2, none))}, {route(2, "fe80::1")}, wiFi},
        {"a route through what has no carrier",
         {withoutCarrier(interface(2, none))},
         {route(2, "192.0.2.1")},
         nothing},
        {"a route through what is off",
         {down(interface(2, none))},
         {route(2, "192.0.2.1")},
         nothing},
        {"a route through what is not known", {}, {route(2, "192.0.2.1")}, nothing},
        {"kinds of what is idle do not count",
         {interface(2, global), withoutCarrier(wireless(interface(3, global))),
          tunnel(interface(4, none))},
         {},
         ethernet},
    };
    for (const Row &row : rows)
        EXPECT_EQ(networkPathSignature({row.interfaces, row.routes}), row.expected) << row.what;
}

TEST(NetworkInUse, LeavesOutWhatNoConnectionDependsOn) {
    const NetworkState plain = {{interface(2, {address("192.0.2.2")})}, {}};
    NetworkState embellished = plain;
    embellished.interfaces[0].name = "renamed";
    embellished.interfaces[0].addresses.push_back(address("fe80::2"));
    embellished.interfaces.push_back(down(interface(3, {address("198.51.100.2")})));
    embellished.defaultRoutes.push_back(route(3, "198.51.100.1"));
    EXPECT_EQ(networkInUse(embellished), networkInUse(plain));
}

TEST(NetworkInUse, IsTheSameWhateverJoinsABridgeThatIsTheWayOut) {
    const NetworkInterface plain = interface(2, {address("192.0.2.2")});
    const std::vector<DefaultRoute> routes = {route(2, "192.0.2.1")};
    EXPECT_EQ(networkInUse({{bridge(plain, false)}, routes}),
              networkInUse({{bridge(plain, true)}, routes}));
}

TEST(NetworkInUse, DiffersWhenAnAddressOrARouteDoes) {
    const NetworkState plain = {{interface(2, {address("192.0.2.2")})}, {route(2, "192.0.2.1")}};
    const NetworkState otherAddress = {{interface(2, {address("192.0.2.3")})},
                                       {route(2, "192.0.2.1")}};
    const NetworkState otherRoute = {{interface(2, {address("192.0.2.2")})},
                                     {route(2, "192.0.2.9")}};
    const NetworkState otherInterface = {{interface(3, {address("192.0.2.2")})},
                                         {route(3, "192.0.2.1")}};
    EXPECT_NE(networkInUse(plain), networkInUse(otherAddress));
    EXPECT_NE(networkInUse(plain), networkInUse(otherRoute));
    EXPECT_NE(networkInUse(plain), networkInUse(otherInterface));
}

// MARK: Following messages

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

    /// The first `length` bytes, which is also what the header then says, in memory of just that
    /// size: the address sanitizer notices a read past the end.
    [[nodiscard]] std::unique_ptr<char[]> cutTo(std::uint32_t length) {
        auto copy = std::make_unique<char[]>(length);
        std::memcpy(copy.get(), m_buffer.data(), length);
        reinterpret_cast<nlmsghdr *>(copy.get())->nlmsg_len = length;
        return copy;
    }

  private:
    alignas(nlmsghdr) std::array<char, 512> m_buffer{};
};

constexpr unsigned upAndRunning = IFF_UP | IFF_RUNNING;

Message link(int index, const char *name, unsigned flags = upAndRunning, int type = RTM_NEWLINK) {
    return Message(type)
        .with(ifinfomsg{.ifi_family = AF_UNSPEC,
                        .__ifi_pad = 0,
                        .ifi_type = ARPHRD_ETHER,
                        .ifi_index = index,
                        .ifi_flags = flags,
                        .ifi_change = 0})
        .with(IFLA_IFNAME, name);
}

Message addressMessage(int type, unsigned index, const char *text, std::uint32_t flags = 0) {
    return Message(type)
        .with(ifaddrmsg{.ifa_family = static_cast<std::uint8_t>(familyOf(text)),
                        .ifa_prefixlen = 24,
                        .ifa_flags = static_cast<std::uint8_t>(flags),
                        .ifa_scope = RT_SCOPE_UNIVERSE,
                        .ifa_index = index})
        .withAddress(IFA_ADDRESS, text)
        .with(IFA_FLAGS, flags);
}

rtmsg routeHeader(int family) {
    rtmsg header{};
    header.rtm_family = static_cast<std::uint8_t>(family);
    header.rtm_table = RT_TABLE_MAIN;
    header.rtm_type = RTN_UNICAST;
    return header;
}

Message routeMessage(int type, int index, const char *gateway, std::uint32_t priority = 0,
                     int flags = 0) {
    return Message(type, flags)
        .with(routeHeader(familyOf(gateway)))
        .with(RTA_OIF, static_cast<std::uint32_t>(index))
        .withAddress(RTA_GATEWAY, gateway)
        .with(RTA_PRIORITY, priority);
}

class NetworkInterfaceTableTest : public testing::Test {
  protected:
    void apply(Message message) {
        const std::uint32_t length = message.header().nlmsg_len;
        const auto copy = message.cutTo(length);
        m_table.apply(*reinterpret_cast<const nlmsghdr *>(copy.get()));
    }
    [[nodiscard]] NetworkPathSignature signature() const {
        return networkPathSignature(m_table.state());
    }
    [[nodiscard]] const NetworkState &state() const { return m_table.state(); }

    std::set<std::string> m_bridgesOverHardware;
    NetworkInterfaceTable m_table{[this](const std::string &name) {
        return InterfaceFacts{.isWireless = name.starts_with("wl"),
                              .isBridge = name.starts_with("br"),
                              .bridgesHardware = m_bridgesOverHardware.contains(name)};
    }};
};

TEST_F(NetworkInterfaceTableTest, FollowsLinkAddressAndRemoval) {
    apply(link(2, "eth0"));
    EXPECT_EQ(signature(), nothing);
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    EXPECT_EQ(signature(), ethernet);
    apply(link(2, "eth0", IFF_UP));
    EXPECT_EQ(signature(), nothing);
    apply(link(2, "eth0"));
    EXPECT_EQ(signature(), ethernet);
    apply(addressMessage(RTM_DELADDR, 2, "192.0.2.2"));
    EXPECT_EQ(signature(), nothing);
    apply(link(2, "eth0", upAndRunning, RTM_DELLINK));
    EXPECT_EQ(state(), NetworkState{});
}

TEST_F(NetworkInterfaceTableTest, ADeletedLinkTakesItsAddressesAndRoutesAlong) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(link(2, "eth0", upAndRunning, RTM_DELLINK));
    EXPECT_EQ(state(), NetworkState{});
}

TEST_F(NetworkInterfaceTableTest, ALinkMessageKeepsTheAddresses) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    apply(link(2, "lan0"));
    ASSERT_EQ(state().interfaces.size(), 1U);
    EXPECT_EQ(state().interfaces[0].name, "lan0");
    EXPECT_EQ(state().interfaces[0].addresses.size(), 1U);
}

TEST_F(NetworkInterfaceTableTest, ALinkMessageWithoutANameKeepsTheName) {
    apply(link(2, "wlan0"));
    apply(Message(RTM_NEWLINK).with(ifinfomsg{AF_UNSPEC, 0, ARPHRD_ETHER, 2, upAndRunning, 0}));
    EXPECT_EQ(state().interfaces.at(0).name, "wlan0");
    EXPECT_TRUE(state().interfaces.at(0).isWireless);
}

TEST_F(NetworkInterfaceTableTest, AWirelessInterfaceStaysOneWhateverItsName) {
    apply(link(2, "wlan0"));
    apply(link(2, "air0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    EXPECT_EQ(signature(), wiFi);
}

TEST_F(NetworkInterfaceTableTest, APortThatLeavesABridgeIsNotADeletedLink) {
    apply(link(2, "eth0"));
    apply(Message(RTM_DELLINK).with(ifinfomsg{AF_BRIDGE, 0, ARPHRD_ETHER, 2, upAndRunning, 0}));
    EXPECT_EQ(state().interfaces.size(), 1U);
}

TEST_F(NetworkInterfaceTableTest, ABridgeIsAskedAboutAgainWhenAPortJoinsOrLeaves) {
    apply(link(3, "br0"));
    apply(addressMessage(RTM_NEWADDR, 3, "192.0.2.2"));
    EXPECT_EQ(signature(), nothing);
    m_bridgesOverHardware = {"br0"};
    apply(link(2, "eth0"));
    EXPECT_EQ(signature(), ethernet);
    m_bridgesOverHardware = {};
    apply(Message(RTM_DELLINK).with(ifinfomsg{AF_BRIDGE, 0, ARPHRD_ETHER, 2, upAndRunning, 0}));
    EXPECT_EQ(signature(), nothing);
}

TEST_F(NetworkInterfaceTableTest, ARenewedAddressChangesNothing) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2"));
    const NetworkState before = state();
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2", IFA_F_DEPRECATED));
    EXPECT_EQ(state(), before);
}

TEST_F(NetworkInterfaceTableTest, AnAddressCountsOnceTheKernelHasMadeSureOfIt) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2", IFA_F_TENTATIVE));
    EXPECT_EQ(signature(), nothing);
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2"));
    EXPECT_EQ(signature(), ethernet);
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2", IFA_F_TENTATIVE | IFA_F_DADFAILED));
    EXPECT_EQ(signature(), nothing);
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2", IFA_F_TENTATIVE | IFA_F_OPTIMISTIC));
    EXPECT_EQ(signature(), ethernet);
}

TEST_F(NetworkInterfaceTableTest, BetweenTwoPointsTheOwnAddressCounts) {
    apply(link(2, "tun0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.1").withAddress(IFA_LOCAL, "169.254.0.1"));
    EXPECT_EQ(signature(), nothing);
    apply(addressMessage(RTM_NEWADDR, 2, "169.254.0.2").withAddress(IFA_LOCAL, "192.0.2.2"));
    EXPECT_EQ(signature(), ethernet);
}

TEST_F(NetworkInterfaceTableTest, AnAddressOfAnUnknownInterfaceIsLeftAside) {
    apply(addressMessage(RTM_NEWADDR, 9, "192.0.2.2"));
    EXPECT_EQ(state(), NetworkState{});
}

// MARK: Routes

TEST_F(NetworkInterfaceTableTest, FollowsADefaultRoute) {
    apply(link(2, "tun0"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    EXPECT_EQ(signature(), ethernet);
    apply(routeMessage(RTM_DELROUTE, 2, "192.0.2.1"));
    EXPECT_EQ(signature(), nothing);
    apply(routeMessage(RTM_NEWROUTE, 2, "fe80::1", 1024));
    EXPECT_EQ(signature(), ethernet);
}

TEST_F(NetworkInterfaceTableTest, OtherRoutesAreNone) {
    const auto applyWith = [&](void (*change)(rtmsg &)) {
        rtmsg header = routeHeader(AF_INET);
        change(header);
        apply(Message(RTM_NEWROUTE).with(header).with(RTA_OIF, 2U));
    };
    applyWith([](rtmsg &header) { header.rtm_dst_len = 8; });
    applyWith([](rtmsg &header) { header.rtm_src_len = 8; });
    applyWith([](rtmsg &header) { header.rtm_table = RT_TABLE_LOCAL; });
    applyWith([](rtmsg &header) { header.rtm_type = RTN_UNREACHABLE; });
    applyWith([](rtmsg &header) { header.rtm_flags = RTM_F_CLONED; });
    applyWith([](rtmsg &header) { header.rtm_family = AF_MPLS; });
    EXPECT_EQ(state(), NetworkState{});
    apply(
        Message(RTM_NEWROUTE).with(routeHeader(AF_INET)).with(RTA_OIF, 2U).with(RTA_TABLE, 51820U));
    EXPECT_EQ(state(), NetworkState{});
    applyWith([](rtmsg &) {});
    EXPECT_EQ(state().defaultRoutes.size(), 1U);
}

TEST_F(NetworkInterfaceTableTest, AReplacedRouteIsGoneWithoutAMessageOfItsOwn) {
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(routeMessage(RTM_NEWROUTE, 3, "198.51.100.1", 600));
    apply(routeMessage(RTM_NEWROUTE, 2, "fe80::1"));
    apply(routeMessage(RTM_NEWROUTE, 4, "203.0.113.1", 0, NLM_F_REPLACE));
    const std::vector<DefaultRoute> &routes = state().defaultRoutes;
    ASSERT_EQ(routes.size(), 3U);
    EXPECT_EQ(routes[0].family, AF_INET6);
    EXPECT_EQ(routes[1].interfaceIndex, 3);
    EXPECT_EQ(routes[2].interfaceIndex, 4);
}

TEST_F(NetworkInterfaceTableTest, AnInterfaceThatGoesDownLosesItsRoutes) {
    apply(link(2, "eth0"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(link(2, "eth0", IFF_UP)); // without carrier it keeps them
    EXPECT_EQ(state().defaultRoutes.size(), 1U);
    apply(link(2, "eth0", 0));
    apply(link(2, "eth0"));
    EXPECT_EQ(signature(), nothing);
}

TEST_F(NetworkInterfaceTableTest, TheLastAddressOfVersion4TakesTheRoutesAlong) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    apply(addressMessage(RTM_NEWADDR, 2, "169.254.1.1"));
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(routeMessage(RTM_NEWROUTE, 2, "fe80::1"));
    apply(addressMessage(RTM_DELADDR, 2, "192.0.2.2"));
    EXPECT_EQ(state().defaultRoutes.size(), 2U);
    apply(addressMessage(RTM_DELADDR, 2, "169.254.1.1"));
    ASSERT_EQ(state().defaultRoutes.size(), 1U);
    EXPECT_EQ(state().defaultRoutes[0].family, AF_INET6);
}

TEST_F(NetworkInterfaceTableTest, ARouteGoesWithTheAddressItSendsFrom) {
    for (const int index : {2, 3}) {
        apply(link(index, "eth"));
        apply(addressMessage(RTM_NEWADDR, static_cast<unsigned>(index), "192.0.2.2"));
        apply(addressMessage(RTM_NEWADDR, static_cast<unsigned>(index), "169.254.1.1"));
    }
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1").withAddress(RTA_PREFSRC, "192.0.2.2"));
    apply(addressMessage(RTM_DELADDR, 2, "192.0.2.2"));
    EXPECT_EQ(state().defaultRoutes.size(), 1U); // the other interface still holds it
    apply(addressMessage(RTM_DELADDR, 3, "192.0.2.2"));
    EXPECT_EQ(state().defaultRoutes.size(), 0U);
}

/// Two next hops: 192.0.2.1 through interface 2, and 2001:db8::1 through interface 3.
std::vector<char> twoNextHops() {
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

TEST_F(NetworkInterfaceTableTest, ARouteOverSeveralInterfacesCountsForEach) {
    const std::vector<char> hops = twoNextHops();
    apply(link(2, "eth0"));
    apply(link(3, "wlan0"));
    const auto message = [&](int type) {
        return Message(type)
            .with(routeHeader(AF_INET))
            .withBytes(RTA_MULTIPATH, hops.data(), hops.size());
    };
    apply(message(RTM_NEWROUTE));
    EXPECT_EQ(signature(), (NetworkPathSignature{true, true, true, false}));
    EXPECT_EQ(state().defaultRoutes.at(1).gateway, bytesOf("2001:db8::1"));
    apply(message(RTM_DELROUTE));
    EXPECT_EQ(signature(), nothing);
}

// MARK: Lists

TEST_F(NetworkInterfaceTableTest, WhatACompleteListDoesNotMentionIsGone) {
    using Listing = NetworkInterfaceTable::Listing;
    for (const int index : {2, 3}) {
        apply(link(index, "eth"));
        apply(addressMessage(RTM_NEWADDR, static_cast<unsigned>(index), "192.0.2.2"));
        apply(addressMessage(RTM_NEWADDR, static_cast<unsigned>(index), "192.0.2.3"));
    }
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.9"));

    m_table.beginListing(Listing::links);
    apply(link(2, "eth"));
    m_table.endListing();
    ASSERT_EQ(state().interfaces.size(), 1U);

    m_table.beginListing(Listing::addresses);
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.3"));
    m_table.endListing();
    ASSERT_EQ(state().interfaces[0].addresses, std::vector{address("192.0.2.3")});

    m_table.beginListing(Listing::routes);
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.9"));
    m_table.endListing();
    ASSERT_EQ(state().defaultRoutes.size(), 1U);
    EXPECT_EQ(state().defaultRoutes[0].gateway, bytesOf("192.0.2.9"));
}

TEST_F(NetworkInterfaceTableTest, AListThatIsBegunAgainForgetsWhatTheFirstMentioned) {
    using Listing = NetworkInterfaceTable::Listing;
    apply(link(2, "eth0"));
    m_table.beginListing(Listing::links);
    apply(link(2, "eth0"));
    m_table.beginListing(Listing::links);
    m_table.endListing();
    EXPECT_EQ(state(), NetworkState{});
}

// MARK: Malformed messages

TEST_F(NetworkInterfaceTableTest, NoMessageThatIsCutShortIsReadPastItsEnd) {
    const std::vector<char> hops = twoNextHops();
    apply(link(2, "eth0"));
    std::vector<Message> messages;
    messages.push_back(link(3, "eth1"));
    messages.push_back(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    messages.push_back(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    messages.push_back(Message(RTM_NEWROUTE)
                           .with(routeHeader(AF_INET))
                           .withBytes(RTA_MULTIPATH, hops.data(), hops.size()));
    for (Message &message : messages) {
        const std::uint32_t whole = message.header().nlmsg_len;
        for (std::uint32_t length = sizeof(nlmsghdr); length < whole; ++length) {
            const auto copy = message.cutTo(length);
            NetworkInterfaceTable table = m_table;
            table.apply(*reinterpret_cast<const nlmsghdr *>(copy.get()));
            // Between two attributes a cut cannot be told from an end; nothing else may get in.
            for (const NetworkInterface &found : table.state().interfaces) {
                EXPECT_TRUE(found.index == 2 || found.name.empty() || found.name == "eth1");
                for (const InterfaceAddress &held : found.addresses)
                    EXPECT_EQ(held, address("192.0.2.2"));
            }
        }
    }
}

TEST_F(NetworkInterfaceTableTest, MalformedMessagesChangeNothing) {
    apply(link(2, "eth0"));
    const NetworkState before = state();
    const ifaddrmsg four{
        .ifa_family = AF_INET, .ifa_prefixlen = 24, .ifa_flags = 0, .ifa_scope = 0, .ifa_index = 2};
    const std::uint64_t wide = 2;
    const char unterminated[] = {'e', 't', 'h', '9'};
    std::vector<char> hops = twoNextHops();

    apply(Message(RTM_NEWLINK));
    apply(Message(RTM_NEWADDR));
    apply(Message(RTM_NEWROUTE));
    apply(Message(RTM_NEWLINK)
              .with(ifinfomsg{AF_UNSPEC, 0, ARPHRD_ETHER, 2, 0, 0})
              .withBytes(IFLA_IFNAME, unterminated, sizeof unterminated));
    apply(link(0, "eth9"));
    apply(link(-1, "eth9"));
    apply(Message(RTM_NEWADDR).with(four));
    apply(Message(RTM_NEWADDR).with(four).withAddress(IFA_LOCAL, "2001:db8::2"));
    apply(Message(RTM_NEWADDR)
              .with(four)
              .withAddress(IFA_LOCAL, "192.0.2.2")
              .withBytes(IFA_FLAGS, &wide, sizeof wide));
    apply(Message(RTM_NEWROUTE).with(routeHeader(AF_INET)).withBytes(RTA_OIF, &wide, sizeof wide));
    apply(Message(RTM_NEWROUTE)
              .with(routeHeader(AF_INET))
              .withBytes(RTA_MULTIPATH, hops.data(), hops.size() - 1));
    reinterpret_cast<rtnexthop *>(hops.data())->rtnh_len = 0;
    apply(Message(RTM_NEWROUTE)
              .with(routeHeader(AF_INET))
              .withBytes(RTA_MULTIPATH, hops.data(), hops.size()));
    apply(Message(RTM_NEWNEIGH).with(four).withAddress(IFA_LOCAL, "192.0.2.2"));
    EXPECT_EQ(state(), before);

    Message overrun = addressMessage(RTM_NEWADDR, 2, "192.0.2.2");
    auto *attribute =
        static_cast<nlattr *>(mnl_nlmsg_get_payload_offset(&overrun.header(), sizeof four));
    attribute->nla_len = 200;
    apply(overrun);
    EXPECT_EQ(state(), before);
}

// MARK: Facts

/// A folder laid out like /sys/class/net.
class InterfaceFactsTest : public testing::Test {
  protected:
    void add(const std::string &name, const std::vector<std::string> &entries) const {
        for (const std::string &entry : entries)
            std::filesystem::create_directories(folder() / name / entry);
    }
    [[nodiscard]] InterfaceFacts facts(const std::string &name) const {
        return interfaceFactsIn(folder(), name);
    }
    [[nodiscard]] std::filesystem::path folder() const { return m_folder.path().toStdString(); }

  private:
    QTemporaryDir m_folder;
};

TEST_F(InterfaceFactsTest, ThereAreNoneWithoutAnEntry) {
    add("lo", {"queues"});
    for (const char *name : {"lo", "no such interface"}) {
        EXPECT_FALSE(facts(name).isWireless) << name;
        EXPECT_FALSE(facts(name).isBridge) << name;
    }
    EXPECT_FALSE(systemInterfaceFacts("no such interface").isWireless);
    EXPECT_FALSE(systemInterfaceFacts("lo").isBridge);
}

TEST_F(InterfaceFactsTest, AWirelessInterfaceIsKnownByEitherEntry) {
    add("wlan0", {"device", "phy80211"});
    add("ath0", {"device", "wireless"});
    add("eth0", {"device"});
    EXPECT_TRUE(facts("wlan0").isWireless);
    EXPECT_TRUE(facts("ath0").isWireless);
    EXPECT_FALSE(facts("eth0").isWireless);
}

TEST_F(InterfaceFactsTest, ABridgeIsOverHardwareWhenAPortIsOrStandsOnADevice) {
    add("eth0", {"device"});
    add("veth1", {"queues"});
    add("bond0", {"lower_eth0"});
    add("bond0.7", {"lower_bond0"});
    const struct {
        const char *name;
        std::vector<std::string> entries;
        bool isOverHardware;
    } rows[] = {
        {"empty", {"bridge", "brif"}, false},
        {"guests", {"bridge", "brif/veth1", "lower_veth1"}, false},
        {"wired", {"bridge", "brif/veth1", "brif/eth0", "lower_veth1", "lower_eth0"}, true},
        {"tagged", {"bridge", "brif/bond0.7", "lower_bond0.7"}, true},
        {"gone", {"bridge", "brif/eth9", "lower_eth9"}, false},
        {"round", {"bridge", "lower_round"}, false},
    };
    for (const auto &row : rows) {
        add(row.name, row.entries);
        EXPECT_TRUE(facts(row.name).isBridge) << row.name;
        EXPECT_EQ(facts(row.name).bridgesHardware, row.isOverHardware) << row.name;
    }
    EXPECT_FALSE(facts("eth0").isBridge);
    EXPECT_FALSE(facts("bond0").isBridge);
}

} // namespace
} // namespace lumvik
