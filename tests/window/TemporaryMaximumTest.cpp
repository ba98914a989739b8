#include "window/TemporaryMaximum.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

constexpr QRect screenArea{0, 0, 1440, 875};
constexpr QRect windowFrame{100, 100, 640, 360};
constexpr double wideRatio = 16.0 / 9;

TEST(TemporaryMaximum, FillsTheWidthWithAWidePicture) {
    EXPECT_EQ(temporaryMaximumFrame(windowFrame, windowFrame.size(), screenArea, wideRatio),
              QRect(0, 32, 1440, 810));
}

TEST(TemporaryMaximum, FillsTheHeightWithATallPicture) {
    EXPECT_EQ(temporaryMaximumFrame(windowFrame, windowFrame.size(), {0, 0, 1440, 900}, 0.5),
              QRect(495, 0, 450, 900));
}

TEST(TemporaryMaximum, FillsAScreenOfTheSameAspectRatio) {
    EXPECT_EQ(temporaryMaximumFrame(windowFrame, windowFrame.size(), {0, 0, 1600, 900}, wideRatio),
              QRect(0, 0, 1600, 900));
}

TEST(TemporaryMaximum, IsCentredOnAScreenThatIsNotAtTheOrigin) {
    EXPECT_EQ(
        temporaryMaximumFrame(windowFrame, windowFrame.size(), {1600, 25, 1440, 875}, wideRatio),
        QRect(1600, 57, 1440, 810));
}

TEST(TemporaryMaximum, KeepsTheMarginsAroundTheContent) {
    const QRect maximum = temporaryMaximumFrame(windowFrame, {620, 330}, screenArea, 2);
    EXPECT_EQ(maximum.size(), QSize(1440, 740))
        << "content of 1420 by 710 with margins of 20 by 30";
    EXPECT_EQ(maximum.topLeft(), QPoint(0, 67));
}

TEST(TemporaryMaximum, KeepsTheContentsAspectRatioIfNoneIsGiven) {
    EXPECT_EQ(temporaryMaximumFrame(windowFrame, {640, 320}, screenArea, std::nullopt).width(),
              1440);
    EXPECT_EQ(temporaryMaximumFrame({0, 0, 400, 400}, {400, 400}, screenArea, std::nullopt),
              QRect(282, 0, 875, 875));
}

TEST(TemporaryMaximum, TreatsContentWithoutHeightAsOnePointHigh) {
    const QRect maximum =
        temporaryMaximumFrame({0, 0, 100, 50}, {100, 0}, screenArea, std::nullopt);
    EXPECT_EQ(maximum.size(), QSize(1440, 64)) << "content of 100 : 1 with a margin of 50";
}

TEST(TemporaryMaximum, IsNeverNarrowerThanOneToFourIfNoRatioIsGiven) {
    const QRect maximum =
        temporaryMaximumFrame({0, 0, 10, 100}, {10, 100}, {0, 0, 1440, 800}, std::nullopt);
    EXPECT_EQ(maximum.size(), QSize(200, 800));
    EXPECT_EQ(
        temporaryMaximumFrame({0, 0, 0, 100}, {0, 100}, {0, 0, 1440, 800}, std::nullopt).size(),
        QSize(200, 800));
}

TEST(TemporaryMaximum, UsesAGivenRatioHoweverNarrow) {
    EXPECT_EQ(temporaryMaximumFrame(windowFrame, windowFrame.size(), {0, 0, 1440, 800}, 0.1).size(),
              QSize(80, 800));
}

TEST(TemporaryMaximum, AssumesNoMarginsIfTheContentIsLargerThanTheFrame) {
    EXPECT_EQ(temporaryMaximumFrame(windowFrame, {9000, 9000}, screenArea, wideRatio),
              QRect(0, 32, 1440, 810));
}

TEST(TemporaryMaximum, LeavesOnePointForTheContentIfThereIsNoRoom) {
    const QRect maximum = temporaryMaximumFrame({0, 0, 100, 100}, {50, 50}, {0, 0, 5, 5}, 1);
    EXPECT_EQ(maximum.size(), QSize(51, 51));
}

} // namespace
} // namespace lumvik
