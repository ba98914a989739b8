#include "window/WindowFrame.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

TEST(SavedFrameString, ContainsTheWindowThenTheScreen) {
    EXPECT_EQ(savedFrameString({100, 50, 1120, 630}, {0, 0, 1920, 1080}),
              QStringLiteral("100 50 1120 630 0 0 1920 1080"));
    EXPECT_EQ(savedFrameString({-1200, -5, 480, 270}, {-1920, -100, 1920, 1080}),
              QStringLiteral("-1200 -5 480 270 -1920 -100 1920 1080"));
}

TEST(FrameFromString, ReadsWhatWasSaved) {
    const QRect frame(-1200, 35, 970, 727);
    EXPECT_EQ(frameFromString(savedFrameString(frame, {0, 0, 1600, 1000})), frame);
}

TEST(FrameFromString, ReadsThePlainForm) {
    EXPECT_EQ(frameFromString(QStringLiteral("{{100, 50}, {1120, 630}}")),
              QRect(100, 50, 1120, 630));
    EXPECT_EQ(frameFromString(QStringLiteral("{{-1.5,0.4},{480.2,270}}")), QRect(-2, 0, 480, 270));
}

TEST(PlainFrameString, ContainsPositionAndSizeInBraces) {
    EXPECT_EQ(plainFrameString({31, 17, 640, 360}), QStringLiteral("{{31, 17}, {640, 360}}"));
    EXPECT_EQ(plainFrameString({-1200, -5, 480, 270}), QStringLiteral("{{-1200, -5}, {480, 270}}"));
}

TEST(PlainFrameString, IsReadBackAsTheSameFrame) {
    for (const QRect frame : {QRect(0, 0, 1, 1), QRect(31, 17, 640, 360),
                              QRect(-1920, -1, 160, 161), QRect(-32767, 32767, 32767, 32767)})
        EXPECT_EQ(frameFromString(plainFrameString(frame)), frame);
}

class InvalidFrameText : public testing::TestWithParam<const char *> {};

TEST_P(InvalidFrameText, IsRejected) {
    EXPECT_EQ(frameFromString(QString::fromUtf8(GetParam())), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(FrameFromString, InvalidFrameText,
                         testing::Values("", " ", "nonsense", "1 2 3", "1 2 3 4", "1 2 3 4 5 6 7",
                                         "1 2 3 4 5 6 7 8 9", "1 2 0 270 0 0 1600 1000",
                                         "1 2 480 -270 0 0 1600 1000",
                                         "1 2 99999 270 0 0 1600 1000",
                                         "99999999999 2 480 270 0 0 1600 1000",
                                         "nan nan nan nan 0 0 1 1", "1e3 2 480 270 0 0 1600 1000",
                                         "{{1, 2}, {3}}", "{{1, 2}, {0, 0}}", "{{a, b}, {c, d}}",
                                         "{{1, 2}, {3, 4}} 5", "١ ٢ ٤٨٠ ٢٧٠ 0 0 1600 1000"));

TEST(ScreenFromString, ReadsTheScreenThatWasSavedWithTheFrame) {
    const QRect screen(-1920, -100, 1920, 1080);
    EXPECT_EQ(screenFromString(savedFrameString({-1200, 35, 970, 727}, screen)), screen);
    EXPECT_EQ(screenFromString(savedFrameString({-1200, 35, 970, 727}, {})), std::nullopt);
    EXPECT_EQ(screenFromString(QStringLiteral("{{100, 50}, {1120, 630}}")), std::nullopt);
    EXPECT_EQ(screenFromString(QStringLiteral("1 2 480 270 0 0 1600")), std::nullopt);
}

TEST(ScreenOf, IsTheScreenThatOverlapsTheFrameMost) {
    const QList<QRect> screens{{0, 0, 1600, 1000}, {1600, 0, 800, 600}};
    EXPECT_EQ(screenOf({100, 100, 480, 270}, screens), screens[0]);
    EXPECT_EQ(screenOf({1361, 100, 480, 270}, screens), screens[1]);
    EXPECT_EQ(screenOf({1360, 100, 480, 270}, screens), screens[0])
        << "the first of two screens with equal overlaps";
    EXPECT_EQ(screenOf({5000, 100, 480, 270}, screens), screens[0]);
    EXPECT_EQ(screenOf({100, 100, 480, 270}, {}), QRect());
}

TEST(FrameOnScreens, KeepsAVisibleFrame) {
    const QList<QRect> screens{{0, 0, 1600, 1000}, {1600, 0, 1920, 1080}};
    EXPECT_EQ(frameOnScreens({100, 100, 480, 270}, screens), QRect(100, 100, 480, 270));
    EXPECT_EQ(frameOnScreens({3000, 900, 480, 270}, screens), QRect(3000, 900, 480, 270));
}

TEST(FrameOnScreens, MovesAFrameOutsideAllScreensToTheFirstOne) {
    const QList<QRect> screens{{0, 0, 1600, 1000}};
    EXPECT_EQ(frameOnScreens({1600, 100, 480, 270}, screens), QRect(1120, 100, 480, 270));
    EXPECT_EQ(frameOnScreens({-3000, -2000, 480, 270}, screens), QRect(0, 0, 480, 270));
    EXPECT_EQ(frameOnScreens({5000, 5000, 480, 270}, screens), QRect(1120, 730, 480, 270));
}

TEST(FrameOnScreens, MovesAFrameThatIsBarelyVisible) {
    const QList<QRect> screens{{0, 0, 1600, 1000}};
    EXPECT_EQ(frameOnScreens({1552, 976, 480, 270}, screens), QRect(1552, 976, 480, 270));
    EXPECT_EQ(frameOnScreens({1553, 976, 480, 270}, screens), QRect(1120, 730, 480, 270));
    EXPECT_EQ(frameOnScreens({1552, 977, 480, 270}, screens), QRect(1120, 730, 480, 270));
    EXPECT_EQ(frameOnScreens({-433, 10, 480, 270}, screens), QRect(0, 10, 480, 270));
    EXPECT_EQ(frameOnScreens({10, 10, 20, 10}, screens), QRect(10, 10, 20, 10))
        << "a frame smaller than the required part only has to be visible itself";
}

TEST(FrameOnScreens, ShrinksAFrameOutsideAllScreensThatIsTooLarge) {
    EXPECT_EQ(frameOnScreens({5000, 0, 3200, 1800}, {{0, 24, 1600, 976}}), QRect(0, 24, 1600, 900));
}

TEST(FrameOnScreens, ShrinksAFrameThatIsLargerThanItsScreen) {
    const QList<QRect> screens{{0, 0, 1600, 1000}, {1600, 0, 800, 500}};
    EXPECT_EQ(frameOnScreens({1840, 185, 1120, 630}, screens), QRect(1600, 50, 800, 450));
}

TEST(FrameOnScreens, NeverShrinksAFrameToNothing) {
    EXPECT_EQ(frameOnScreens({0, 0, 8010, 4}, {{0, 0, 1600, 1000}}), QRect(0, 0, 1600, 1));
    EXPECT_EQ(frameOnScreens({0, 0, 4, 8010}, {{0, 0, 1600, 1000}}), QRect(0, 0, 1, 1000));
    EXPECT_EQ(centredFrame({8010, 4}, {0, 0, 1600, 1000}).size(), QSize(1600, 1));
}

TEST(FrameOnScreens, UsesTheScreenThatOverlapsTheFrameMost) {
    const QList<QRect> screens{{0, 0, 800, 500}, {800, 0, 1920, 1080}};
    EXPECT_EQ(frameOnScreens({780, 0, 1120, 630}, screens), QRect(780, 0, 1120, 630));
}

TEST(FrameOnScreens, ShowsTheWholeFrameIfRequested) {
    const QList<QRect> screens{{0, 0, 1600, 1000}, {1600, 0, 1920, 1080}};
    const auto whole = [&](const QRect &frame) {
        return frameOnScreens(frame, screens, ShownPart::all);
    };
    EXPECT_EQ(whole({1120, 730, 480, 270}), QRect(1120, 730, 480, 270));
    EXPECT_EQ(whole({1121, 730, 480, 270}), QRect(1120, 730, 480, 270));
    EXPECT_EQ(whole({100, -1, 480, 270}), QRect(100, 0, 480, 270));
    EXPECT_EQ(whole({1400, 100, 480, 270}), QRect(1600, 100, 480, 270));
    EXPECT_EQ(whole({10, 10, 20, 10}), QRect(10, 10, 20, 10));
}

TEST(FrameOnScreens, KeepsTheFrameIfThereAreNoScreens) {
    EXPECT_EQ(frameOnScreens({5000, 0, 480, 270}, {}), QRect(5000, 0, 480, 270));
    EXPECT_EQ(frameOnScreens({5000, 0, 480, 270}, {}, ShownPart::all), QRect(5000, 0, 480, 270));
}

TEST(CentredFrame, IsInTheMiddleOfTheArea) {
    EXPECT_EQ(centredFrame({1120, 630}, {0, 0, 1600, 1000}), QRect(240, 185, 1120, 630));
    EXPECT_EQ(centredFrame({1120, 630}, {1600, 40, 1920, 1040}), QRect(2000, 245, 1120, 630));
}

TEST(CentredFrame, IsReducedToFitASmallScreen) {
    EXPECT_EQ(centredFrame({1120, 630}, {0, 0, 800, 600}), QRect(0, 75, 800, 450));
}

} // namespace
} // namespace lumvik
