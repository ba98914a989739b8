// What decodes and draws the picture, and what becomes of the program when its screen changes or
// goes away.

#include "Eventually.h"
#include "ViewerTest.h"

#include <QElapsedTimer>
#include <QFile>

#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class GraphicsTest : public ViewerTest {
  protected:
    /// Starts a camera and the viewer, and gives its window a frame.
    void startAndPutTo(QRect frame) {
        ASSERT_TRUE(startListedCamera());
        ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
        ASSERT_NO_FATAL_FAILURE(resizeWindow(frame.size()));
        ASSERT_NO_FATAL_FAILURE(moveWindow(frame.topLeft()));
        ASSERT_TRUE(comesToBe(frame));
    }
    /// A place counts once the window has stood there for a second.
    static void letRest() {
        QElapsedTimer rest;
        rest.start();
        ASSERT_TRUE(eventually(10s, [&] { return rest.elapsed() > 1500; }));
    }
    /// The files that the viewer has mapped, libraries among them.
    [[nodiscard]] QByteArray mappedFiles() const {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(viewer->process().processId()));
        return maps.open(QFile::ReadOnly) ? maps.readAll() : QByteArray();
    }
    [[nodiscard]] int countOfLines(const QString &textPattern) const {
        const QRegularExpression text(QRegularExpression::anchoredPattern(textPattern));
        const QList<LogLine> lines = viewer->log();
        return static_cast<int>(
            std::count_if(lines.cbegin(), lines.cend(),
                          [&](const LogLine &line) { return text.match(line.text).hasMatch(); }));
    }
};

TEST_F(GraphicsTest, TheEngineIsGivenWhatSharingDecodedSurfacesTakes) {
    ASSERT_TRUE(startListedCamera());
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture(
        {{QStringLiteral("LD_PRELOAD"), QStringLiteral(LUMVIK_RENDER_PARAMETERS)}}));
    EXPECT_TRUE(viewer->process().standardError().contains(
        QStringLiteral("render parameter: X11 display")));
    const QByteArray mapped = mappedFiles();
    EXPECT_TRUE(mapped.contains("libqxcb-egl-integration.so"));
    EXPECT_FALSE(mapped.contains("libqxcb-glx-integration.so"));
}

TEST_F(GraphicsTest, TheLogNamesTheDecoderOncePerPlayer) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    const QString decoder = QStringLiteral("The video is decoded (in software|by hardware .*)\\.");
    EXPECT_EQ(countOfLines(decoder), 1);
    // The stream comes back in the same player.
    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    ASSERT_TRUE(viewer->waitForLiveVideo(mark));
    EXPECT_EQ(countOfLines(QStringLiteral("Starting video engine generation .*")), 1);
    EXPECT_EQ(countOfLines(decoder), 1);
}

TEST_F(GraphicsTest, TheProgramEndsWithItsScreenAndForgetsNothing) {
    const QRect frame(200, 150, 800, 450);
    ASSERT_NO_FATAL_FAILURE(startAndPutTo(frame));
    const QByteArray list = home.readDataFile(QStringLiteral("cameras.json"));
    const QString stored = storedFrame();
    ASSERT_FALSE(stored.isEmpty());
    // As at the end of a session whose display server does not wait for anybody.
    desktop.killScreen();
    EXPECT_TRUE(viewer->process().waitForExit(10s));
    EXPECT_TRUE(viewer->process().exitStatus().has_value()) << "it was ended by a signal";
    EXPECT_EQ(storedFrame(), stored);
    EXPECT_EQ(home.readDataFile(QStringLiteral("cameras.json")), list);
}

TEST_F(GraphicsTest, ASmallerScreenKeepsTheWindowInSight) {
    const QRect frame(900, 500, 640, 360);
    ASSERT_NO_FATAL_FAILURE(startAndPutTo(frame));
    ASSERT_NO_FATAL_FAILURE(letRest());
    // The large monitor is unplugged, and a small one is left.
    ASSERT_TRUE(desktop.resize(QSize(800, 600)));
    EXPECT_TRUE(eventually(20s, [this] {
        return QRect(QPoint(), QSize(800, 600)).contains(viewer->geometry());
    })) << "the window is out of sight";
    EXPECT_TRUE(pictureFillsTheWindow());
    // And plugged in again.
    ASSERT_TRUE(desktop.resize(QSize(1600, 1000)));
    EXPECT_TRUE(comesToBe(frame));
    EXPECT_TRUE(pictureFillsTheWindow());
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(GraphicsTest, APlaceChosenOnTheScreenThatIsLeftIsRemembered) {
    const QRect frame(900, 500, 640, 360);
    ASSERT_NO_FATAL_FAILURE(startAndPutTo(frame));
    ASSERT_NO_FATAL_FAILURE(letRest());
    ASSERT_TRUE(desktop.resize(QSize(800, 600)));
    const QRect refuge(800 - 640, 600 - 360, 640, 360);
    ASSERT_TRUE(comesToBe(refuge)) << "it does not come into sight";
    const QRect chosen(20, 30, 640, 360);
    ASSERT_NO_FATAL_FAILURE(moveWindow(chosen.topLeft()));
    EXPECT_TRUE(eventually(10s, [&] {
        return storedFrame().startsWith(QStringLiteral("20 30 640 360 "));
    })) << storedFrame().toStdString();
    // It is the window's own now, whatever screens come.
    ASSERT_TRUE(desktop.resize(QSize(1600, 1000)));
    EXPECT_TRUE(comesToBe(chosen));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

} // namespace
} // namespace lumvik::test
