#include "TcpConnectionFixture.h"
#include "fakes/HangingResolver.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>
#include <netdb.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>

// Tests with hosts given by name.

namespace lumvik::test {
namespace {

using TcpConnectionTest = TcpConnectionFixture;

using testing::ElementsAre;

TEST_F(TcpConnectionTest, ConnectsToAName) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(QStringLiteral("localhost"), port.port());
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(port.accept());
}

TEST_F(TcpConnectionTest, FailsWhenTheNameDoesNotExist) {
    const auto connection =
        started(QStringLiteral("absent.example"), 554,
                [](const std::string &, int) { return tl::unexpected(LookupError::noSuchName); });
    EXPECT_TRUE(reports.reach(State::failed));
    EXPECT_EQ(failureOf(*connection), ConnectionFailure::nameNotFound);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

TEST_F(TcpConnectionTest, WaitsWithTheReasonWhileNoNameServerIsReachable) {
    const auto connection =
        started(QStringLiteral("camera.example"), 554,
                [](const std::string &, int) { return tl::unexpected(LookupError::temporary); });
    ASSERT_TRUE(reports.reach(State::waiting));
    EXPECT_EQ(failureOf(*connection), ConnectionFailure::noNameServer);
}

TEST_F(TcpConnectionTest, WaitsWhileNoNameServerIsReachableAndThenConnects) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto asked = std::make_shared<std::atomic_int>(0);
    const auto connection = started(QStringLiteral("camera.example"), 554,
                                    [asked, answer = numericalAddresses(loopback, port.port())](
                                        const std::string &, int) -> LookupResult {
                                        if (++*asked < 3)
                                            return tl::unexpected(LookupError::temporary);
                                        return answer;
                                    });
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(port.accept());
    EXPECT_EQ(*asked, 3);
    const States states = reports.states();
    EXPECT_EQ(std::count(states.begin(), states.end(), State::failed), 0);
    EXPECT_EQ(std::count(states.begin(), states.end(), State::waiting), 1);
}

TEST_F(TcpConnectionTest, AddressThatDoesNotAnswerIsPassedOver) {
    const LocalPort silent(LocalPort::Behaviour::full);
    LocalPort listening(LocalPort::Behaviour::listening);
    std::vector<SocketAddress> addresses = numericalAddresses(loopback, silent.port());
    addresses.push_back(numericalAddresses(loopback, listening.port()).at(0));
    const auto connection =
        started(QStringLiteral("camera.example"), 554,
                [addresses](const std::string &, int) -> LookupResult { return addresses; });
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(listening.accept());
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
}

TEST_F(TcpConnectionTest, DoesNotFailWhileAnAddressMayStillAnswer) {
    const LocalPort silent(LocalPort::Behaviour::full);
    const LocalPort refusing(LocalPort::Behaviour::refusing);
    std::vector<SocketAddress> addresses = numericalAddresses(loopback, silent.port());
    addresses.push_back(numericalAddresses(loopback, refusing.port()).at(0));
    const auto connection =
        started(QStringLiteral("camera.example"), 554,
                [addresses](const std::string &, int) -> LookupResult { return addresses; });
    EXPECT_FALSE(QTest::qWaitFor([&] { return reports.endWith(State::failed); }, 2500));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing));
}

TEST(HostLookup, OnlyAnUnreachableNameServerIsATemporaryError) {
    EXPECT_EQ(lookupError(EAI_AGAIN), LookupError::temporary);
    for (const int number : {EAI_NONAME, EAI_FAIL, EAI_FAMILY, EAI_MEMORY, EAI_SYSTEM})
        EXPECT_EQ(lookupError(number), LookupError::noSuchName) << number;
}

TEST_F(TcpConnectionTest, FailsWhenTheNameIsInvalid) {
    for (const QString &host : {QString(), QStringLiteral("a..b"), QStringLiteral("a b")}) {
        Reports ownReports;
        TcpConnection connection(host, 554);
        connection.setStateUpdateHandler(ownReports.handler());
        connection.start(queue);
        EXPECT_TRUE(ownReports.reach(State::failed)) << qPrintable(host);
    }
}

TEST_F(TcpConnectionTest, PassesAnInternationalNameToTheResolverInAscii) {
    std::mutex mutex;
    std::string asked;
    const auto connection =
        started(QStringLiteral("kamera-tür.example"), 8554, [&](const std::string &name, int port) {
            const std::scoped_lock lock(mutex);
            asked = name + ' ' + std::to_string(port);
            return std::vector<SocketAddress>();
        });
    ASSERT_TRUE(reports.reach(State::failed));
    const std::scoped_lock lock(mutex);
    EXPECT_EQ(asked, "xn--kamera-tr-x9a.example 8554");
}

TEST_F(TcpConnectionTest, TriesEachAddressOfANameUntilOneConnects) {
    const LocalPort refusing(LocalPort::Behaviour::refusing);
    LocalPort listening(LocalPort::Behaviour::listening);
    const auto connection =
        started(QStringLiteral("two.example"), 554, [&](const std::string &, int) {
            return std::vector{numericalAddresses(loopback, refusing.port()).at(0),
                               numericalAddresses(loopback, listening.port()).at(0)};
        });
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(listening.accept());
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
}

TEST_F(TcpConnectionTest, FailsWhenNoAddressOfANameConnects) {
    const LocalPort port(LocalPort::Behaviour::refusing);
    const auto connection =
        started(QStringLiteral("two.example"), 554, [&](const std::string &, int) {
            return std::vector(2, numericalAddresses(loopback, port.port()).at(0));
        });
    EXPECT_TRUE(reports.reach(State::failed));
}

TEST_F(TcpConnectionTest, WaitsIfTheSystemDoesNotSupportTheAddressFamily) {
    SocketAddress address = numericalAddresses(loopback, 554).at(0);
    address.storage.ss_family = AF_MAX; // rejected like an IPv6 address on a system without IPv6
    const auto connection =
        started(QStringLiteral("six.example"), 554,
                [address](const std::string &, int) { return std::vector{address}; });
    EXPECT_TRUE(reports.reach(State::waiting));
}

TEST_F(TcpConnectionTest, CancelsWithoutWaitingForAHangingLookup) {
    const HangingResolver hanging;
    const LocalPort port(LocalPort::Behaviour::listening);
    auto connection = started(QStringLiteral("slow.example"), 554,
                              hanging.resolver(numericalAddresses(loopback, port.port())));
    ASSERT_TRUE(hanging.waitUntilAsked());
    connection->cancel();
    EXPECT_TRUE(reports.reach(State::cancelled));
    connection.reset();
    // The late result must be ignored.
    EXPECT_TRUE(hanging.letGo());
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::cancelled));
}

TEST_F(TcpConnectionTest, LookupMayOutliveTheQueue) {
    const HangingResolver hanging;
    {
        SerialQueue shortLived(QStringLiteral("short"));
        TcpConnection connection(QStringLiteral("slow.example"), 554, hanging.resolver());
        connection.start(shortLived);
        ASSERT_TRUE(hanging.waitUntilAsked());
    }
    EXPECT_TRUE(hanging.letGo());
}

TEST_F(TcpConnectionTest, HangingLookupDoesNotBlockAnotherOfTheSameName) {
    const HangingResolver hanging;
    TcpConnection first(QStringLiteral("localhost"), 554, hanging.resolver());
    first.start(queue);
    ASSERT_TRUE(hanging.waitUntilAsked());
    const LocalPort port(LocalPort::Behaviour::listening);
    const auto second = started(QStringLiteral("localhost"), port.port());
    EXPECT_TRUE(reports.reach(State::ready));
    EXPECT_TRUE(hanging.letGo());
}

TEST_F(TcpConnectionTest, NumberOfHangingLookupsIsLimitedAndLaterOnesRunAfterwards) {
    const HangingResolver hanging;
    for (int n = 0; n < 1000; ++n) {
        TcpConnection connection(QStringLiteral("slow.example"), 554, hanging.resolver());
        connection.start(queue);
        drain(queue);
    }
    ASSERT_TRUE(hanging.waitUntilAsked());
    const LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(QStringLiteral("localhost"), port.port());
    ASSERT_TRUE(reports.reach(State::preparing));
    EXPECT_FALSE(reports.endWith(State::ready));
    EXPECT_LE(hanging.asked(), lookupLimit);
    EXPECT_TRUE(hanging.letGo());
    EXPECT_TRUE(reports.reach(State::ready));
}

TEST_F(TcpConnectionTest, ProcessExitsWhileALookupHangs) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EXIT(
        {
            std::atomic_bool asked = false;
            SerialQueue own(QStringLiteral("ends"));
            TcpConnection connection(QStringLiteral("slow.example"), 554,
                                     [&](const std::string &, int) {
                                         asked = true;
                                         ::poll(nullptr, 0, 100'000);
                                         return std::vector<SocketAddress>();
                                     });
            connection.start(own);
            const bool hangs = QTest::qWaitFor([&] { return asked.load(); }, deadline);
            connection.cancel();
            std::exit(hangs ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_LT(elapsed.elapsed(), 90'000);
}

} // namespace
} // namespace lumvik::test
