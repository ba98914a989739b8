#include "supervision/RecoverySchedule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <string>

namespace lumvik::test {
namespace {

constexpr auto afterBackOff = RecoveryUrgency::afterBackOff;
constexpr auto immediate = RecoveryUrgency::immediate;
constexpr auto ifDue = PlayerRecreation::ifDue;
constexpr auto forced = PlayerRecreation::forced;

const double almostOne = std::nextafter(1.0, 0.0);

struct Row {
    std::int64_t number;
    double delay;

    friend void PrintTo(const Row &row, std::ostream *stream) { *stream << row.number; }
};

class BackOffTable : public testing::TestWithParam<Row> {};

TEST_P(BackOffTable, GivesTheBaseDelayPlusAtMostTheJitter) {
    const auto [number, delay] = GetParam();
    EXPECT_EQ(recoveryAttempt(number, afterBackOff, ifDue, 0).delay, delay);
    const double longest = recoveryAttempt(number, afterBackOff, ifDue, almostOne).delay;
    EXPECT_GT(longest, delay + 0.3499);
    EXPECT_LE(longest, delay + 0.35);
    EXPECT_DOUBLE_EQ(recoveryAttempt(number, afterBackOff, ifDue, 0.5).delay, delay + 0.175);
}

INSTANTIATE_TEST_SUITE_P(Attempts, BackOffTable,
                         testing::Values(Row{1, 0.5}, Row{2, 1}, Row{3, 2}, Row{4, 4}, Row{5, 8},
                                         Row{6, 15}, Row{7, 30}, Row{8, 30}, Row{9, 30},
                                         Row{1000, 30},
                                         Row{std::numeric_limits<std::int64_t>::max(), 30}),
                         [](const auto &row) {
                             return "Attempt" + std::to_string(row.param.number);
                         });

TEST(RecoverySchedule, ImmediateAttemptWaitsHalfASecondWhateverItsNumber) {
    for (const std::int64_t number : {1, 2, 6, 7, 9, 500}) {
        EXPECT_EQ(recoveryAttempt(number, immediate, ifDue, 0).delay, 0.5) << number;
        EXPECT_LE(recoveryAttempt(number, immediate, ifDue, almostOne).delay, 0.85) << number;
    }
}

TEST(RecoverySchedule, EveryThirdAttemptInARowRecreatesThePlayer) {
    for (std::int64_t number = 1; number <= 30; ++number) {
        const bool isThird = number == 3 || number == 6 || number == 9 || number == 12 ||
                             number == 15 || number == 18 || number == 21 || number == 24 ||
                             number == 27 || number == 30;
        EXPECT_EQ(recoveryAttempt(number, afterBackOff, ifDue, 0).recreatesPlayer, isThird)
            << number;
        EXPECT_EQ(recoveryAttempt(number, immediate, ifDue, 0).recreatesPlayer, isThird) << number;
    }
}

TEST(RecoverySchedule, ForcedRecreationIsKeptWhateverTheNumber) {
    for (std::int64_t number = 1; number <= 7; ++number)
        EXPECT_TRUE(recoveryAttempt(number, afterBackOff, forced, 0).recreatesPlayer) << number;
}

TEST(RecoverySchedule, ImmediateNinthAttemptHasAShortDelayAndRecreates) {
    const RecoveryAttempt attempt = recoveryAttempt(9, immediate, ifDue, almostOne);
    EXPECT_GE(attempt.delay, 0.5);
    EXPECT_LE(attempt.delay, 0.85);
    EXPECT_TRUE(attempt.recreatesPlayer);
}

} // namespace
} // namespace lumvik::test
