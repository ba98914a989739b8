#include "platform/network/UsableNetwork.h"

#include "NetworkAddresses.h"
#include "PathSignatures.h"

#include <gtest/gtest.h>
#include <net/if_arp.h>

#include <string>
#include <utility>
#include <vector>

namespace lumvik::test {
namespace {

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

struct Row {
    const char *description;
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

TEST(NetworkPathSignature, DependsOnTheUsableInterfaces) {
    const std::vector<InterfaceAddress> none;
    const std::vector<InterfaceAddress> global = {address("192.0.2.2")};
    const std::vector<Row> rows = {
        {"no interfaces", {}, {}, nothing},
        {"loopback with an address", {loopback(interface(1, global))}, {}, nothing},
        {"loopback with a default route",
         {loopback(interface(1, none))},
         {route(1, "::")},
         nothing},
        {"a wired interface", {interface(2, global)}, {}, ethernet},
        {"a wireless interface", {wireless(interface(2, global))}, {}, wiFi},
        {"a tunnel", {tunnel(interface(2, global))}, {}, other},
        {"a dial-up modem",
         {changed(interface(2, global), [](NetworkInterface &i) { i.hardwareType = ARPHRD_PPP; })},
         {},
         other},
        {"a bridge over hardware", {bridge(interface(2, global), true)}, {}, ethernet},
        {"a virtual bridge", {bridge(interface(2, global), false)}, {}, nothing},
        {"a virtual bridge with a default route",
         {bridge(interface(2, global), false)},
         {route(2, "192.0.2.1")},
         ethernet},
        {"a default route beside a virtual bridge",
         {wireless(interface(2, global)), bridge(interface(3, global), false)},
         {route(2, "192.0.2.1")},
         wiFi},
        {"all kinds of interface",
         {interface(2, global), wireless(interface(3, global)), tunnel(interface(4, global))},
         {},
         {.isSatisfied = true, .usesWiFi = true, .usesEthernet = true, .usesOther = true}},
        {"no carrier", {withoutCarrier(interface(2, global))}, {}, nothing},
        {"interface down", {down(interface(2, global))}, {}, nothing},
        {"no address", {interface(2, none)}, {}, nothing},
        {"an IPv6 address", {interface(2, {address("2001:db8::2")})}, {}, ethernet},
        {"a unique local IPv6 address", {interface(2, {address("fd00::2")})}, {}, ethernet},
        {"a link-local IPv4 address", {interface(2, {address("169.254.7.7")})}, {}, ethernet},
        {"a link-local IPv6 address", {interface(2, {address("fe80::2")})}, {}, nothing},
        {"an IPv6 address at the end of the link-local range",
         {interface(2, {address("febf::2")})},
         {},
         nothing},
        {"an IPv6 address just outside the link-local range",
         {interface(2, {address("fec0::2")})},
         {},
         ethernet},
        {"an IPv4 loopback address", {interface(2, {address("127.0.0.2")})}, {}, nothing},
        {"an IPv6 loopback address", {interface(2, {address("::1")})}, {}, nothing},
        {"the unspecified addresses",
         {interface(2, {address("0.0.0.0"), address("::")})},
         {},
         nothing},
        {"a link-local and a global address",
         {interface(2, {address("fe80::2"), address("2001:db8::2")})},
         {},
         ethernet},
        {"a default route without an address",
         {tunnel(interface(2, none))},
         {route(2, "0.0.0.0")},
         other},
        {"an IPv6 default route", {wireless(interface(2, none))}, {route(2, "fe80::1")}, wiFi},
        {"a route through an interface without carrier",
         {withoutCarrier(interface(2, none))},
         {route(2, "192.0.2.1")},
         nothing},
        {"a route through an interface that is down",
         {down(interface(2, none))},
         {route(2, "192.0.2.1")},
         nothing},
        {"a route through an unknown interface", {}, {route(2, "192.0.2.1")}, nothing},
        {"unusable interfaces of other kinds",
         {interface(2, global), withoutCarrier(wireless(interface(3, global))),
          tunnel(interface(4, none))},
         {},
         ethernet},
    };
    for (const Row &row : rows)
        EXPECT_EQ(networkPathSignature({row.interfaces, row.routes}), row.expected)
            << row.description;
}

TEST(UsableNetwork, OmitsEverythingThatNoConnectionDependsOn) {
    const NetworkState plain = {{interface(2, {address("192.0.2.2")})}, {}};
    NetworkState embellished = plain;
    embellished.interfaces[0].name = "renamed";
    embellished.interfaces[0].addresses.push_back(address("fe80::2"));
    embellished.interfaces.push_back(down(interface(3, {address("198.51.100.2")})));
    embellished.defaultRoutes.push_back(route(3, "198.51.100.1"));
    EXPECT_EQ(usableNetwork(embellished), usableNetwork(plain));
}

TEST(UsableNetwork, IsUnaffectedByThePortsOfABridgeWithADefaultRoute) {
    const NetworkInterface plain = interface(2, {address("192.0.2.2")});
    const std::vector<DefaultRoute> routes = {route(2, "192.0.2.1")};
    EXPECT_EQ(usableNetwork({{bridge(plain, false)}, routes}),
              usableNetwork({{bridge(plain, true)}, routes}));
}

TEST(UsableNetwork, DiffersWhenAnAddressARouteOrAnInterfaceDiffers) {
    const NetworkState plain = {{interface(2, {address("192.0.2.2")})}, {route(2, "192.0.2.1")}};
    const NetworkState otherAddress = {{interface(2, {address("192.0.2.3")})},
                                       {route(2, "192.0.2.1")}};
    const NetworkState otherRoute = {{interface(2, {address("192.0.2.2")})},
                                     {route(2, "192.0.2.9")}};
    const NetworkState otherInterface = {{interface(3, {address("192.0.2.2")})},
                                         {route(3, "192.0.2.1")}};
    EXPECT_NE(usableNetwork(plain), usableNetwork(otherAddress));
    EXPECT_NE(usableNetwork(plain), usableNetwork(otherRoute));
    EXPECT_NE(usableNetwork(plain), usableNetwork(otherInterface));
}

} // namespace
} // namespace lumvik::test
