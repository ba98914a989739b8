// Tests that the picture returns after the viewer process was stopped, and after the camera
// disconnected while a menu or an alert was open.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/FaultFixture.h"

#include <algorithm>
#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class ViewerFaultTest : public FaultFixture {
  protected:
    /// Returns the median age of the pictures on the screen, sampled for one second.
    [[nodiscard]] int medianAge() const {
        std::vector<int> ages;
        EXPECT_TRUE(always(1s, [&] {
            if (const auto age = pictureAge(screen.window(viewer->window())))
                ages.push_back(*age);
            return viewer->process().isRunning();
        }));
        if (ages.empty())
            return INT_MAX;
        const auto middle = ages.begin() + static_cast<std::ptrdiff_t>(ages.size() / 2);
        std::nth_element(ages.begin(), middle, ages.end());
        return *middle;
    }

    /// Waits until the log after `mark` reports that playback has resumed. Then checks that the
    /// motion strip of the picture, which no menu or alert covers, changes.
    void expectMovementWithin(Milliseconds limit, qsizetype mark) {
        ASSERT_TRUE(logShows({resumed}, mark, limit - sinceFault()));
        const QRect window = viewer->geometry();
        const QRect motion = pixelsOf(PictureLayout::motion, window.size());
        EXPECT_TRUE(screen.changesWithin(motion.translated(window.topLeft()), 5s));
        report("live again after", sinceFault(), limit);
    }
};

TEST_F(ViewerFaultTest, LatencyIsUnchangedAfterTheViewerWasStoppedForThreeSeconds) {
    CameraProcess *camera = showCamera(faultCameraWithClock());
    ASSERT_TRUE(camera);
    const int before = medianAge();
    const qsizetype mark = viewer->logMark();
    viewer->process().sendSignal(SIGSTOP);
    EXPECT_TRUE(always(3s, [this] { return viewer->process().isRunning(); }));
    EXPECT_GT(pictureAge(screen.window(viewer->window())).value_or(0), 2500)
        << "the viewer was not stopped";
    viewer->process().sendSignal(SIGCONT);
    faultIsOver();
    const int frame = 1000 / camera->setup().framesPerSecond;
    EXPECT_TRUE(eventually(2s, [&] {
        const auto age = pictureAge(screen.window(viewer->window()));
        return age && *age <= before + frame;
    }));
    report("live again after", sinceFault(), 2s);
    const int after = medianAge();
    report("delay before", Milliseconds(before), 500ms);
    report("delay after", Milliseconds(after), 500ms);
    EXPECT_LE(after, before + frame) << "the latency has increased";
    EXPECT_TRUE(nothingScheduled(mark));
    EXPECT_TRUE(pictureIsLive(2s));
    expectOneStream(*camera);
}

TEST_F(ViewerFaultTest, NoOldPictureIsShownAfterTheViewerWasStoppedForTwelveSeconds) {
    ASSERT_TRUE(showCamera(faultCameraWithClock()));
    const qsizetype mark = viewer->logMark();
    viewer->process().sendSignal(SIGSTOP);
    EXPECT_TRUE(always(12s, [this] { return viewer->process().isRunning(); }));
    viewer->process().sendSignal(SIGCONT);
    faultIsOver();
    EXPECT_TRUE(viewer->waitForLog(
        QStringLiteral("default"), QStringLiteral("lifecycle"),
        QStringLiteral("Lumvik stood still for 1\\d\\.\\d seconds; scheduling a fresh camera "
                       "connection\\."),
        2s, mark));
    // Before the viewer has run again, the screen still shows the picture from before.
    EXPECT_TRUE(eventually(
        1s, [&] { return pictureAge(screen.window(viewer->window())).value_or(0) < 2000; }));
    EXPECT_TRUE(always(3s, [&] {
        return pictureAge(screen.window(viewer->window())).value_or(0) < 2000;
    })) << "an old picture looks live";
    EXPECT_TRUE(pictureIsLive(10s));
}

TEST_F(ViewerFaultTest, PictureReturnsWhileAMenuIsOpen) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    keyboard.press(QStringLiteral("F10")); // in a small window, the strip is hidden
    ASSERT_TRUE(eventually(10s, [this] { return !viewer->popUps().isEmpty(); }))
        << "the menu does not open";
    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    faultIsOver();
    ASSERT_NO_FATAL_FAILURE(expectMovementWithin(4s, mark));
    EXPECT_FALSE(viewer->popUps().isEmpty()) << "the menu was closed";
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(10s, [this] { return viewer->popUps().isEmpty(); }));
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_TRUE(pictureIsLive(5s));
    expectOneStream(*camera);
}

TEST_F(ViewerFaultTest, PictureReturnsWhileAnAlertIsOpen) {
    CameraProcess *camera = startListedCamera(faultCamera());
    ASSERT_TRUE(camera);
    // The preloaded library makes the engine reject the first load command. The viewer reports the
    // rejection in an alert, which stays open while the next attempt succeeds.
    startViewer({{QStringLiteral("LD_PRELOAD"), QStringLiteral(LUMVIK_REJECTED_LOAD)}});
    faultIsOver();
    ASSERT_TRUE(logShows(
        {loading,
         QStringLiteral("error playback: mpv rejected the load command with error -\\d+\\."),
         backingOff(1, QStringLiteral("mpv rejected the load command")), probing, loading, resumed},
        0, 10s));
    const auto alertIsOpen = [this] { return viewer->windowsOnScreen().size() == 2; };
    ASSERT_TRUE(eventually(5s, alertIsOpen)) << "there is no alert";
    ASSERT_NO_FATAL_FAILURE(expectMovementWithin(10s, 0));

    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    faultIsOver();
    ASSERT_NO_FATAL_FAILURE(expectMovementWithin(4s, mark));
    EXPECT_TRUE(alertIsOpen()) << "the alert was closed";
    keyboard.press(QStringLiteral("Return"));
    EXPECT_TRUE(eventually(10s, [this] { return viewer->windowsOnScreen().size() == 1; }));
    EXPECT_TRUE(pictureIsLive(5s));
    expectOneStream(*camera);
}

} // namespace
} // namespace lumvik::test
