#include "TcpConnectionFixture.h"
#include "platform/OpenDescriptors.h"

#include <gmock/gmock.h>

// Hosts at hand, given by number.

namespace lumvik::test {
namespace {

using TcpConnectionTest = TcpConnectionFixture;

using testing::ElementsAre;

TEST_F(TcpConnectionTest, IsReadyWhenTheHostListensAndSendsNothing) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::ready));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
    ASSERT_TRUE(port.accept());
    EXPECT_TRUE(port.peerIsSilent());
    connection->cancel();
    EXPECT_TRUE(port.peerEnds());
    EXPECT_TRUE(reports.comeTo(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready, State::cancelled));
}

TEST_F(TcpConnectionTest, EndsTheConnectionWhenItIsDestroyedAndReportsNothingMore) {
    LocalPort port(LocalPort::Behaviour::listening);
    auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::ready));
    ASSERT_TRUE(port.accept());
    connection.reset();
    EXPECT_TRUE(port.peerEnds());
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
}

TEST_F(TcpConnectionTest, FailsWhenTheHostRefuses) {
    const LocalPort port(LocalPort::Behaviour::refusing);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::failed));
    connection->cancel();
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

TEST_F(TcpConnectionTest, ConnectsOverIPv6WithoutBrackets) {
    LocalPort port(LocalPort::Behaviour::listening, "::1");
    if (!port.isBound())
        GTEST_SKIP() << "this system has no IPv6";
    const auto connection = started(QStringLiteral("::1"), port.port());
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(port.accept());
}

TEST_F(TcpConnectionTest, StaysPreparingWhileNobodyAnswers) {
    const LocalPort port(LocalPort::Behaviour::full);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::preparing));
    EXPECT_FALSE(QTest::qWaitFor([&] { return reports.states().size() > 1; }, 700));
    connection->cancel();
    EXPECT_TRUE(reports.comeTo(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::cancelled));
}

TEST_F(TcpConnectionTest, CancelledBeforeTheStartItNeverConnects) {
    LocalPort port(LocalPort::Behaviour::listening);
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler(reports.handler());
    connection.cancel();
    connection.start(queue);
    drain(queue);
    EXPECT_TRUE(reports.states().empty());
}

TEST_F(TcpConnectionTest, AThousandConnectionsLeaveNoDescriptor) {
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
        listening.takeAll();
    }
    drain(queue);
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace lumvik::test
