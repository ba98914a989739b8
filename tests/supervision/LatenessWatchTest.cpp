#include "supervision/LatenessWatch.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

/// Reports this lateness four times a second from `from` to `to`. Returns how often the connection
/// had to be replaced.
int replacements(LatenessWatch &watch, double lateness, TimeStamp from, TimeStamp to) {
    int count = 0;
    for (TimeStamp now = from; now < to; now += 0.25)
        count += watch.takeLateness(lateness, now) ? 1 : 0;
    return count;
}

TEST(LatenessWatch, ConnectionIsReplacedAfterTenSecondsOfLateness) {
    LatenessWatch watch;
    EXPECT_EQ(replacements(watch, 5.1, 100, 110), 0);
    EXPECT_TRUE(watch.takeLateness(5.1, 110));
}

TEST(LatenessWatch, LatenessOfFiveSecondsIsTolerated) {
    LatenessWatch watch;
    EXPECT_EQ(replacements(watch, 5, 100, 1000), 0);
}

TEST(LatenessWatch, LatenessThatEndsRestartsTheTenSeconds) {
    LatenessWatch watch;
    EXPECT_EQ(replacements(watch, 9, 100, 109), 0);
    EXPECT_EQ(replacements(watch, 1, 109, 110), 0);
    EXPECT_EQ(replacements(watch, 9, 110, 120), 0);
}

TEST(LatenessWatch, ConnectionIsReplacedOnceAMinute) {
    LatenessWatch watch;
    EXPECT_EQ(replacements(watch, 9, 100, 170), 1);
    EXPECT_EQ(replacements(watch, 9, 170, 171), 1);
}

TEST(LatenessWatch, NewConnectionGetsItsOwnTenSeconds) {
    LatenessWatch watch;
    EXPECT_EQ(replacements(watch, 9, 100, 109), 0);
    watch.connectionWasReplaced();
    EXPECT_EQ(replacements(watch, 9, 109, 119), 0);
    EXPECT_TRUE(watch.takeLateness(9, 119));
}

} // namespace
} // namespace lumvik::test
