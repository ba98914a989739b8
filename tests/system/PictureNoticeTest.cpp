// Tests what the window says about its picture: that no picture that stands still looks live, and
// that the window names the cause when there is none.

#include "system/harness/AccessibilityFixture.h"
#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/ViewerFixture.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdlib>

namespace lumvik::test {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

class PictureNoticeTest : public ViewerFixture {
  protected:
    [[nodiscard]] QImage picture() const { return screen.window(viewer->window()); }

    /// Whether the colour bars can be seen with this share of their brightness.
    [[nodiscard]] testing::AssertionResult barsAreAsBrightAs(double share) const {
        // The first bar is light grey.
        const QImage shown = picture();
        const int expected = static_cast<int>(191 * share);
        const QPoint inFirstBar(shown.width() / 14, shown.height() / 4);
        const int found = shown.isNull() ? -1 : qGray(shown.pixel(inFirstBar));
        if (std::abs(found - expected) <= 6)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the bar has " << found << ", not " << expected;
    }
};

TEST_F(PictureNoticeTest, StandingPictureIsMarkedThenDarkenedThenReplacedByAMessage) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    EXPECT_FALSE(hasWarningPill(picture()));
    QElapsedTimer standing;
    standing.start();
    camera->command("freeze");
    ASSERT_TRUE(eventually(2200ms, [this] { return hasWarningPill(picture()); }));
    EXPECT_GE(standing.elapsed(), 1400);
    EXPECT_TRUE(barsAreAsBrightAs(1));
    ASSERT_TRUE(eventually(3s, [this] { return bool{barsAreAsBrightAs(0.4)}; }));
    EXPECT_GE(standing.elapsed(), 3900);
    // The pill is drawn again each second, which must not redraw the bright video around it.
    EXPECT_TRUE(always(
        2500ms, [this] { return bool{barsAreAsBrightAs(0.4)} && hasWarningPill(picture()); }));
    // The picture goes a moment before its pill does.
    ASSERT_TRUE(eventually(6s, [this] {
        const QImage shown = picture();
        return isDarkApartFromTexts(shown) && !hasWarningPill(shown);
    }));
    EXPECT_GE(standing.elapsed(), 9900);
    EXPECT_GT(shareOfLightPixels(picture(), picture().rect(), 200), 0) << "there is no message";
    camera->command("thaw");
    EXPECT_TRUE(eventually(15s, [this] { return bool{pictureFillsTheWindow()}; }));
    EXPECT_FALSE(hasWarningPill(picture()));
}

TEST_F(PictureNoticeTest, LastPictureStaysWhileNewAttemptsAreMade) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    camera->command("refuse");
    camera->command("drop");
    // The third attempt destroys the player, which must not remove the picture either.
    EXPECT_TRUE(always(6s, [this] { return !isDarkApartFromTexts(picture()); }));
    EXPECT_TRUE(barsAreAsBrightAs(0.4));
    EXPECT_TRUE(viewer->allOutput().contains(u"Starting video engine generation 2"_s));
    camera->command("accept");
    EXPECT_TRUE(eventually(15s, [this] { return bool{barsAreAsBrightAs(1)}; }));
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(PictureNoticeTest, PictureThatFallsBehindOnASlowNetworkIsMarked) {
    CameraSetup setup;
    setup.withClock = true;
    CameraProcess *camera = startListedCamera(setup);
    ASSERT_TRUE(camera);
    startViewerAndWaitForPicture();
    EXPECT_TRUE(eventually(5s, [this] { return pictureAge(picture()).value_or(9999) < 500; }));
    camera->command("throttle 9000"); // bytes a second, less than the stream needs
    int oldest = 0;
    int oldestUnmarked = 0;
    EXPECT_TRUE(always(12s, [&] {
        const QImage shown = picture();
        const int age = pictureAge(shown).value_or(0);
        oldest = std::max(oldest, age);
        if (!hasWarningPill(shown))
            oldestUnmarked = std::max(oldestUnmarked, age);
        return true;
    }));
    EXPECT_GT(oldest, 3000) << "the network was not slow enough";
    EXPECT_LE(oldestUnmarked, 2200); // in milliseconds, with the time for a redraw
    camera->command("throttle 0");
    EXPECT_TRUE(eventually(5s, [this] {
        const QImage shown = picture();
        return pictureAge(shown).value_or(9999) < 500 && !hasWarningPill(shown);
    }));
}

TEST_F(PictureNoticeTest, NothingOfAnotherCamerasPictureIsKept) {
    const CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    home.writeCameras({{u"Front"_s, camera->url()}, {u"Gone"_s, u"rtsp://127.0.0.1:9/gone"_s}});
    startViewerAndWaitForPicture();
    keyboard.press(u"Tab"_s);
    clickControl(controls().picker());
    keyboard.press(u"Down"_s);
    keyboard.press(u"Return"_s);
    movePointerAway();
    ASSERT_TRUE(eventually(2s, [this] { return isDarkApartFromTexts(picture()); }));
    EXPECT_TRUE(always(2s, [this] { return isDarkApartFromTexts(picture()); }));
}

/// Reads the message through AT-SPI, as a screen reader does.
class PictureCauseTest : public AccessibilityFixture {
  protected:
    /// Starts the viewer with one camera that has this address, and waits until the window gives
    /// this cause.
    void expectCause(const QString &address, const QString &cause) {
        home.writeCameras({{u"Front Door"_s, address}});
        startViewer();
        reader = std::make_unique<AccessibilityReader>(bus->environment());
        ASSERT_TRUE(reader->lookAt(viewer->process().processId(), ReaderMemory::none));
        const bool isGiven = eventually(25s, [&] { return wholeTree().contains(cause); });
        EXPECT_TRUE(isGiven) << cause.toStdString() << " is not in\n" << wholeTree().toStdString();
        EXPECT_TRUE(wholeTree().contains(u"No picture from Front Door"_s));
    }
};

TEST_F(PictureCauseTest, WrongPasswordIsNamed) {
    QString address = cameras.front()->url();
    ASSERT_TRUE(address.contains(password));
    expectCause(address.replace(password, u"wrong"_s),
                u"The camera refuses the user name or password."_s);
}

TEST_F(PictureCauseTest, WrongPathIsNamed) {
    expectCause(cameras.back()->url() + u"/none"_s, u"The camera has no stream at this path."_s);
}

TEST_F(PictureCauseTest, WrongPortIsNamed) {
    expectCause(u"rtsp://127.0.0.1:9/front"_s, u"127.0.0.1 refuses connections on port 9."_s);
}

TEST_F(PictureCauseTest, SilentHostIsNamed) {
    cameras.back()->command("silent");
    expectCause(cameras.back()->url(), u"127.0.0.1 does not answer."_s);
}

TEST_F(PictureCauseTest, UnknownNameIsNamed) {
    expectCause(u"rtsp://camera.invalid/front"_s, u"camera.invalid"_s);
}

TEST_F(PictureCauseTest, CameraThatSendsNothingIsNamed) {
    cameras.back()->command("freeze");
    expectCause(cameras.back()->url(), u"The camera answers but sends no picture."_s);
}

TEST_F(PictureCauseTest, EditorCanBeOpenedFromTheMessage) {
    expectCause(u"rtsp://127.0.0.1:9/front"_s, u"refuses connections"_s);
    act(u"push button"_s, u"Camera Addresses…"_s, u"Press"_s);
    waitForEditor();
}

} // namespace lumvik::test
