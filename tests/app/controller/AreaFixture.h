#pragma once

#include "ControllerFixture.h"

#include <QMouseEvent>

namespace lumvik::test {

/// The controller with a player that shows a picture of 1920 by 1080, in a window of 640 by 360 at
/// (31, 17) on a screen of 800 by 800: three pixels of the picture to a point.
class AreaFixture : public ControllerFixture {
  protected:
    void SetUp() override {
        home.userDefaults().set(u"mainWindowFrame"_s, u"31 17 640 360 0 0 800 800"_s);
        launchAndPlay(threeCameras());
        delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, 1);
        reportVideo(1920, 1080);
        ASSERT_EQ(access().window()->frame(), originalFrame);
        ASSERT_TRUE(
            eventually([&] { return access().interactionView()->size() == QSizeF(640, 360); }));
        newSettings();
    }

    /// What has been set at the engine since the last call, in order, as "name=value".
    std::vector<std::string> newSettings() {
        std::vector<std::string> settings;
        for (const MpvCall &call : mpv.callsTo("mpv_set_property_string"))
            settings.push_back(call.arguments.at(0) + "=" + call.arguments.at(1));
        mpv.forgetCalls();
        return settings;
    }

    void send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, access().window()->mapToGlobal(at), button, buttons,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(access().window().get(), &event);
    }
    void rightClick(QPointF at = {300, 200}) {
        send(QEvent::MouseButtonPress, at, Qt::RightButton, Qt::RightButton);
        send(QEvent::MouseButtonRelease, at, Qt::RightButton, {});
    }
    /// Drags with the left button, up to the pause in which the area stands.
    void drag(QPointF from, QPointF to) {
        send(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        send(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, to, Qt::LeftButton, {});
    }
    void movePointerOut() {
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(access().window().get(), &leave);
    }
    /// Chooses an area as the user does.
    void choose(const QRectF &chosen) {
        delegate->toggleFocusArea();
        drag(chosen.bottomLeft(), chosen.topRight()); // from below, where no control lies
        queue.advance(0.3);
    }
    /// Waits until the window has come to where it is led, and its content has followed.
    void settle() {
        EXPECT_TRUE(eventually([&] {
            const auto &window = access().window();
            return window->geometry() == window->frame() &&
                   access().interactionView()->size() == QSizeF(window->size());
        }));
    }

    [[nodiscard]] QString buttonText() { return access().focusViewerButton()->label(); }
    [[nodiscard]] bool isOriginal() {
        return !access().focusCrop() && !access().isSelectingFocusArea() &&
               !access().isShowingFullCameraTemporarily() && !access().restoreFrameBeforeFocus() &&
               buttonText() == u"Focus on an Area"_s;
    }
    [[nodiscard]] bool isFocused() {
        return access().focusCrop() && !access().isSelectingFocusArea() &&
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
