#include "platform/TerminationSignals.h"

#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <csignal>

namespace lumvik {
namespace {

class TerminationSignalsTest : public testing::TestWithParam<int> {};

TEST_P(TerminationSignalsTest, FirstSignalCausesOneCall) {
    int calls = 0;
    const TerminationSignals signals([&] { ++calls; });
    EXPECT_FALSE(TerminationSignals::haveArrived());
    std::raise(GetParam());
    EXPECT_EQ(calls, 0) << "the handler itself must not call back";
    EXPECT_TRUE(TerminationSignals::haveArrived());
    EXPECT_TRUE(QTest::qWaitFor([&] { return calls == 1; }, 5000));
}

TEST_P(TerminationSignalsTest, SecondSignalEndsTheProcessAtOnce) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const TerminationSignals signals([] {});
            std::raise(GetParam());
            std::raise(GetParam());
        },
        testing::KilledBySignal(GetParam()), "");
}

TEST_P(TerminationSignalsTest, AnotherSignalAfterTheCallEndsTheProcessAtOnce) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            bool called = false;
            const TerminationSignals signals([&] { called = true; });
            std::raise(GetParam());
            if (QTest::qWaitFor([&] { return called; }, 5000))
                std::raise(GetParam() == SIGTERM ? SIGINT : SIGTERM);
        },
        testing::KilledBySignal(GetParam() == SIGTERM ? SIGINT : SIGTERM), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

} // namespace
} // namespace lumvik
