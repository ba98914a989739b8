#include "platform/network/NetworkInterfaceTable.h"

#include "PathSignatures.h"
#include "RtnetlinkMessage.h"
#include "platform/network/UsableNetwork.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace lumvik::test {
namespace {

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
        return SysfsInterfaceAttributes{.isWireless = name.starts_with("wl"),
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

TEST_F(NetworkInterfaceTableTest, DeletingALinkRemovesItsAddressesAndRoutes) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(link(2, "eth0", upAndRunning, RTM_DELLINK));
    EXPECT_EQ(state(), NetworkState{});
}

TEST_F(NetworkInterfaceTableTest, LinkMessageKeepsTheAddresses) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    apply(link(2, "lan0"));
    ASSERT_EQ(state().interfaces.size(), 1U);
    EXPECT_EQ(state().interfaces[0].name, "lan0");
    EXPECT_EQ(state().interfaces[0].addresses.size(), 1U);
}

TEST_F(NetworkInterfaceTableTest, LinkMessageWithoutANameKeepsTheName) {
    apply(link(2, "wlan0"));
    apply(Message(RTM_NEWLINK).with(ifinfomsg{AF_UNSPEC, 0, ARPHRD_ETHER, 2, upAndRunning, 0}));
    EXPECT_EQ(state().interfaces.at(0).name, "wlan0");
    EXPECT_TRUE(state().interfaces.at(0).isWireless);
}

TEST_F(NetworkInterfaceTableTest, WirelessInterfaceStaysWirelessAfterRenaming) {
    apply(link(2, "wlan0"));
    apply(link(2, "air0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.2"));
    EXPECT_EQ(signature(), wiFi);
}

TEST_F(NetworkInterfaceTableTest, PortLeavingABridgeIsNotADeletedLink) {
    apply(link(2, "eth0"));
    apply(Message(RTM_DELLINK).with(ifinfomsg{AF_BRIDGE, 0, ARPHRD_ETHER, 2, upAndRunning, 0}));
    EXPECT_EQ(state().interfaces.size(), 1U);
}

TEST_F(NetworkInterfaceTableTest, BridgeAttributesAreReadAgainWhenAPortJoinsOrLeaves) {
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

TEST_F(NetworkInterfaceTableTest, RenewingAnAddressChangesNothing) {
    apply(link(2, "eth0"));
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2"));
    const NetworkState before = state();
    apply(addressMessage(RTM_NEWADDR, 2, "2001:db8::2", IFA_F_DEPRECATED));
    EXPECT_EQ(state(), before);
}

TEST_F(NetworkInterfaceTableTest, AddressCountsOnceTheKernelHasConfirmedIt) {
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

TEST_F(NetworkInterfaceTableTest, LocalAddressOfAPointToPointLinkCounts) {
    apply(link(2, "tun0"));
    apply(addressMessage(RTM_NEWADDR, 2, "192.0.2.1").withAddress(IFA_LOCAL, "127.0.0.2"));
    EXPECT_EQ(signature(), nothing);
    apply(addressMessage(RTM_NEWADDR, 2, "127.0.0.3").withAddress(IFA_LOCAL, "192.0.2.2"));
    EXPECT_EQ(signature(), ethernet);
}

TEST_F(NetworkInterfaceTableTest, AddressOfAnUnknownInterfaceIsIgnored) {
    apply(addressMessage(RTM_NEWADDR, 9, "192.0.2.2"));
    EXPECT_EQ(state(), NetworkState{});
}

// Routes

TEST_F(NetworkInterfaceTableTest, FollowsADefaultRoute) {
    apply(link(2, "tun0"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    EXPECT_EQ(signature(), ethernet);
    apply(routeMessage(RTM_DELROUTE, 2, "192.0.2.1"));
    EXPECT_EQ(signature(), nothing);
    apply(routeMessage(RTM_NEWROUTE, 2, "fe80::1", 1024));
    EXPECT_EQ(signature(), ethernet);
}

TEST_F(NetworkInterfaceTableTest, IgnoresRoutesThatAreNotDefaultRoutes) {
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

TEST_F(NetworkInterfaceTableTest, ReplacingARouteRemovesTheOldOne) {
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

TEST_F(NetworkInterfaceTableTest, InterfaceThatGoesDownLosesItsRoutes) {
    apply(link(2, "eth0"));
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1"));
    apply(link(2, "eth0", IFF_UP)); // losing the carrier keeps the routes
    EXPECT_EQ(state().defaultRoutes.size(), 1U);
    apply(link(2, "eth0", 0));
    apply(link(2, "eth0"));
    EXPECT_EQ(signature(), nothing);
}

TEST_F(NetworkInterfaceTableTest, RemovingTheLastIPv4AddressRemovesTheIPv4Routes) {
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

TEST_F(NetworkInterfaceTableTest, RemovingTheSourceAddressOfARouteRemovesTheRoute) {
    for (const int index : {2, 3}) {
        apply(link(index, "eth"));
        apply(addressMessage(RTM_NEWADDR, static_cast<unsigned>(index), "192.0.2.2"));
        apply(addressMessage(RTM_NEWADDR, static_cast<unsigned>(index), "169.254.1.1"));
    }
    apply(routeMessage(RTM_NEWROUTE, 2, "192.0.2.1").withAddress(RTA_PREFSRC, "192.0.2.2"));
    apply(addressMessage(RTM_DELADDR, 2, "192.0.2.2"));
    EXPECT_EQ(state().defaultRoutes.size(), 1U); // the other interface still has the address
    apply(addressMessage(RTM_DELADDR, 3, "192.0.2.2"));
    EXPECT_EQ(state().defaultRoutes.size(), 0U);
}

TEST_F(NetworkInterfaceTableTest, RouteOverSeveralInterfacesCountsForEach) {
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

// Complete lists

TEST_F(NetworkInterfaceTableTest, CompleteListRemovesEntriesThatItDoesNotContain) {
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

TEST_F(NetworkInterfaceTableTest, RestartedListDiscardsTheEntriesOfTheInterruptedList) {
    using Listing = NetworkInterfaceTable::Listing;
    apply(link(2, "eth0"));
    m_table.beginListing(Listing::links);
    apply(link(2, "eth0"));
    m_table.beginListing(Listing::links);
    m_table.endListing();
    EXPECT_EQ(state(), NetworkState{});
}

// Malformed messages

TEST_F(NetworkInterfaceTableTest, TruncatedMessageIsNotReadPastItsEnd) {
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
            // A message cut between two attributes is still valid, but it must yield only data of
            // the original message.
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

} // namespace
} // namespace lumvik::test
