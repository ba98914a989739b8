// Tests that the window shows the camera's moving picture with low latency, and that the window
// takes the aspect ratio of the picture.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/ViewerFixture.h"

#include <QTransform>

#include <algorithm>
#include <climits>
#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class PictureTest : public ViewerFixture {
  protected:
    /// Shows a camera with a clock in the smallest window. On a machine without a graphics card,
    /// the time to draw a large window would dominate the measured latency.
    void showClock() {
        CameraSetup setup;
        setup.withClock = true;
        ASSERT_TRUE(startListedCamera(setup));
        home.setPreference(QStringLiteral("mainWindowFrame"),
                           QStringLiteral("{{200, 200}, {480, 270}}"));
        startViewerAndWaitForPicture();
    }

    /// Waits until the picture of a camera with a clock is at most half a second old.
    [[nodiscard]] testing::AssertionResult
    pictureIsLiveWithin(std::chrono::milliseconds deadline) const {
        std::optional<int> age;
        int best = INT_MAX;
        const bool isLive = eventually(deadline, [&] {
            age = pictureAge(screen.window(viewer->window()));
            best = std::min(best, age.value_or(INT_MAX));
            return best <= 500;
        });
        if (isLive)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the picture is " << age.value_or(-1)
                                           << " ms old, and was never less than " << best;
    }
};

CameraSetup cameraOfSize(QSize size) {
    CameraSetup setup;
    setup.size = size;
    return setup;
}

TEST_F(PictureTest, CameraIsShownWithAMovingPicture) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect window = viewer->geometry();
    EXPECT_EQ(window.size(), QSize(1120, 630));
    const QRect motion = pixelsOf(PictureLayout::motion, window.size());
    EXPECT_TRUE(screen.changesWithin(motion.translated(window.topLeft()), 5s));
    const QRect clock = pixelsOf(PictureLayout::wallClock, window.size());
    EXPECT_TRUE(screen.changesWithin(clock.translated(window.topLeft()), 5s));
}

TEST_F(PictureTest, FrozenCameraShowsAStillPicture) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    camera->command("freeze");
    const QRect window = viewer->geometry();
    // The viewer still shows the frames that the camera had sent before it froze.
    const QRect motion = pixelsOf(PictureLayout::motion, window.size());
    EXPECT_TRUE(eventually(
        10s, [&] { return !screen.changesWithin(motion.translated(window.topLeft()), 1s); }));
    EXPECT_TRUE(pictureFillsTheWindow());
}

// The link knows TCP only, so that the engine connects to this camera itself.
TEST_F(PictureTest, CameraThatSendsOverUdpOnlyIsShown) {
    CameraSetup setup;
    setup.transport = QStringLiteral("udp");
    setup.user = QStringLiteral("anna");
    setup.password = QStringLiteral("a secret");
    CameraProcess *camera = startListedCamera(setup);
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    const auto refusals = [this] {
        return viewer->allOutput().count(QStringLiteral("SETUP with status 461"));
    };
    EXPECT_EQ(refusals(), 1);
    // UDP is also used for the next load.
    const qsizetype mark = viewer->logMark();
    camera->command("end");
    ASSERT_TRUE(viewer->waitForLiveVideo(mark));
    EXPECT_EQ(refusals(), 1);
}

TEST_F(PictureTest, WindowTakesTheAspectRatioOfAFourToThreeCamera) {
    ASSERT_TRUE(startListedCamera(cameraOfSize({640, 480})));
    startViewerAndWaitForPicture();
    EXPECT_TRUE(eventually(10s, [this] {
        return bool{hasShape({640, 480})};
    })) << hasShape({640, 480}).message();
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(PictureTest, WindowTakesTheAspectRatioOfAPortraitCamera) {
    ASSERT_TRUE(startListedCamera(cameraOfSize({540, 960})));
    startViewerAndWaitForPicture();
    EXPECT_TRUE(eventually(10s, [this] {
        return bool{hasShape({540, 960})};
    })) << hasShape({540, 960}).message();
    EXPECT_TRUE(desktop.area().contains(viewer->geometry()));
    EXPECT_TRUE(pictureFillsTheWindow());
}

class LaptopScreenTest : public ViewerFixture {
  protected:
    LaptopScreenTest() : ViewerFixture(WindowManager::openbox, QSize(1366, 768)) {}
};

// At the usual smallest width, the window would be 853 pixels high.
TEST_F(LaptopScreenTest, PortraitCameraFitsOnTheScreen) {
    ASSERT_TRUE(startListedCamera(cameraOfSize({540, 960})));
    startViewer();
    ASSERT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(eventually(10s, [this] {
        return bool{hasShape({540, 960})};
    })) << hasShape({540, 960}).message();
    EXPECT_TRUE(desktop.area().contains(viewer->geometry()));
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(PictureTest, WindowTakesTheAspectRatioOfARotatedCamera) {
    CameraProcess *camera = startListedCamera(cameraOfSize({640, 360}));
    ASSERT_TRUE(camera);
    camera->command("rotate 90");
    startViewer();
    ASSERT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(eventually(20s, [this] {
        return bool{hasShape({360, 640})};
    })) << hasShape({360, 640}).message();
    const auto showsBarsOnTheirSide = [](const QImage &picture) {
        return showsColourBars(picture.transformed(QTransform().rotate(-90)));
    };
    EXPECT_TRUE(screen.waitUntil(viewer->window(), showsBarsOnTheirSide, 10s));
}

TEST_F(PictureTest, WindowFollowsACameraThatChangesItsAspectRatio) {
    CameraProcess *camera = startListedCamera(cameraOfSize({640, 360}));
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    ASSERT_TRUE(hasShape({640, 360}));
    camera->command("size 640x480");
    EXPECT_TRUE(eventually(40s, [this] {
        return bool{hasShape({640, 480})};
    })) << hasShape({640, 480}).message();
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(PictureTest, CameraThatChangesItsShapeAgainAndAgainDoesNotPushTheWindow) {
    CameraProcess *camera = startListedCamera(cameraOfSize({640, 360}));
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    ASSERT_TRUE(hasShape({640, 360}));
    const auto frame = desktop.x().geometry(viewer->window());
    ASSERT_TRUE(frame);
    const auto frameIsKept = [&] { return desktop.x().geometry(viewer->window()) == frame; };
    for (int i = 0; i < 6; ++i) {
        camera->command("size 640x480");
        EXPECT_TRUE(always(400ms, frameIsKept)) << i;
        camera->command("size 640x360");
        EXPECT_TRUE(always(400ms, frameIsKept)) << i;
    }
    EXPECT_TRUE(always(2s, frameIsKept));

    camera->command("size 640x480");
    ASSERT_TRUE(eventually(40s, [this] { return bool{hasShape({640, 480})}; }));
    camera->command("size 640x360");
    EXPECT_TRUE(eventually(40s, frameIsKept)) << "The window goes back to where it was.";
}

TEST_F(PictureTest, PictureIsAtMostHalfASecondOld) {
    ASSERT_NO_FATAL_FAILURE(showClock());
    EXPECT_TRUE(pictureIsLiveWithin(10s));
}

TEST_F(PictureTest, PictureIsLiveAgainAfterTheWindowWasMinimised) {
    ASSERT_NO_FATAL_FAILURE(showClock());
    const qsizetype mark = viewer->logMark();
    const QString id = QString::number(viewer->window());

    xdotool(desktop, {QStringLiteral("windowminimize"), id});
    ASSERT_TRUE(eventually(10s, [this] { return !desktop.x().isViewable(viewer->window()); }));
    // A player that waited for each frame to be drawn would fall seconds behind in this time.
    EXPECT_TRUE(always(6s, [this] { return !desktop.x().isViewable(viewer->window()); }));
    xdotool(desktop, {QStringLiteral("windowactivate"), id});
    ASSERT_TRUE(eventually(10s, [this] { return desktop.x().isViewable(viewer->window()); }));

    EXPECT_TRUE(pictureIsLiveWithin(5s));
    EXPECT_FALSE(viewer->hasLogged(QStringLiteral("default"), QStringLiteral("playback"),
                                   QStringLiteral("Scheduling recovery .*"), mark))
        << "a healthy stream was restarted while the window was minimised";
}

TEST_F(PictureTest, PictureIsLiveAgainAfterTheProgramWasStopped) {
    ASSERT_NO_FATAL_FAILURE(showClock());
    ASSERT_TRUE(pictureIsLiveWithin(10s));
    // The camera keeps sending while the viewer is stopped, so three seconds of old frames wait in
    // the connection.
    viewer->process().sendSignal(SIGSTOP);
    EXPECT_TRUE(always(3s, [this] { return viewer->process().isRunning(); }));
    viewer->process().sendSignal(SIGCONT);
    EXPECT_TRUE(pictureIsLiveWithin(5s));
}

/// Uses a screen that is large enough for the default window at two pixels per point.
class DoubleScaleTest : public ViewerFixture {
  protected:
    DoubleScaleTest() : ViewerFixture(WindowManager::openbox, QSize(2560, 1600)) { scale = 2; }

    const ViewerProcess::Variables doubleScale{
        {QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("2")}};
};

TEST_F(DoubleScaleTest, PictureFillsTheWindowAndTheCloseButtonWorks) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture(doubleScale);
    EXPECT_EQ(viewer->geometry().size(), QSize(2240, 1260));
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(960, 540));
    clickControl(controls().close());
    EXPECT_TRUE(viewer->exitsInOrder(20s));
}

TEST_F(DoubleScaleTest, WindowTakesTheAspectRatioOfAFourToThreeCamera) {
    ASSERT_TRUE(startListedCamera(cameraOfSize({640, 480})));
    startViewerAndWaitForPicture(doubleScale);
    EXPECT_TRUE(eventually(10s, [this] {
        return bool{hasShape({640, 480})};
    })) << hasShape({640, 480}).message();
}

} // namespace
} // namespace lumvik::test
