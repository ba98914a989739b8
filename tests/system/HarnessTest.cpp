// Tests of the harness of the whole-program tests, with the mpv player as the program under test.

#include "system/harness/ColourBars.h"
#include "system/harness/DesktopProgram.h"
#include "system/harness/Eventually.h"
#include "system/harness/Input.h"
#include "system/harness/Pixels.h"
#include "system/harness/Screen.h"
#include "system/harness/TestDesktop.h"
#include "system/harness/TestHome.h"
#include "system/harness/UnresponsivePort.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <signal.h>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// Provides a desktop on which tests start the mpv player. The player draws in software.
class HarnessTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(desktop.start()); }

    void startPlayer(const QStringList &arguments) {
        player = std::make_unique<DesktopProgram>(desktop, QStringLiteral("mpv"),
                                                  home.environment(desktop.environment()));
        ASSERT_TRUE(player->process().start(
            QStringLiteral("mpv"),
            QStringList{QStringLiteral("--no-config"), QStringLiteral("--vo=x11"),
                        QStringLiteral("--no-border"), QStringLiteral("--title=Player"),
                        QStringLiteral("--osc=no"), QStringLiteral("--keep-open=yes")} +
                arguments));
        ASSERT_TRUE(player->waitForWindow(QStringLiteral("Player"), 30s));
    }

    void startMovingPicture() {
        startPlayer({QStringLiteral("--geometry=320x180+100+50"),
                     QStringLiteral("av://lavfi:testsrc=size=320x180:rate=25")});
    }

    void startStillPicture() {
        startPlayer({QStringLiteral("--geometry=320x180+100+50"),
                     QStringLiteral("av://lavfi:color=c=0xC02040:size=320x180:rate=5")});
        ASSERT_TRUE(screen.waitUntil(player->window(), isRed, 20s));
    }

    static testing::AssertionResult isRed(const QImage &picture) {
        const QColor colour = meanColour(picture, picture.rect());
        if (colourDistance(colour, QColor(0xC0, 0x20, 0x40)) <= 8)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the mean colour is " << colour.name().toStdString();
    }

    TestDesktop desktop;
    TestHome home;
    Screen screen{desktop};
    std::unique_ptr<DesktopProgram> player;
};

TEST_F(HarnessTest, MovingPictureIsDetected) {
    startMovingPicture();
    EXPECT_TRUE(screen.changesWithin(player->geometry(), 20s));
}

TEST_F(HarnessTest, StillPictureIsNotReportedAsMoving) {
    startStillPicture();
    const auto verdict = screen.changesWithin(player->geometry(), 500ms);
    EXPECT_FALSE(verdict);
    EXPECT_THAT(verdict.message(), HasSubstr("does not change"));
}

TEST_F(HarnessTest, WrongColourIsReportedWithTheColourSeen) {
    startStillPicture();
    const auto isGreen = [](const QImage &picture) -> testing::AssertionResult {
        const QColor colour = meanColour(picture, picture.rect());
        if (colourDistance(colour, Qt::green) <= 8)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << colour.red();
    };
    const auto verdict = screen.waitUntil(player->window(), isGreen, 100ms);
    EXPECT_FALSE(verdict);
    EXPECT_THAT(verdict.message(), HasSubstr("not within 100 ms: 19"));
}

TEST_F(HarnessTest, ScreenshotOfACoveredWindowShowsTheCoveringWindow) {
    startStillPicture();
    const auto first = std::move(player);
    startPlayer({QStringLiteral("--geometry=320x180+100+50"), QStringLiteral("--ontop"),
                 QStringLiteral("av://lavfi:color=c=0x2040C0:size=320x180:rate=5")});
    const auto isBlue = [](const QImage &picture) {
        return testing::AssertionResult(
            colourDistance(meanColour(picture, picture.rect()), QColor(0x20, 0x40, 0xC0)) <= 8);
    };
    EXPECT_TRUE(screen.waitUntil(first->window(), isBlue, 20s));
}

TEST_F(HarnessTest, MissingWindowFailsWithAClearMessage) {
    startMovingPicture();
    const auto verdict = player->waitForWindow(QStringLiteral("Somebody else"), 100ms);
    EXPECT_FALSE(verdict);
    EXPECT_THAT(verdict.message(),
                HasSubstr("no window \"Somebody else\" of the program, which runs"));
    EXPECT_THAT(verdict.message(), HasSubstr("its windows: \"Player\""));
}

TEST_F(HarnessTest, ExitedProgramIsReportedWithoutWaiting) {
    DesktopProgram program(desktop, QStringLiteral("mpv"), desktop.environment());
    ASSERT_TRUE(
        program.process().start(QStringLiteral("mpv"), {QStringLiteral("--no-such-option")}));
    QElapsedTimer timer;
    timer.start();
    const auto verdict = program.waitForWindow(QStringLiteral("Player"), 60s);
    EXPECT_FALSE(verdict);
    EXPECT_THAT(verdict.message(), HasSubstr("exited with status 1"));
    EXPECT_LT(timer.elapsed(), 30000);
}

TEST_F(HarnessTest, WindowHasTheRequestedGeometry) {
    startStillPicture();
    EXPECT_EQ(player->geometry(), QRect(100, 50, 320, 180));
    // The player dithers, so a plain colour appears as two adjacent shades.
    const auto isRedAt = [this](QPoint point) {
        return colourDistance(screen.pixel(point), QColor(0xC0, 0x20, 0x40)) <= 8;
    };
    EXPECT_TRUE(isRedAt(QPoint(100, 50)));
    EXPECT_TRUE(isRedAt(QPoint(419, 229)));
    EXPECT_FALSE(isRedAt(QPoint(99, 50)));
    EXPECT_FALSE(isRedAt(QPoint(419, 230)));
}

TEST_F(HarnessTest, WindowKeptAboveOthersIsRecognised) {
    startPlayer(
        {QStringLiteral("--ontop"), QStringLiteral("--force-window"), QStringLiteral("--idle")});
    EXPECT_TRUE(eventually(10s, [this] { return player->isAbove(); }));
    const auto above = std::move(player);
    startPlayer({QStringLiteral("--force-window"), QStringLiteral("--idle")});
    EXPECT_FALSE(player->isAbove());
}

TEST_F(HarnessTest, AspectRatioHintIsRead) {
    startMovingPicture();
    ASSERT_TRUE(
        eventually(10s, [this] { return player->normalHints().minimumAspect.has_value(); }));
    const QSize aspect = *player->normalHints().minimumAspect;
    EXPECT_EQ(aspect.width() * 180, aspect.height() * 320);
    EXPECT_EQ(player->normalHints().maximumAspect, aspect);
}

TEST_F(HarnessTest, PointerPressesReachTheWindow) {
    startPlayer({QStringLiteral("--geometry=320x180+100+50"), QStringLiteral("--force-window"),
                 QStringLiteral("--idle")});
    const QRect before = player->geometry();
    Pointer pointer(desktop);
    pointer.moveTo(before.center());
    EXPECT_FALSE(desktop.x().keyboardIsGrabbed());
    pointer.press();
    // The player starts a drag at the first motion that it sees while a button is pressed.
    int way = 0;
    ASSERT_TRUE(eventually(20s, [&] {
        pointer.moveTo(before.center() + QPoint(++way % 60, 0));
        return desktop.x().keyboardIsGrabbed();
    })) << "the window manager does not start to move the window";
    pointer.glideTo(before.center() + QPoint(90, 40));
    EXPECT_TRUE(eventually(10s, [&] { return player->geometry().topLeft() != before.topLeft(); }))
        << "the window does not follow the drag";
    pointer.release();
    EXPECT_TRUE(eventually(10s, [this] { return !desktop.x().keyboardIsGrabbed(); }));
    EXPECT_EQ(player->geometry().size(), before.size());
}

TEST_F(HarnessTest, KeysReachTheFocusedWindow) {
    startStillPicture();
    ASSERT_TRUE(eventually(10s, [this] { return player->hasFocus(); }));
    Keyboard(desktop).press(QStringLiteral("q"));
    ASSERT_TRUE(player->process().waitForExit(20s));
    EXPECT_EQ(player->process().exitStatus(), 0);
}

TEST_F(HarnessTest, CloseRequestReachesTheWindow) {
    startStillPicture();
    desktop.x().requestClose(player->window());
    ASSERT_TRUE(player->process().waitForExit(20s));
    EXPECT_EQ(player->process().exitStatus(), 0);
}

TEST_F(HarnessTest, ProcessEndedByASignalHasNoExitStatus) {
    startStillPicture();
    player->process().sendSignal(SIGKILL);
    ASSERT_TRUE(player->process().waitForExit(20s));
    EXPECT_FALSE(player->process().exitStatus());
    EXPECT_EQ(player->process().stateDescription(), QStringLiteral("was ended by signal 9"));
}

TEST_F(HarnessTest, RestartedWindowManagerManagesExistingWindows) {
    startStillPicture();
    const QRect before = player->geometry();
    ASSERT_TRUE(desktop.restartWindowManager());
    EXPECT_TRUE(eventually(10s, [&] { return player->geometry() == before; }));
    EXPECT_TRUE(player->process().isRunning());
    EXPECT_TRUE(screen.waitUntil(player->window(), isRed, 20s));
}

TEST_F(HarnessTest, ScreenshotIsSavedInTheArtifactsFolder) {
    const QTemporaryDir folder;
    qputenv("LUMVIK_TEST_ARTIFACTS", folder.path().toUtf8());
    const QString path = screen.save(QStringLiteral("picture"));
    qunsetenv("LUMVIK_TEST_ARTIFACTS");
    EXPECT_EQ(QImage(path).size(), desktop.size());
}

TEST_F(HarnessTest, FailedXdotoolCallIsATestFailure) {
    EXPECT_NONFATAL_FAILURE(xdotool(desktop, {QStringLiteral("no-such-command")}),
                            "no-such-command");
}

TEST(TestDesktopTest, DestructorEndsTheDisplayServer) {
    std::unique_ptr<XConnection> connection;
    {
        TestDesktop desktop;
        ASSERT_TRUE(desktop.start());
        connection = XConnection::open(desktop.display());
        ASSERT_NE(connection, nullptr);
        EXPECT_TRUE(connection->geometry(connection->root()));
    }
    // A server that another test starts may already have the same display number.
    EXPECT_FALSE(connection->geometry(connection->root()));
}

TEST(TestDesktopTest, TwoDesktopsRunSideBySide) {
    TestDesktop one;
    TestDesktop other;
    ASSERT_TRUE(one.start());
    ASSERT_TRUE(other.start());
    EXPECT_NE(one.display(), other.display());
}

TEST(TestDesktopTest, StartsWithoutAWindowManager) {
    TestDesktop desktop(WindowManager::none, QSize(800, 600));
    ASSERT_TRUE(desktop.start());
    EXPECT_TRUE(desktop.x().numbers(desktop.x().root(), "_NET_SUPPORTING_WM_CHECK").isEmpty());
    EXPECT_EQ(Screen(desktop).all().size(), QSize(800, 600));
}

TEST(TestDesktopTest, StartsWithXfwm4) {
    TestDesktop desktop(WindowManager::xfwm4);
    ASSERT_TRUE(desktop.start());
    const auto named = desktop.x().numbers(desktop.x().root(), "_NET_SUPPORTING_WM_CHECK");
    ASSERT_FALSE(named.isEmpty());
    EXPECT_EQ(desktop.x().title(named.first()), QStringLiteral("Xfwm4"));
}

/// Returns a picture with the colour bars of the test camera.
QImage paintedBars(QSize size) {
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::black);
    for (int bar = 0; bar < PictureLayout::barCount; ++bar) {
        const auto &colour = PictureLayout::barColours.at(static_cast<std::size_t>(bar));
        const QRect area = pixelsOf(PictureLayout::bar(bar), size);
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x)
                picture.setPixel(x, y, qRgb(colour.red, colour.green, colour.blue));
        }
    }
    return picture;
}

TEST(ColourBarsTest, BarsAreRecognisedAtAnySize) {
    EXPECT_TRUE(showsColourBars(paintedBars(QSize(1120, 630))));
    EXPECT_TRUE(showsColourBars(paintedBars(QSize(171, 300))));
}

TEST(ColourBarsTest, MirroredBlackOrNullPictureShowsNoBars) {
    const QImage bars = paintedBars(QSize(640, 360));
    EXPECT_FALSE(showsColourBars(bars.mirrored(true, false)));
    EXPECT_FALSE(showsColourBars(bars.mirrored(false, true)));
    QImage black(640, 360, QImage::Format_RGB32);
    black.fill(Qt::black);
    EXPECT_FALSE(showsColourBars(black));
    EXPECT_FALSE(showsColourBars(QImage()));
}

TEST(ColourBarsTest, PictureWithoutClockHasNoCaptureTime) {
    EXPECT_EQ(captureTime(paintedBars(QSize(640, 360))), std::nullopt);
}

TEST(UnresponsivePortTest, RefusesOrAcceptsConnectionsAsConfigured) {
    const auto connects = [](const UnresponsivePort &port) {
        ChildProcess shell(QStringLiteral("bash"), QProcessEnvironment::systemEnvironment());
        const QString number = QString::number(QUrl(port.url()).port());
        EXPECT_TRUE(shell.start(
            QStringLiteral("bash"),
            {QStringLiteral("-c"), QStringLiteral("exec 3<>/dev/tcp/127.0.0.1/") + number}));
        EXPECT_TRUE(shell.waitForExit(20s));
        return shell.exitStatus() == 0;
    };
    EXPECT_FALSE(connects(UnresponsivePort(UnresponsivePort::Behaviour::refusing)));
    EXPECT_TRUE(connects(UnresponsivePort(UnresponsivePort::Behaviour::unresponsive)));
}

TEST(TestHomeTest, WrittenPreferencesAreReadBack) {
    const TestHome home;
    EXPECT_FALSE(home.preference(QStringLiteral("staysOnTop")).isValid());
    home.writePreferencesFile("[General]\nstaysOnTop=true\n");
    EXPECT_EQ(home.preference(QStringLiteral("staysOnTop")).toString(), QStringLiteral("true"));
    home.setPreference(QStringLiteral("selectedCameraIndex"), 3);
    EXPECT_EQ(home.preference(QStringLiteral("selectedCameraIndex")).toInt(), 3);
    EXPECT_TRUE(home.dataFolderEntries().isEmpty());
}

} // namespace
} // namespace lumvik::test
