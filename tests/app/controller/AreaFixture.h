#pragma once

#include "ControllerFixture.h"

#include <QMouseEvent>

namespace lumvik::test {

/// The controller with a player that shows a picture of 1920 by 1080 pixels. The window has 640 by
/// 360 points, so that three pixels correspond to one point, and is at (31, 17) on a screen of 800
/// by 800 points.
class AreaFixture : public ControllerFixture {
  protected:
    void SetUp() override {
        home.userDefaults().set(u"mainWindowFrame"_s, u"31 17 640 360 0 0 800 800"_s);
        launchAndPlay(threeCameras());
        delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, 1);
        reportVideo(1920, 1080);
        ASSERT_EQ(window().frame(), originalFrame);
        ASSERT_TRUE(eventually([&] { return interactionView()->size() == QSizeF(640, 360); }));
        newSettings();
    }

    /// The properties that were set since the last call, in order, as "name=value". The property
    /// that is set before each load is left out.
    std::vector<std::string> newSettings() {
        std::vector<std::string> settings;
        for (const MpvCall &call : mpv.callsTo("mpv_set_property_string")) {
            if (call.arguments.at(0) != "vd-lavc-threads")
                settings.push_back(call.arguments.at(0) + "=" + call.arguments.at(1));
        }
        mpv.forgetCalls();
        return settings;
    }

    void send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, window().mapToGlobal(at), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&window(), &event);
    }
    void rightClick(QPointF at = {300, 200}) {
        send(QEvent::MouseButtonPress, at, Qt::RightButton, Qt::RightButton);
        send(QEvent::MouseButtonRelease, at, Qt::RightButton, {});
    }
    /// Drags with the left button. The area is shown a moment after the button is released.
    void drag(QPointF from, QPointF to) {
        send(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        send(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, to, Qt::LeftButton, {});
    }
    void movePointerOut() {
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(&window(), &leave);
    }
    /// Selects an area with the mouse and waits until the area is shown.
    void choose(const QRectF &chosen) {
        delegate->toggleFocusArea();
        drag(chosen.bottomLeft(),
             chosen.topRight()); // starts at the bottom, away from the controls
        queue.advance(0.3);
    }
    /// Waits until the window has reached its frame and the content has the window's size.
    void settle() {
        EXPECT_TRUE(eventually([&] {
            return window().geometry() == window().frame() &&
                   interactionView()->size() == QSizeF(window().size());
        }));
    }

    [[nodiscard]] QString buttonText() { return focusViewerButton()->label(); }
    [[nodiscard]] bool isOriginal() {
        return !focusViewerButton()->showsRestoreIcon() &&
               !focusViewerButton()->isSelectingArea() && buttonText() == u"Focus on an Area"_s;
    }
    [[nodiscard]] bool isFocused() {
        return focusViewerButton()->showsRestoreIcon() && !focusViewerButton()->isSelectingArea() &&
               buttonText() == u"Show Original View"_s;
    }

    const QRect originalFrame{31, 17, 640, 360};
    const QRectF area{100, 150, 200, 100};
    const VideoFocusCrop crop{
        .x = 300, .y = 450, .width = 600, .height = 300, .sourceSize = {1920, 1080}};
    const std::vector<std::string> focusedSettings{"video-crop=600x300+300+450", "keepaspect=no",
                                                   "panscan=0"};
    const std::vector<std::string> originalSettings{"video-crop=", "keepaspect=yes", "panscan=1.0"};
    const std::vector<std::string> wholePictureSettings{"video-crop=", "keepaspect=no",
                                                        "panscan=0"};
};

} // namespace lumvik::test
