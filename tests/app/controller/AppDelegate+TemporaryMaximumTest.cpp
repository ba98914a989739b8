#include "AreaFixture.h"
#include "fakes/Named.h"

namespace lumvik::test {
namespace {

const QString untouched = u"nothing was saved"_s;

class TemporaryMaximumTest : public AreaFixture {
  protected:
    [[nodiscard]] QRect frame() { return window().frame(); }
    [[nodiscard]] QString storedFrame() { return home.userDefaults().string(frameKey); }
    /// Replaces the stored frame with a marker that any later write overwrites.
    void markStoredFrame() { home.userDefaults().set(frameKey, untouched); }

    const QRect maximum{0, 175, 800, 450}; // the screen has 800 by 800 points
};

TEST_F(TemporaryMaximumTest, FillsTheScreenWithTheVideosShape) {
    rightClick();
    EXPECT_TRUE(access().isTemporarilyMaximized());
    EXPECT_EQ(frame(), maximum);
    settle();
    EXPECT_EQ(window().geometry(), maximum);
}

TEST_F(TemporaryMaximumTest, KeepsTheLevelAndShapeOfTheWindow) {
    stayOnTopButton()->setOn(true);
    delegate->toggleStayOnTop();
    rightClick();
    settle();
    EXPECT_TRUE(window().hasOrdinaryFrame());
    EXPECT_EQ(window().level(), WindowLevel::floating);
    EXPECT_EQ(window().contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
}

TEST_F(TemporaryMaximumTest, IsNeverRemembered) {
    markStoredFrame();
    rightClick();
    settle();
    queue.advance(10);
    window().setPosition(0, 100); // as if the user moved the window
    EXPECT_TRUE(eventually([&] { return window().y() == 100; }));
    EXPECT_EQ(storedFrame(), untouched);
}

TEST_F(TemporaryMaximumTest, SecondRightClickRestoresTheFrame) {
    rightClick();
    settle();
    rightClick();
    EXPECT_EQ(frame(), originalFrame);
    settle();
    EXPECT_EQ(window().geometry(), originalFrame);
}

TEST_F(TemporaryMaximumTest, PartlyOffScreenFrameIsRestoredUnchanged) {
    const QRect partlyOut(500, 300, 640, 360);
    window().setGeometry(partlyOut);
    ASSERT_TRUE(eventually([&] { return frame() == partlyOut; }));
    rightClick();
    settle();
    rightClick();
    EXPECT_EQ(frame(), partlyOut);
}

TEST_F(TemporaryMaximumTest, WindowKeepsItsPlaceOnADisconnectedScreen) {
    const WindowPlace place{{500, 300, 640, 360}, {0, 0, 1600, 1000}};
    window().restorePlace(place);
    settle();
    const QRect temporaryPosition(160, 300, 640, 360);
    ASSERT_EQ(frame(), temporaryPosition);
    rightClick();
    settle();
    EXPECT_EQ(frame(), maximum);
    rightClick();
    settle();
    EXPECT_EQ(frame(), temporaryPosition);
    EXPECT_EQ(window().place(), place);
    queue.advance(0.35);
    EXPECT_EQ(storedFrame(), u"{{500, 300}, {640, 360}}"_s);
}

TEST_F(TemporaryMaximumTest, FrameIsRememberedOnlyOnceItIsRestored) {
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
    EXPECT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
}

TEST_F(TemporaryMaximumTest, RememberedFrameIsUsedAtTheNextLaunch) {
    rightClick();
    settle();
    rightClick();
    settle();
    queue.advance(0.35);
    ASSERT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
    delegate.reset();
    launch();
    EXPECT_EQ(window().geometry(), originalFrame);
}

TEST_F(TemporaryMaximumTest, LaterMovesAreRememberedAgain) {
    rightClick();
    settle();
    rightClick();
    settle();
    queue.advance(0.35);
    window().setPosition(60, 70);
    EXPECT_TRUE(eventually([&] { return storedFrame().startsWith(u"60 70 640 360 "_s); }))
        << qPrintable(storedFrame());
}

TEST_F(TemporaryMaximumTest, CanBeToggledRepeatedly) {
    for (int round = 0; round < 3; ++round) {
        rightClick();
        EXPECT_EQ(frame(), maximum);
        settle();
        rightClick();
        settle();
        queue.advance(0.35);
        EXPECT_EQ(window().geometry(), originalFrame);
        EXPECT_FALSE(access().isTemporarilyMaximized());
    }
}

TEST_F(TemporaryMaximumTest, WithoutASavedFrameTheWindowStaysAsItIs) {
    access().isTemporarilyMaximized() = true;
    markStoredFrame();
    rightClick();
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(frame(), originalFrame);
    queue.advance(1);
    EXPECT_EQ(storedFrame(), untouched);
}

TEST_F(TemporaryMaximumTest, WithoutAVideoTheShapeOfTheWindowIsKept) {
    delegate->loadCamera(0);
    window().setContentAspectRatio({});
    resizeWindow({600, 300});
    rightClick();
    EXPECT_EQ(frame(), QRect(0, 200, 800, 400));
}

// ---- Right-clicks in quick succession ----

TEST_F(TemporaryMaximumTest, SecondRightClickDuringTheAnimationReversesIt) {
    rightClick();
    rightClick();
    EXPECT_EQ(frame(), originalFrame);
    settle();
    queue.advance(0.35);
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(window().geometry(), originalFrame);
    EXPECT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
}

TEST_F(TemporaryMaximumTest, RightClicksDuringTheRestoreDelayItsEnd) {
    rightClick();
    settle();
    markStoredFrame();
    rightClick();
    queue.advance(0.3);
    rightClick();
    EXPECT_EQ(frame(), originalFrame);
    queue.advance(0.3);
    EXPECT_TRUE(access().isTemporarilyMaximized())
        << "the restore ends 0.35 s after the last right-click";
    EXPECT_EQ(storedFrame(), untouched);
    queue.advance(0.06);
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(storedFrame(), u"{{31, 17}, {640, 360}}"_s);
    EXPECT_LE(queue.delays().size(), 2U) << "only the watchdog and the state of the picture wait";
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
        EXPECT_EQ(window().geometry(), originalFrame) << clicks;
    }
}

// ---- States without a temporary maximum ----

class NoTemporaryMaximum : public TemporaryMaximumTest,
                           public testing::WithParamInterface<Named<Qt::WindowState>> {};

TEST_P(NoTemporaryMaximum, WithoutAnOrdinaryFrame) {
    window().setWindowState(GetParam().value);
    ASSERT_FALSE(window().hasOrdinaryFrame());
    const QRect before = frame();
    delegate->secondaryClick();
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_EQ(frame(), before);
}

using NamedState = Named<Qt::WindowState>;

INSTANTIATE_TEST_SUITE_P(, NoTemporaryMaximum,
                         testing::Values(NamedState{Qt::WindowFullScreen, "InFullScreen"},
                                         NamedState{Qt::WindowMaximized, "WhileMaximised"},
                                         NamedState{Qt::WindowMinimized, "WhileMinimised"}),
                         nameOfParameter);

TEST_F(TemporaryMaximumTest, DoesNothingWhileTheViewerCloses) {
    delegate->closeCameraViewer();
    delegate->toggleTemporaryMaximum();
    EXPECT_FALSE(access().isTemporarilyMaximized());
}

TEST_F(TemporaryMaximumTest, EndOfTheRestoreAfterDestructionIsHarmless) {
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
