#include "supervision/PictureState.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

/// A camera that was chosen at 100 s and has shown its last frame at 200 s.
PictureVitals playing(double age) {
    return {.hasCamera = true,
            .now = 200 + age,
            .chosenAt = 100,
            .lastFrameAt = 200,
            .usualInterval = 0.04};
}

PictureVitals starting(double waited) {
    return {.hasCamera = true, .now = 100 + waited, .chosenAt = 100};
}

TEST(PictureState, ThereIsNoneWithoutACamera) {
    PictureVitals vitals = playing(3);
    vitals.hasCamera = false;
    EXPECT_EQ(pictureState(vitals), PictureState());
}

TEST(PictureState, StandingPictureBecomesStaleThenDarkThenLost) {
    struct Case {
        double age;
        PictureCondition condition;
        int seconds;
        bool isDarkened;
        double changesAt; // after the last frame
    };
    for (const Case &each : {Case{0, PictureCondition::live, 0, false, 1.5},
                             Case{1.49, PictureCondition::live, 0, false, 1.5},
                             Case{1.5, PictureCondition::stale, 1, false, 2},
                             Case{2, PictureCondition::stale, 2, false, 3},
                             Case{3.99, PictureCondition::stale, 3, false, 4},
                             Case{4, PictureCondition::stale, 4, true, 5},
                             Case{9.5, PictureCondition::stale, 9, true, 10}}) {
        const PictureState state = pictureState(playing(each.age));
        EXPECT_EQ(state.condition, each.condition) << each.age;
        EXPECT_EQ(state.seconds, each.seconds) << each.age;
        EXPECT_EQ(state.isDarkened, each.isDarkened) << each.age;
        ASSERT_TRUE(state.changesAt) << each.age;
        EXPECT_NEAR(*state.changesAt, 200 + each.changesAt, 1e-9) << each.age;
    }
    EXPECT_EQ(pictureState(playing(10)), (PictureState{.condition = PictureCondition::lost}));
    EXPECT_EQ(pictureState(playing(1e12)).condition, PictureCondition::lost);
}

TEST(PictureState, SlowCameraIsLiveForThreeOfItsIntervals) {
    PictureVitals vitals = playing(2.9);
    vitals.usualInterval = 1;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::live);
    EXPECT_NEAR(pictureState(vitals).changesAt.value_or(0), 203, 1e-9);
    vitals.now = 203;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::stale);
}

TEST(PictureState, NoIntervalKeepsAPictureLongerThanTheLimitForLostOnes) {
    PictureVitals vitals = playing(9.9);
    vitals.usualInterval = 60;
    EXPECT_NEAR(pictureState(vitals).changesAt.value_or(0), 210, 1e-9);
    vitals.now = 210;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::lost);
}

TEST(PictureState, LatenessBeginsAndEndsAtDifferentValues) {
    struct Case {
        double lateness;
        bool wasLate;
        PictureCondition condition;
        int seconds;
    };
    for (const Case &each :
         {Case{1.49, false, PictureCondition::live, 0}, Case{1.5, false, PictureCondition::late, 2},
          Case{1.2, true, PictureCondition::late, 1}, Case{0.99, true, PictureCondition::live, 0},
          Case{31.4, true, PictureCondition::late, 31}}) {
        PictureVitals vitals = playing(0.04);
        vitals.lateness = each.lateness;
        vitals.wasLate = each.wasLate;
        EXPECT_EQ(pictureState(vitals).condition, each.condition) << each.lateness;
        EXPECT_EQ(pictureState(vitals).seconds, each.seconds) << each.lateness;
    }
}

TEST(PictureState, LatePictureThatStandsStillIsMarkedEarlier) {
    PictureVitals vitals = playing(0.5);
    vitals.lateness = 0.9;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::live);
    EXPECT_NEAR(pictureState(vitals).changesAt.value_or(0), 200.64, 1e-9);
    vitals.now = 200.65;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::late);
    EXPECT_EQ(pictureState(vitals).seconds, 2);
}

TEST(PictureState, PictureThatMayBeLateIsStaleEarlier) {
    PictureVitals vitals = playing(0.89);
    vitals.suspectedLateness = 0.6;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::live);
    vitals.now = 200.91;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::stale);
    EXPECT_EQ(pictureState(vitals).seconds, 1);
    vitals.suspectedLateness = 60; // nominal time stamps
    vitals.now = 200.49;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::live);
}

TEST(PictureState, PauseBetweenThePicturesOfASlowCameraIsNotLateness) {
    PictureVitals vitals = playing(1.9);
    vitals.usualInterval = 1;
    vitals.lateness = 0.5;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::live);
}

TEST(PictureState, StandingPictureIsStaleEvenIfItWasLate) {
    PictureVitals vitals = playing(2);
    vitals.lateness = 8;
    vitals.wasLate = true;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::stale);
}

TEST(PictureState, StartIsAnnouncedAfterASecondAndLostAfterTen) {
    EXPECT_EQ(pictureState(starting(0)),
              (PictureState{.condition = PictureCondition::starting, .changesAt = 101}));
    EXPECT_EQ(
        pictureState(starting(1)),
        (PictureState{.condition = PictureCondition::starting, .seconds = 1, .changesAt = 110}));
    EXPECT_EQ(pictureState(starting(10)), (PictureState{.condition = PictureCondition::lost}));
}

TEST(PictureState, FailedStartIsLostAtOnce) {
    PictureVitals vitals = starting(0.2);
    vitals.hasFailed = true;
    EXPECT_EQ(pictureState(vitals), (PictureState{.condition = PictureCondition::lost}));
}

TEST(PictureState, FailedAttemptDoesNotHideAPictureThatIsStillYoung) {
    PictureVitals vitals = playing(2);
    vitals.hasFailed = true;
    EXPECT_EQ(pictureState(vitals).condition, PictureCondition::stale);
}

} // namespace
} // namespace lumvik::test
