#pragma once

#include "engine/MPVOpenGLView.h"
#include "engine/PlayerOptions.h"
#include "system/harness/CameraProcess.h"
#include "system/harness/Eventually.h"

#include <QElapsedTimer>
#include <QImage>
#include <QQuickWindow>
#include <QScreen>

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <clocale>
#include <set>
#include <utility>

namespace lumvik::test {

/// Provides a window with the render view, which shows a real camera's stream through the real
/// engine.
class RealViewFixture : public testing::Test {
  protected:
    static constexpr auto deadline = std::chrono::seconds(30);
    static constexpr int framesPerSecond = 25;

    explicit RealViewFixture(CameraSetup setup = {}) : camera(withFrameRate(std::move(setup))) {}

    void SetUp() override {
        std::setlocale(LC_NUMERIC, "C");
        window.setColor(Qt::black);
        window.resize(640, 360);
        QObject::connect(
            &window, &QQuickWindow::beforeRendering, &window, [this] { drawing.start(); },
            Qt::DirectConnection);
        QObject::connect(
            &window, &QQuickWindow::afterRendering, &window,
            [this] { drawingTimes.append(static_cast<double>(drawing.nsecsElapsed()) / 1e6); },
            Qt::DirectConnection);
        view = new MPVOpenGLView(queue, window.contentItem());
        view->setSize(QSizeF(640, 360));
        view->setFrameRenderedHandler([this] { ++frames; });
        bool isDrawn = false;
        const auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &window,
                                                 [&] { isDrawn = true; });
        window.show();
        const bool wasDrawn = eventually(deadline, [&] { return isDrawn; });
        QObject::disconnect(connection); // the handler refers to a local variable
        ASSERT_TRUE(wasDrawn);
        ASSERT_TRUE(camera.start());
    }
    ~RealViewFixture() override {
        delete view;
        mpv_terminate_destroy(player);
    }
    /// Creates the player and plays the camera's stream until `count` frames were shown. Pass "no"
    /// as `untimed` if frames should wait for their presentation time, unlike in the program.
    void play(int count, const char *untimed = "yes") {
        player = mpv_create();
        ASSERT_NE(player, nullptr);
        for (const PlayerSetting &option : playerOptions)
            mpv_set_option_string(player, option.name, option.value);
        ASSERT_GE(mpv_initialize(player), 0);
        for (const PlayerSetting &property : livePlaybackProperties)
            mpv_set_property_string(player, property.name, property.value);
        for (const PlayerSetting &property : view->playerProperties())
            mpv_set_property_string(player, property.name, property.value);
        mpv_set_property_string(player, "untimed", untimed);
        ASSERT_GE(view->configureWithMPV(player), 0);
        const QByteArray url = camera.url().toUtf8();
        std::array<const char *, 4> command{"loadfile", url.constData(), "replace", nullptr};
        ASSERT_GE(mpv_command(player, command.data()), 0);
        ASSERT_TRUE(eventually(deadline, [&] { return frames >= count; }));
    }
    [[nodiscard]] QImage shownPicture() const {
        return window.screen()->grabWindow(window.winId()).toImage();
    }
    /// Returns the number of different colours on one horizontal line of the window.
    [[nodiscard]] std::size_t shownColours() const {
        const QImage image = shownPicture();
        std::set<QRgb> colours;
        for (int x = 0; x < image.width(); x += 4)
            colours.insert(image.pixel(x, image.height() / 3) & 0x00E0E0E0U);
        return colours.size();
    }

    QtMainQueue queue;
    CameraProcess camera;
    QQuickWindow window;
    mpv_handle *player = nullptr;
    MPVOpenGLView *view = nullptr;
    QElapsedTimer drawing;
    QList<double> drawingTimes; // of the whole scene, in milliseconds
    int frames = 0;

  private:
    static CameraSetup withFrameRate(CameraSetup setup) {
        setup.framesPerSecond = framesPerSecond;
        return setup;
    }
};

} // namespace lumvik::test
