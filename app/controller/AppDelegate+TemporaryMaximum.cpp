// The temporary maximum: the largest window that its screen allows, and restoring its frame.

#include "app/controller/AppDelegate.h"
#include "platform/PreferenceKeysAndDefaults.h"
#include "window/TemporaryMaximum.h"
#include "window/WindowFrame.h"

#include <QPointer>

#include <utility>

namespace lumvik {

namespace {

/// How long restoring the frame takes at most, in seconds: the window's frame animation and a
/// margin for the window system. Frames that the window reports until then are not stored.
constexpr double restoringTime = 0.35;

} // namespace

void AppDelegate::toggleTemporaryMaximum() {
    if (isClosingViewer || !window)
        return;
    if (!ViewerWindow::isPlacedByProgram()) {
        // The position of the window is unknown, so a larger frame could extend beyond the screen.
        window->toggleMaximized();
        return;
    }
    if (!window->hasOrdinaryFrame())
        return;
    if (!isTemporarilyMaximized) {
        const QRect frame = window->frame();
        const WindowPlace place = window->place();
        restoreFrameBeforeTemporaryMaximum = place.frame;
        screenAreaBeforeTemporaryMaximum = place.screenArea;
        isTemporarilyMaximized = true; // before the change of the frame, which must not be stored
        window->setFrame(temporaryMaximumFrame(frame, frame.size(), window->visibleArea(),
                                               appliedVideoAspectRatio));
        return;
    }
    if (!restoreFrameBeforeTemporaryMaximum) {
        isTemporarilyMaximized = false;
        return;
    }
    window->restorePlace({*restoreFrameBeforeTemporaryMaximum, screenAreaBeforeTemporaryMaximum});
    if (temporaryMaximumEnd)
        temporaryMaximumEnd->cancel();
    temporaryMaximumEnd = environment.mainQueue.after(restoringTime, [self = QPointer(this)] {
        if (self)
            self->temporaryMaximumWasRestored();
    });
}

void AppDelegate::temporaryMaximumWasRestored() {
    if (isClosingViewer)
        return; // the stored frame is still the one from before the maximum
    isTemporarilyMaximized = false;
    const auto before = std::exchange(restoreFrameBeforeTemporaryMaximum, std::nullopt);
    // The window may have entered full screen in the meantime.
    const QRect frame = before && !window->hasOrdinaryFrame() ? *before : window->rememberedFrame();
    environment.userDefaults.set(PreferenceKeys::mainWindowFrame, plainFrameString(frame));
}

} // namespace lumvik
