#pragma once

#include "app/controller/AppDelegate.h"

namespace lumvik {

/// Gives tests access to private state of the controller that cannot be observed or set through its
/// public operations. For everything else, tests use the public operations, the fakes and the views
/// in the window; see ControllerFixture.
///
///     AppDelegateAccess access(delegate);
///     EXPECT_EQ(access.playbackState(), PlaybackSupervisorState::starting);
struct AppDelegateAccess {
    explicit AppDelegateAccess(AppDelegate &ofDelegate) : delegate(ofDelegate) {}

    // ---- Read only ----

    /// Returns how often the selection has changed. Closing the viewer also counts as a change,
    /// which has no other visible effect.
    [[nodiscard]] auto selectionGeneration() const { return delegate.playbackSelectionGeneration; }
    /// Returns the pending recovery attempt, or null if no attempt is pending. The delays of the
    /// main queue do not tell which timer belongs to the attempt.
    [[nodiscard]] const auto &playbackRetry() const { return delegate.playbackRetry; }
    /// Returns the number of consecutive recovery attempts. From outside, a reset of this number
    /// can be observed only at the next attempt.
    [[nodiscard]] auto playbackRetryCount() const { return delegate.playbackRetryCount; }
    /// Returns the time of the last frame. From outside, this time can be observed only ten seconds
    /// later, when the watchdog reports a stall.
    [[nodiscard]] const auto &lastFrameRenderedAt() const { return delegate.lastFrameRenderedAt; }
    /// Returns the geometry of the video, which is recorded even if the window does not take its
    /// aspect ratio.
    [[nodiscard]] const auto &sourceVideoGeometry() const { return delegate.sourceVideoGeometry; }
    /// Returns the rectangles of the visible controls, which the video surface requests through a
    /// callback.
    [[nodiscard]] auto viewerControlRects() const { return delegate.viewerControlRects(); }
    /// Returns the fade of the controls. From outside, its progress could only be sampled in real
    /// time.
    [[nodiscard]] const auto &viewerControlFade() const { return delegate.viewerControlFade; }
    /// Whether the pointer is over the viewer. Closing the viewer resets this flag, and no visible
    /// control shows the reset.
    [[nodiscard]] bool pointerIsOverViewer() const { return delegate.pointerIsOverViewer; }
    /// Whether the camera menu is open. Closing the viewer resets this flag like
    /// `pointerIsOverViewer`.
    [[nodiscard]] bool cameraMenuIsOpen() const { return delegate.cameraMenuIsOpen; }
    /// Returns the open editor, or null if the editor is closed. Tests of the controller call the
    /// editor's operations directly, because the editor's own tests cover its buttons.
    [[nodiscard]] const auto &settingsController() const { return delegate.settingsController; }

    // ---- State that tests also set, to values that no public operation produces ----

    /// Returns the supervisor's state, which is not logged. Tests set states that contradict the
    /// state of the player.
    [[nodiscard]] auto &playbackState() const { return delegate.playbackState; }
    /// Returns the number of players that were started. One test sets the largest possible number.
    /// To read the number, use ControllerFixture::playerGeneration.
    [[nodiscard]] auto &playerGeneration() const { return delegate.playerGeneration; }
    /// Whether the window is temporarily maximised or still being restored, which cannot be
    /// observed from outside. One test sets this flag while there is no window frame to restore.
    [[nodiscard]] auto &isTemporarilyMaximized() const { return delegate.isTemporarilyMaximized; }

    AppDelegate &delegate;
};

} // namespace lumvik
