#include "updates/UpdateSchedule.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

/// Returns whether a check is due `seconds` after the last successful one.
bool isDueAfter(qint64 seconds) {
    const QDateTime last = QDateTime::fromSecsSinceEpoch(1'800'000'000);
    return automaticUpdateCheckIsDue(last, last.addSecs(seconds));
}

TEST(UpdateSchedule, CheckIsDueWhenNoneHasSucceededYet) {
    EXPECT_TRUE(automaticUpdateCheckIsDue(std::nullopt, QDateTime::fromSecsSinceEpoch(0)));
}

TEST(UpdateSchedule, CheckIsDueOneDayAfterTheLastOne) {
    EXPECT_FALSE(isDueAfter(0));
    EXPECT_FALSE(isDueAfter(86'399));
    EXPECT_TRUE(isDueAfter(86'400));
}

TEST(UpdateSchedule, LastCheckOneDayOrMoreInTheFutureIsIgnored) {
    EXPECT_FALSE(isDueAfter(-86'399));
    EXPECT_TRUE(isDueAfter(-86'400));
}

} // namespace
} // namespace lumvik
