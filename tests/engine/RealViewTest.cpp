// The render view with the real engine, a real camera and a real window.

#include "CameraProcess.h"
#include "Eventually.h"
#include "engine/MPVOpenGLView.h"
#include "engine/PlayerOptions.h"

#include <QElapsedTimer>
#include <QQuickWindow>
#include <QScreen>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <memory>
#include <set>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

constexpr auto deadline = 30s;
constexpr int framesPerSecond = 25;

CameraSetup cameraSetup() {
    CameraSetup setup;
    setup.framesPerSecond = framesPerSecond;
    return setup;
}

class RealViewTest : public testing::Test {
  protected:
    void SetUp() override {
        std::setlocale(LC_NUMERIC, "C");
        window.setColor(Qt::black);
        window.resize(640, 360);
        // Around the view's own drawing, which is connected between these two.
        connectBeforeDrawing();
        view = new MPVOpenGLView(queue, window.contentItem());
        view->setSize(QSizeF(640, 360));
        QObject::connect(
            &window, &QQuickWindow::beforeRenderPassRecording, &window,
            [this] { drawingTimes.append(static_cast<double>(drawing.nsecsElapsed()) / 1e6); },
            Qt::DirectConnection);
        view->setFrameRenderedHandler([this] { ++frames; });
        bool isDrawn = false;
        QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&] { isDrawn = true; });
        window.show();
        ASSERT_TRUE(eventually(deadline, [&] { return isDrawn; }));
        window.disconnect(&window, SIGNAL(frameSwapped()));
        ASSERT_TRUE(camera.start());
    }
    ~RealViewTest() override {
        delete view;
        mpv_terminate_destroy(player);
    }
    void connectBeforeDrawing() {
        QObject::connect(
            &window, &QQuickWindow::beforeRenderPassRecording, &window, [this] { drawing.start(); },
            Qt::DirectConnection);
    }

    /// Makes the player and plays the camera until `count` frames were shown. `untimed` as in the
    /// program unless a test needs frames to wait for their time.
    void play(int count, const char *untimed = "yes") {
        player = mpv_create();
        ASSERT_NE(player, nullptr);
        for (const PlayerSetting &option : playerOptions)
            mpv_set_option_string(player, option.name, option.value);
        ASSERT_GE(mpv_initialize(player), 0);
        for (const PlayerSetting &property : livePlaybackProperties)
            mpv_set_property_string(player, property.name, property.value);
        mpv_set_property_string(player, "untimed", untimed);
        ASSERT_GE(view->configureWithMPV(player), 0);
        const QByteArray url = camera.url().toUtf8();
        std::array<const char *, 4> command{"loadfile", url.constData(), "replace", nullptr};
        ASSERT_GE(mpv_command(player, command.data()), 0);
        ASSERT_TRUE(eventually(deadline, [&] { return frames >= count; }));
    }
    /// How many colours lie along a line across the middle of the window on the screen.
    [[nodiscard]] std::size_t shownColours() const {
        const QImage image = window.screen()->grabWindow(window.winId()).toImage();
        std::set<QRgb> colours;
        for (int x = 0; x < image.width(); x += 4)
            colours.insert(image.pixel(x, image.height() / 3) & 0x00E0E0E0U);
        return colours.size();
    }

    QtMainQueue queue;
    CameraProcess camera{cameraSetup()};
    QQuickWindow window;
    mpv_handle *player = nullptr;
    MPVOpenGLView *view = nullptr;
    QElapsedTimer drawing;
    QList<double> drawingTimes; // in milliseconds
    int frames = 0;
};

TEST_F(RealViewTest, DrawsTheCamerasPicture) {
    ASSERT_NO_FATAL_FAILURE(play(5));
    EXPECT_TRUE(eventually(deadline, [&] { return shownColours() >= 5; }));
    view->shutdownRenderContext();
    EXPECT_TRUE(eventually(deadline, [&] { return shownColours() == 1; }))
        << "without a renderer the window is black";
}

TEST_F(RealViewTest, HiddenWindowKeepsUpWithTheCamera) {
    ASSERT_NO_FATAL_FAILURE(play(10));
    window.hide();
    ASSERT_TRUE(eventually(deadline, [&] { return !window.isExposed(); }));
    const int drawn = static_cast<int>(drawingTimes.size());
    const int before = frames;
    constexpr int wanted = 3 * framesPerSecond;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(eventually(deadline, [&] { return frames >= before + wanted; }));
    const double rate = wanted * 1000.0 / static_cast<double>(clock.elapsed());
    RecordProperty("frames-per-second", std::to_string(rate));
    EXPECT_GT(rate, framesPerSecond * 0.7) << "the engine waits for drawings that never come";
    EXPECT_EQ(drawingTimes.size(), drawn) << "nothing is drawn meanwhile";
    EXPECT_TRUE(view->isAttached());
    window.show();
    EXPECT_TRUE(eventually(deadline, [&] { return shownColours() >= 5; }));
}

TEST_F(RealViewTest, DrawingLeavesTheMainThreadFree) {
    // Frames wait for their time here: a drawing that waited with them would take most of a frame.
    ASSERT_NO_FATAL_FAILURE(play(10, "no"));
    drawingTimes.clear();
    ASSERT_TRUE(eventually(deadline,
                           [&] { return drawingTimes.size() >= qsizetype{2 * framesPerSecond}; }));
    std::sort(drawingTimes.begin(), drawingTimes.end());
    const double median = drawingTimes.at(drawingTimes.size() / 2);
    RecordProperty("median-milliseconds", std::to_string(median));
    EXPECT_LT(median, 1000.0 / framesPerSecond / 3);
}

} // namespace
} // namespace lumvik::test
