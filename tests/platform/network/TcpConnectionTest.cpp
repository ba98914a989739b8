#include "TcpConnectionFixture.h"
#include "platform/OpenDescriptors.h"

#include <gmock/gmock.h>

// Tests with local hosts given by numerical address.

namespace lumvik::test {
namespace {

using TcpConnectionTest = TcpConnectionFixture;

using testing::ElementsAre;

TEST_F(TcpConnectionTest, BecomesReadyWhenTheHostListensAndSendsNothing) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.reach(State::ready));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
    ASSERT_TRUE(port.accept());
    EXPECT_TRUE(port.peerIsIdle());
    connection->cancel();
    EXPECT_TRUE(port.peerEndsCleanly());
    EXPECT_TRUE(reports.reach(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready, State::cancelled));
}

TEST_F(TcpConnectionTest, DestructionClosesTheConnectionAndReportsNothing) {
    LocalPort port(LocalPort::Behaviour::listening);
    auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.reach(State::ready));
    ASSERT_TRUE(port.accept());
    connection.reset();
    EXPECT_TRUE(port.peerEndsCleanly());
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
}

TEST_F(TcpConnectionTest, FailsWhenTheHostRefuses) {
    const LocalPort port(LocalPort::Behaviour::refusing);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.reach(State::failed));
    EXPECT_EQ(failureOf(*connection), ConnectionFailure::refused);
    connection->cancel();
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

TEST_F(TcpConnectionTest, ConnectsOverIPv6WithoutBrackets) {
    LocalPort port(LocalPort::Behaviour::listening, "::1");
    if (!port.isBound())
        GTEST_SKIP() << "this system has no IPv6";
    const auto connection = started(QStringLiteral("::1"), port.port());
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(port.accept());
}

TEST_F(TcpConnectionTest, StaysPreparingWhileTheHostDoesNotAnswer) {
    const LocalPort port(LocalPort::Behaviour::full);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.reach(State::preparing));
    EXPECT_FALSE(QTest::qWaitFor([&] { return reports.states().size() > 1; }, 700));
    connection->cancel();
    EXPECT_TRUE(reports.reach(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::cancelled));
}

TEST_F(TcpConnectionTest, ConnectionCancelledBeforeStartNeverConnects) {
    LocalPort port(LocalPort::Behaviour::listening);
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler(reports.handler());
    connection.cancel();
    connection.start(queue);
    drain(queue);
    EXPECT_TRUE(reports.states().empty());
}

TEST_F(TcpConnectionTest, ThousandConnectionsLeaveNoDescriptorOpen) {
    LocalPort listening(LocalPort::Behaviour::listening);
    const LocalPort refusing(LocalPort::Behaviour::refusing);
    const LocalPort full(LocalPort::Behaviour::full);
    const std::uint16_t ports[] = {listening.port(), refusing.port(), full.port()};
    drain(queue);
    const int before = openDescriptors();
    for (int n = 0; n < 1000; ++n) {
        Reports ownReports;
        TcpConnection connection(loopback, ports[n % 3]);
        connection.setStateUpdateHandler(ownReports.handler());
        connection.start(queue);
        if (n % 2 == 0)
            drain(queue);
        connection.cancel();
        drain(queue);
        listening.acceptAndCloseAll();
    }
    drain(queue);
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace lumvik::test
