// The temporary maximum: the largest window that its screen allows, and the way back.

#include "app/controller/AppDelegate.h"
#include "platform/PreferenceKeys.h"
#include "window/TemporaryMaximum.h"
#include "window/WindowFrame.h"

#include <QPointer>

#include <utility>

namespace lumvik {

namespace {

/// How long the window may take on its way back, in seconds: its animation and a margin. Until then
/// its frames are not the user's.
constexpr double restoringTime = 0.35;

} // namespace

void AppDelegate::toggleTemporaryMaximum() {
    if (isClosingViewer || !window)
        return;
    if (!ViewerWindow::isPlacedByProgram()) {
        // Grown from where it stands, which nobody tells, the window would reach out of the screen.
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
        isTemporarilyMaximized = true; // before the frame changes, which is not to be remembered
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
        return; // what is remembered is the frame from before
    isTemporarilyMaximized = false;
    const auto before = std::exchange(restoreFrameBeforeTemporaryMaximum, std::nullopt);
    // It may have gone on into full screen meanwhile.
    const QRect frame = before && !window->hasOrdinaryFrame() ? *before : window->rememberedFrame();
    environment.userDefaults.set(PreferenceKeys::mainWindowFrame, plainFrameString(frame));
}

} // namespace lumvik
