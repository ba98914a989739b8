// Tests how the window behaves when its screen changes in size or scale, is locked, or disappears.

#include "system/harness/ChildProcess.h"
#include "system/harness/DesktopProgram.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/ViewerFixture.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class ScreenChangeTest : public ViewerFixture {
  protected:
    using ViewerFixture::ViewerFixture;

    /// Starts a camera and the viewer, and gives the viewer's window the given frame.
    void startWithFrame(QRect frame) {
        ASSERT_TRUE(startListedCamera());
        ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
        ASSERT_NO_FATAL_FAILURE(resizeWindow(frame.size()));
        ASSERT_NO_FATAL_FAILURE(moveWindow(frame.topLeft()));
        ASSERT_TRUE(reachesFrame(frame));
        const QString stored = QStringLiteral("%1 %2 %3 %4 ")
                                   .arg(frame.x())
                                   .arg(frame.y())
                                   .arg(frame.width())
                                   .arg(frame.height());
        ASSERT_TRUE(eventually(10s, [&] { return storedFrame().startsWith(stored); }))
            << storedFrame().toStdString();
    }
    /// Waits for longer than the second after which the viewer remembers a new window position.
    static void waitUntilSettled() {
        QElapsedTimer rest;
        rest.start();
        ASSERT_TRUE(eventually(10s, [&] { return rest.elapsed() > 1500; }));
    }
};

TEST_F(ScreenChangeTest, ProgramExitsWithItsDisplayServerAndKeepsItsSettings) {
    const QRect frame(200, 150, 800, 450);
    ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
    const QByteArray list = home.readDataFile(QStringLiteral("cameras.json"));
    const QString stored = storedFrame();
    ASSERT_FALSE(stored.isEmpty());
    // Killing the display server simulates a session that ends without waiting for its programs.
    desktop.killScreen();
    EXPECT_TRUE(viewer->process().waitForExit(10s));
    EXPECT_TRUE(viewer->process().exitStatus().has_value()) << "the viewer was ended by a signal";
    EXPECT_EQ(storedFrame(), stored);
    EXPECT_EQ(home.readDataFile(QStringLiteral("cameras.json")), list);
}

TEST_F(ScreenChangeTest, WindowStaysVisibleOnASmallerScreen) {
    const QRect frame(900, 500, 640, 360);
    ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled());
    const QString stored = storedFrame();
    // Simulates that the large monitor is unplugged and a small monitor is left.
    ASSERT_TRUE(desktop.resize(QSize(800, 600)));
    EXPECT_TRUE(eventually(20s, [this] {
        return QRect(QPoint(), QSize(800, 600)).contains(viewer->geometry());
    })) << "the window is out of sight";
    EXPECT_TRUE(pictureFillsTheWindow());
    // If the viewer stored the new window frame, it would do so within this time.
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled());
    EXPECT_TRUE(eventually(10s, [&] { return storedFrame() == stored; }))
        << "the stored window frame has changed: " << storedFrame().toStdString();
    // Simulates that the large monitor is plugged in again.
    ASSERT_TRUE(desktop.resize(QSize(1600, 1000)));
    EXPECT_TRUE(reachesFrame(frame));
    EXPECT_TRUE(pictureFillsTheWindow());
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(ScreenChangeTest, WindowFrameSurvivesAStartWithoutItsScreen) {
    const QRect frame(400, 200, 640, 360);
    ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
    ASSERT_NO_FATAL_FAILURE(endViewer());
    const QString stored = storedFrame();
    ASSERT_TRUE(desktop.resize(QSize(800, 600)));
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    EXPECT_TRUE(reachesFrame(QRect(800 - 640, 200, 640, 360))) << "the window is cut off";
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled());
    ASSERT_NO_FATAL_FAILURE(endViewer());
    EXPECT_EQ(storedFrame(), stored);
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    ASSERT_TRUE(desktop.resize(QSize(1600, 1000)));
    EXPECT_TRUE(reachesFrame(frame));
    ASSERT_NO_FATAL_FAILURE(endViewer());
    EXPECT_EQ(storedFrame(), stored);
}

TEST_F(ScreenChangeTest, PositionChosenOnTheRemainingScreenIsRemembered) {
    const QRect frame(900, 500, 640, 360);
    ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled());
    ASSERT_TRUE(desktop.resize(QSize(800, 600)));
    const QRect temporaryFrame(800 - 640, 600 - 360, 640, 360);
    ASSERT_TRUE(reachesFrame(temporaryFrame)) << "the window does not move onto the screen";
    const QRect chosen(20, 30, 640, 360);
    ASSERT_NO_FATAL_FAILURE(moveWindow(chosen.topLeft()));
    EXPECT_TRUE(eventually(10s, [&] {
        return storedFrame().startsWith(QStringLiteral("20 30 640 360 "));
    })) << storedFrame().toStdString();
    // The window must keep its chosen position when the larger screen returns.
    ASSERT_TRUE(desktop.resize(QSize(1600, 1000)));
    EXPECT_TRUE(reachesFrame(chosen));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(ScreenChangeTest, LockingTheScreenAffectsNeitherPlaybackNorTheWindow) {
    const QRect frame(200, 150, 800, 450);
    ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
    const QString stored = storedFrame();
    const qsizetype mark = viewer->logMark();
    ASSERT_NO_FATAL_FAILURE(showControls());
    ChildProcess lock(QStringLiteral("the lock"), desktop.environment());
    ASSERT_TRUE(lock.start(QStringLiteral("i3lock"),
                           {QStringLiteral("--nofork"), QStringLiteral("--color=204060")}));
    ASSERT_TRUE(eventually(20s, [&] {
        return desktop.x().keyboardIsGrabbed() &&
               colourDistance(screen.pixel(frame.center()), QColor(0x20, 0x40, 0x60)) < 3;
    })) << "the screen is not locked";
    // Fifteen seconds are longer than the limit after which a still picture counts as stalled.
    EXPECT_TRUE(always(15s, [&] { return viewer->logMark() == mark; }))
        << viewer->allOutput().toStdString();
    lock.end();
    EXPECT_TRUE(pictureFillsTheWindow());
    EXPECT_TRUE(screen.changesWithin(frame, 10s)) << "the picture is frozen";
    EXPECT_EQ(viewer->geometry(), frame);
    EXPECT_EQ(storedFrame(), stored);
    // The viewer must react to the pointer again.
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().pin()));
    EXPECT_TRUE(eventually(10s, [this] { return viewer->isAbove(); }));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

/// Uses a desktop that announces its scale through XSETTINGS, which running programs follow.
class ScaleChangeTest : public ScreenChangeTest {
  protected:
    ScaleChangeTest() : ScreenChangeTest(WindowManager::openbox, QSize(2560, 1600)) {}

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ScreenChangeTest::SetUp());
        ASSERT_TRUE(m_folder.isValid());
        ASSERT_NO_FATAL_FAILURE(writeScale(1));
        m_settings = std::make_unique<ChildProcess>(QStringLiteral("the desktop's settings"),
                                                    desktop.environment());
        ASSERT_TRUE(m_settings->start(QStringLiteral("xsettingsd"),
                                      {QStringLiteral("-c"), settingsFile()}));
        ASSERT_TRUE(eventually(10s, [this] {
            return m_settings->standardError().join(u' ').contains(
                QStringLiteral("Took ownership"));
        })) << m_settings->standardError().join(u'\n').toStdString();
    }
    void TearDown() override {
        ScreenChangeTest::TearDown();
        m_settings.reset();
    }

    void setScale(int newScale) {
        ASSERT_NO_FATAL_FAILURE(writeScale(newScale));
        m_settings->sendSignal(SIGHUP);
        scale = newScale;
    }

    /// Starts the viewer with the given window frame, enlarges the window, and then sets the scale
    /// to 2.
    void startEnlargedAndDoubleTheScale(QRect frame) {
        ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
        pointer.moveTo(frame.center());
        pointer.click(Pointer::Button::right);
        ASSERT_TRUE(reachesFrame(QRect(0, 80, 2560, 1440)));
        movePointerAway();
        ASSERT_NO_FATAL_FAILURE(waitUntilSettled());
        ASSERT_NO_FATAL_FAILURE(setScale(2));
        // The screen keeps its number of pixels, so its width and height in points are
        // halved.
        ASSERT_TRUE(eventually(
            10s, [this] { return viewer->normalHints().minimumSize == QSize(960, 540); }));
        ASSERT_TRUE(reachesFrame(QRect(0, 160, 2560, 1440)));
    }
    /// Restores the enlarged window with a right-click, and checks that the window reaches `frame`.
    void bringBackTo(QRect frame) {
        pointer.moveTo(QPoint(1280, 800));
        pointer.click(Pointer::Button::right);
        EXPECT_TRUE(reachesFrame(frame));
        EXPECT_TRUE(pictureFillsTheWindow());
    }

  private:
    [[nodiscard]] QString settingsFile() const {
        return m_folder.filePath(QStringLiteral("settings"));
    }
    void writeScale(int newScale) {
        QFile file(settingsFile());
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        // Xft/DPI counts in 1024ths of a dot per inch.
        ASSERT_GT(file.write("Xft/DPI " + QByteArray::number(newScale * 96 * 1024) + '\n'), 0);
    }

    QTemporaryDir m_folder;
    std::unique_ptr<ChildProcess> m_settings;
};

TEST_F(ScaleChangeTest, WindowStaysVisibleAndReturnsToItsFrame) {
    const QRect frame(1400, 900, 1120, 630);
    ASSERT_NO_FATAL_FAILURE(startWithFrame(frame));
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled());
    const QString stored = storedFrame();
    ASSERT_NO_FATAL_FAILURE(setScale(2));
    EXPECT_TRUE(reachesFrame(QRect(2560 - 2240, 1600 - 1260, 2240, 1260)));
    EXPECT_TRUE(pictureFillsTheWindow());
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(960, 540));
    // The controls must be at their scaled positions and must work.
    ASSERT_NO_FATAL_FAILURE(showControls());
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().pin()));
    EXPECT_TRUE(eventually(10s, [this] { return viewer->isAbove(); }));
    movePointerAway();
    ASSERT_NO_FATAL_FAILURE(setScale(1));
    EXPECT_TRUE(reachesFrame(frame));
    EXPECT_TRUE(pictureFillsTheWindow());
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(480, 270));
    ASSERT_NO_FATAL_FAILURE(endViewer());
    EXPECT_EQ(storedFrame(), stored);
}

TEST_F(ScaleChangeTest, EnlargedWindowReturnsToItsFrame) {
    ASSERT_NO_FATAL_FAILURE(startEnlargedAndDoubleTheScale(QRect(400, 200, 640, 360)));
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(960, 540));
    EXPECT_TRUE(pictureFillsTheWindow());
    ASSERT_NO_FATAL_FAILURE(bringBackTo(QRect(800, 400, 1280, 720)));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(ScaleChangeTest, EnlargedWindowIsRestoredFullyOnTheScreen) {
    // At twice the scale, part of this window frame would lie outside the screen.
    ASSERT_NO_FATAL_FAILURE(startEnlargedAndDoubleTheScale(QRect(600, 300, 1120, 630)));
    ASSERT_NO_FATAL_FAILURE(bringBackTo(QRect(2560 - 2240, 1600 - 1260, 2240, 1260)));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

} // namespace
} // namespace lumvik::test
