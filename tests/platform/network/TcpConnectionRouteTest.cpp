#include "TcpConnectionFixture.h"

#include <QProcess>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>

// Tests with hosts to which the machine has no route, or to which a route is added later.

namespace lumvik::test {
namespace {

using TcpConnectionTest = TcpConnectionFixture;

using testing::ElementsAre;

int ip(const QStringList &arguments) {
    return QProcess::execute(QStringLiteral("ip"), arguments);
}

/// Moves the queue's thread into a network namespace of its own that contains only the loopback
/// interface. Returns false if the system does not permit this.
bool isolate(SerialQueue &queue) {
    return runOn(queue, [] {
        return ::unshare(CLONE_NEWNET) == 0 &&
               ip({QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("lo"),
                   QStringLiteral("up")}) == 0;
    });
}

bool addAddress(SerialQueue &queue, const QString &address) {
    return runOn(queue, [&] {
               return ip({QStringLiteral("address"), QStringLiteral("add"), address,
                          QStringLiteral("dev"), QStringLiteral("lo")});
           }) == 0;
}

TEST_F(TcpConnectionTest, ConnectsToAScopedAddress) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    if (!addAddress(queue, QStringLiteral("fe80::5/64")))
        GTEST_SKIP() << "this system has no IPv6";
    std::unique_ptr<LocalPort> port;
    runOn(queue,
          [&] { port = std::make_unique<LocalPort>(LocalPort::Behaviour::listening, "::"); });
    const auto connection = started(QStringLiteral("fe80::5%lo"), port->port());
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(port->accept());
}

TEST_F(TcpConnectionTest, WaitsForTheInterfaceThatTheScopeNames) {
    const auto connection = started(QStringLiteral("fe80::1%absent0"), 554);
    ASSERT_TRUE(reports.reach(State::waiting));
    EXPECT_EQ(failureOf(*connection), ConnectionFailure::unreachable);
    connection->cancel();
    EXPECT_TRUE(reports.reach(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::waiting, State::cancelled));
}

TEST_F(TcpConnectionTest, WaitsWithoutARouteAndConnectsOnceOneExists) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    std::unique_ptr<LocalPort> port;
    runOn(queue,
          [&] { port = std::make_unique<LocalPort>(LocalPort::Behaviour::listening, "0.0.0.0"); });
    const auto connection = started(QStringLiteral("192.0.2.1"), port->port());
    ASSERT_TRUE(reports.reach(State::waiting));
    // Three more attempts do not change the state.
    EXPECT_FALSE(QTest::qWaitFor([&] { return reports.states().size() > 2; }, 900));
    ASSERT_TRUE(addAddress(queue, QStringLiteral("192.0.2.1/24")));
    ASSERT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(port->accept());
    connection->cancel();
    EXPECT_TRUE(port->peerEndsCleanly());
}

TEST_F(TcpConnectionTest, FailsWhenARouteAppearsToAHostThatRefuses) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    const auto connection = started(QStringLiteral("192.0.2.1"), 554);
    ASSERT_TRUE(reports.reach(State::waiting));
    ASSERT_TRUE(addAddress(queue, QStringLiteral("192.0.2.1/24")));
    EXPECT_TRUE(reports.reach(State::failed));
}

TEST_F(TcpConnectionTest, WaitsWithoutAnIPv6Route) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    if (!LocalPort(LocalPort::Behaviour::refusing, "::1").isBound())
        GTEST_SKIP() << "this system has no IPv6";
    const auto connection = started(QStringLiteral("2001:db8::1"), 554);
    EXPECT_TRUE(reports.reach(State::waiting));
}

TEST_F(TcpConnectionTest, LooksUpANameOnlyOnceWhileWaitingForARoute) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    std::atomic_int lookups = 0;
    const auto connection =
        started(QStringLiteral("far.example"), 554, [&](const std::string &, std::uint16_t port) {
            ++lookups;
            return numericalAddresses(QStringLiteral("192.0.2.1"), port);
        });
    ASSERT_TRUE(reports.reach(State::waiting));
    ASSERT_TRUE(addAddress(queue, QStringLiteral("192.0.2.1/24")));
    EXPECT_TRUE(reports.reach(State::failed));
    EXPECT_EQ(lookups, 1);
}

TEST_F(TcpConnectionTest, FailsWhenTheHostIsUnreachableDespiteARoute) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    const int added = runOn(queue, [] {
        return ip({QStringLiteral("route"), QStringLiteral("add"), QStringLiteral("unreachable"),
                   QStringLiteral("192.0.2.0/24")});
    });
    ASSERT_EQ(added, 0);
    const auto connection = started(QStringLiteral("192.0.2.1"), 554);
    EXPECT_TRUE(reports.reach(State::failed));
    EXPECT_EQ(failureOf(*connection), ConnectionFailure::unreachable);
}

TEST_F(TcpConnectionTest, FailsWhenTheConnectionTimesOut) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not permit a network namespace";
    std::unique_ptr<LocalPort> port;
    const bool isLimited = runOn(queue, [&] {
        port = std::make_unique<LocalPort>(LocalPort::Behaviour::full);
        // With one retransmission the system gives up after three seconds instead of two minutes.
        const FileDescriptor file(
            ::open("/proc/sys/net/ipv4/tcp_syn_retries", O_WRONLY | O_CLOEXEC));
        return ::write(file.get(), "1", 1) == 1;
    });
    if (!isLimited)
        GTEST_SKIP() << "this system does not permit changing its time-out";
    const auto connection = started(loopback, port->port());
    EXPECT_TRUE(reports.reach(State::failed));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

} // namespace
} // namespace lumvik::test
