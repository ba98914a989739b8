#include "AreaFixture.h"

namespace lumvik::test {
namespace {

const QString frameKey = u"mainWindowFrame"_s;
const QString untouched = u"nothing was saved"_s;

class TemporaryMaximumTest : public AreaFixture {
  protected:
    [[nodiscard]] QRect frame() { return access().window()->frame(); }
    [[nodiscard]] QString storedFrame() { return home.userDefaults().string(frameKey); }
    /// From now on a frame that is stored is recognised.
    void markStoredFrame() { home.userDefaults().set(frameKey, untouched); }

    const QRect maximum{0, 175, 800, 450}; // on a screen of 800 by 800
};

TEST_F(TemporaryMaximumTest, FillsTheScreenWithTheVideosShape) {
    rightClick();
    EXPECT_TRUE(access().isTemporarilyMaximized());
    EXPECT_EQ(access().restoreFrameBeforeTemporaryMaximum(), originalFrame);
    EXPECT_EQ(frame(), maximum);
    settle();
    EXPECT_EQ(access().window()->geometry(), maximum);
}

TEST_F(TemporaryMaximumTest, IsAnOrdinaryWindow) {
    access().stayOnTopButton()->setOn(true);
    delegate->toggleStayOnTop();
    rightClick();
    settle();
    EXPECT_TRUE(access().window()->hasOrdinaryFrame());
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
    EXPECT_EQ(access().window()->contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
}

TEST_F(TemporaryMaximumTest, IsNeverRemembered) {
    markStoredFrame();
    rightClick();
    settle();
    queue.advance(10);
    access().window()->setPosition(0, 100); // moved by the user meanwhile
    EXPECT_TRUE(eventually([&] { return access().window()->y() == 100; }));
    EXPECT_EQ(storedFrame(), untouched);
}

TEST_F(TemporaryMaximumTest, SecondRightClickBringsTheFrameBack) {
    rightClick();
    settle();
    rightClick();
    EXPECT_EQ(frame(), originalFrame);
    settle();
    EXPECT_EQ(access().window()->geometry(), originalFrame);
}

TEST_F(TemporaryMaximumTest, FrameThatTheUserPutPartlyOutComesBackSo) {
    const QRect partlyOut(500, 300, 640, 360);
    access().window()->setGeometry(partlyOut);
    ASSERT_TRUE(eventually([&] { return frame() == partlyOut; }));
    rightClick();
    settle();
    rightClick();
    EXPECT_EQ(frame(), partlyOut);
}

TEST_F(TemporaryMaximumTest, PlaceOnAScreenThatHasGoneIsStillTheWindowsAfterwards) {
    const WindowPlace place{{500, 300, 640, 360}, {0, 0, 1600, 1000}};
    access().window()->restorePlace(place);
    settle();
    const QRect refuge(160, 300, 640, 360);
    ASSERT_EQ(frame(), refuge);
    rightClick();
    settle();
    EXPECT_EQ(frame(), maximum);
    rightClick();
    settle();
    EXPECT_EQ(frame(), refuge);
    EXPECT_EQ(access().window()->place(), place);
    queue.advance(0.35);
    EXPECT_EQ(storedFrame(), u"{{500, 300}, {640, 360}}"_s);
}

TEST_F(TemporaryMaximumTest, FrameIsRememberedOnlyAfterTheWayBack) {
    rightClick();
    settle();
    markStoredFrame();
    rightClick();
    settle();
    queue.advance(0.34);
    EXPECT_TRUE(access().isTemporarilyMaximized());
    EXPECT_EQ(storedFrame(), untouched);
    queue.advance(0.02);
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(access().restoreFrameBeforeTemporaryMaximum(), std::nullopt);
    EXPECT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
}

TEST_F(TemporaryMaximumTest, FrameThatWasRememberedIsTakenAtTheNextLaunch) {
    rightClick();
    settle();
    rightClick();
    settle();
    queue.advance(0.35);
    ASSERT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
    delegate.reset();
    launch();
    EXPECT_EQ(access().window()->geometry(), originalFrame);
}

TEST_F(TemporaryMaximumTest, LaterMovesAreRememberedAgain) {
    rightClick();
    settle();
    rightClick();
    settle();
    queue.advance(0.35);
    access().window()->setPosition(60, 70);
    EXPECT_TRUE(eventually([&] { return storedFrame().startsWith(u"60 70 640 360 "_s); }))
        << qPrintable(storedFrame());
}

TEST_F(TemporaryMaximumTest, CanBeHadAgainAndAgain) {
    for (int round = 0; round < 3; ++round) {
        rightClick();
        EXPECT_EQ(frame(), maximum);
        settle();
        rightClick();
        settle();
        queue.advance(0.35);
        EXPECT_EQ(access().window()->geometry(), originalFrame);
        EXPECT_FALSE(access().isTemporarilyMaximized());
    }
}

TEST_F(TemporaryMaximumTest, WithoutASavedFrameOnlyTheMarkGoes) {
    access().isTemporarilyMaximized() = true;
    markStoredFrame();
    rightClick();
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(frame(), originalFrame);
    queue.advance(1);
    EXPECT_EQ(storedFrame(), untouched);
}

TEST_F(TemporaryMaximumTest, WithoutAVideoTheWindowsShapeIsKept) {
    access().appliedVideoAspectRatio().reset();
    access().window()->setContentAspectRatio({});
    resizeWindow({600, 300});
    rightClick();
    EXPECT_EQ(frame(), QRect(0, 200, 800, 400));
}

// ---- Right-clicks in quick succession ----

TEST_F(TemporaryMaximumTest, SecondRightClickOnTheWayThereLeadsBack) {
    rightClick();
    rightClick();
    EXPECT_EQ(frame(), originalFrame);
    settle();
    queue.advance(0.35);
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(access().window()->geometry(), originalFrame);
    EXPECT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
}

TEST_F(TemporaryMaximumTest, RightClicksOnTheWayBackDelayItsEnd) {
    rightClick();
    settle();
    markStoredFrame();
    rightClick();
    queue.advance(0.3);
    rightClick();
    EXPECT_EQ(frame(), originalFrame);
    queue.advance(0.3);
    EXPECT_TRUE(access().isTemporarilyMaximized()) << "0.35 s from the last one";
    EXPECT_EQ(storedFrame(), untouched);
    queue.advance(0.06);
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
    EXPECT_TRUE(queue.delays().size() <= 1) << "the watchdog's at most";
}

TEST_F(TemporaryMaximumTest, ManyRightClicksNeverLoseTheFrame) {
    for (int clicks = 1; clicks <= 9; ++clicks) {
        for (int click = 0; click < clicks; ++click)
            rightClick();
        queue.advance(0.35);
        settle();
        if (access().isTemporarilyMaximized()) {
            EXPECT_EQ(frame(), maximum) << clicks;
            rightClick();
            queue.advance(0.35);
            settle();
        }
        EXPECT_FALSE(access().isTemporarilyMaximized()) << clicks;
        EXPECT_EQ(access().window()->geometry(), originalFrame) << clicks;
    }
}

// ---- Where it does nothing ----

class NoTemporaryMaximum : public TemporaryMaximumTest,
                           public testing::WithParamInterface<Qt::WindowState> {};

TEST_P(NoTemporaryMaximum, InAWindowThatHasNoFrameOfItsOwn) {
    access().window()->setWindowState(GetParam());
    ASSERT_FALSE(access().window()->hasOrdinaryFrame());
    delegate->secondaryClick();
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(access().restoreFrameBeforeTemporaryMaximum(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(, NoTemporaryMaximum,
                         testing::Values(Qt::WindowFullScreen, Qt::WindowMaximized,
                                         Qt::WindowMinimized),
                         [](const auto &row) { return "Row" + std::to_string(row.index); });

TEST_F(TemporaryMaximumTest, DoesNothingInAClosingViewer) {
    delegate->closeCameraViewer();
    delegate->toggleTemporaryMaximum();
    EXPECT_FALSE(access().isTemporarilyMaximized());
}

TEST_F(TemporaryMaximumTest, EndOfTheWayBackFindsNobodyAfterTheProgramsEnd) {
    rightClick();
    settle();
    rightClick();
    settle();
    delegate.reset();
    markStoredFrame();
    queue.advance(1);
    EXPECT_EQ(storedFrame(), untouched);
}

} // namespace
} // namespace lumvik::test
