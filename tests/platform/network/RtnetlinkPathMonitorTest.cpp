#include "RtnetlinkPathMonitorFixture.h"

#include <atomic>

// Tests of the reports about a changing network.

namespace lumvik::test {
namespace {

using RtnetlinkPathMonitorNamespaceTest = RtnetlinkPathMonitorNamespaceFixture;

TEST_F(RtnetlinkPathMonitorNamespaceTest, ReportsOnceThatNothingIsConnected) {
    makeMonitor();
    m_monitor->start(m_queue);
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip link set lo up; ip link add near type veth peer name far");
    run("ip link set near up; ip link set far up; ip addr add 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, FirstReportIsComplete) {
    plugIn();
    startAndWaitFor(ethernet);
    RtnetlinkPathMonitor second;
    Recorder recorder;
    second.setPathUpdateHandler(
        [&](const NetworkPathSignature &signature) { recorder.add(signature); });
    second.start(m_queue);
    EXPECT_EQ(recorder.waitForCount(1), Updates{ethernet});
    second.cancel();
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, LossAndReturnOfTheCarrierAreReported) {
    plugIn();
    run("ip route add default via 192.0.2.1");
    startAndWaitFor(ethernet);
    run("ip link set far down");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip link set far up");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, RemovedAddressMakesItsDefaultRouteUseless) {
    plugIn();
    run("ip route add default via 192.0.2.1");
    startAndWaitFor(ethernet);
    run("ip addr del 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip addr add 192.0.2.3/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ReplacedAddressIsReportedAsALossEvenIfReadAtOnce) {
    plugIn();
    run("ip route add default via 192.0.2.1");
    startAndWaitFor(ethernet);
    runWhileTheMonitorWaits("ip addr del 192.0.2.2/24 dev near; ip addr add 198.51.100.2/24 dev "
                            "near; ip route add default via 198.51.100.1");
    EXPECT_EQ(m_recorder.waitForCount(3), (Updates{nothing, ethernet, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, SecondInterfaceOfTheSameKindIsReported) {
    plugIn();
    startAndWaitFor(ethernet);
    run("ip link add bridge type bridge; ip addr add 198.51.100.2/24 dev bridge; "
        "ip link add port type veth peer name socket; ip link set port master bridge; "
        "ip link set bridge up; ip link set port up; ip link set socket up");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{ethernet});
    run("ip link set port nomaster; ip link del bridge; ip addr del 192.0.2.2/24 dev near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, IrrelevantChangesAreNotReported) {
    plugIn();
    startAndWaitFor(ethernet);
    run("ip addr change 192.0.2.2/24 dev near valid_lft 1000 preferred_lft 1000;"
        "ip addr change 192.0.2.2/24 dev near valid_lft 2000 preferred_lft 0;"
        "ip link set near mtu 1400; ip link set near promisc on;"
        "ip addr add 127.0.0.2/8 dev near; ip addr add 127.0.0.1/8 dev lo; ip link set lo up;"
        "ip route add 203.0.113.0/24 via 192.0.2.1; ip route add default via 192.0.2.1 table 7;"
        "ip link add idle type veth peer name idle2; ip addr add 198.51.100.2/24 dev idle;"
        "ip addr del 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, IPv6AddressCountsOnceItIsConfirmed) {
    if (!hasIPv6())
        GTEST_SKIP() << "this system has no IPv6";
    run("ip link add near type veth peer name far; ip link set near up; ip link set far up");
    startAndWaitFor(nothing);
    run("ip addr add 2001:db8::2/64 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{ethernet});
    run("ip addr del 2001:db8::2/64 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{ethernet, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, TunnelCountsAsAnotherKind) {
    startAndWaitFor(nothing);
    auto tunnel = openTunnel();
    if (!tunnel.isOpen())
        GTEST_SKIP() << "this system has no tunnels";
    run("ip addr add 192.0.2.2/24 dev tunnel");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{other});
    tunnel.reset(); // removes the interface
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{other, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, DefaultRouteIsSufficient) {
    startAndWaitFor(nothing);
    const auto tunnel = openTunnel();
    if (!tunnel.isOpen())
        GTEST_SKIP() << "this system has no tunnels";
    run("ip route add default dev tunnel");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{other});
    run("ip route del default");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{other, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, IPv6DefaultRouteIsSufficient) {
    if (!hasIPv6())
        GTEST_SKIP() << "this system has no IPv6";
    startAndWaitFor(nothing);
    const auto tunnel = openTunnel();
    if (!tunnel.isOpen())
        GTEST_SKIP() << "this system has no tunnels";
    run("ip -6 route add default dev tunnel");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{other});
    run("ip link set tunnel down");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{other, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, RenamedInterfaceKeepsItsKind) {
    plugIn();
    startAndWaitFor(wiFi, {.readAttributes = [](const std::string &name) {
                        return SysfsInterfaceAttributes{.isWireless = name == "near"};
                    }});
    run("ip link set near down; ip link set near name renamed; ip link set renamed up");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, wiFi}));
    run("ip addr del 192.0.2.2/24 dev renamed");
    EXPECT_EQ(m_recorder.waitForCount(3), (Updates{nothing, wiFi, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ContainerBridgeIsNoPathWhenTheCableIsPulled) {
    std::atomic_bool hasHardware = false;
    plugIn();
    startAndWaitFor(ethernet, {.readAttributes = [&](const std::string &name) {
                        return SysfsInterfaceAttributes{.isBridge = name == "bridge",
                                                        .bridgesHardware = hasHardware};
                    }});
    run("ip link add bridge type bridge; ip addr add 198.51.100.2/24 dev bridge; "
        "ip link add port type veth peer name socket; ip link set port master bridge; "
        "ip link set bridge up; ip link set port up; ip link set socket up");
    run("ip link set far down");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    // A port without an address of its own turns the bridge into a path.
    hasHardware = true;
    run("ip link add wire type veth peer name end; ip link set wire master bridge");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
    hasHardware = false;
    run("ip link set wire nomaster");
    EXPECT_EQ(m_recorder.waitForCount(3), (Updates{nothing, ethernet, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, DeletedInterfaceIsReported) {
    plugIn();
    startAndWaitFor(ethernet);
    run("ip link del near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

} // namespace
} // namespace lumvik::test
