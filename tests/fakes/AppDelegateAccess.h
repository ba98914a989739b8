#pragma once

#include "app/controller/AppDelegate.h"

namespace lumvik {

/// Gives tests the private state of the controller that cannot be observed or brought about from
/// outside. Everything else is tested through the controller's public operations, the fakes and the
/// views in the window; see ControllerFixture.
///
///     AppDelegateAccess access(delegate);
///     EXPECT_EQ(access.playbackState(), PlaybackSupervisorState::starting);
struct AppDelegateAccess {
    explicit AppDelegateAccess(AppDelegate &ofDelegate) : delegate(ofDelegate) {}

    // ---- Read only ----

    /// How often the selection has changed. Closing counts as a change, which shows nowhere else.
    [[nodiscard]] auto selectionGeneration() const { return delegate.playbackSelectionGeneration; }
    /// The pending attempt at recovery; null without one. In the main queue its timer is one of
    /// many.
    [[nodiscard]] const auto &playbackRetry() const { return delegate.playbackRetry; }
    /// The number of attempts in a row. Its reset shows only in the next attempt.
    [[nodiscard]] auto playbackRetryCount() const { return delegate.playbackRetryCount; }
    /// The time of the last frame. The watchdog makes it visible only ten seconds later.
    [[nodiscard]] const auto &lastFrameRenderedAt() const { return delegate.lastFrameRenderedAt; }
    /// The video's geometry. It is recorded even where the window does not take its shape.
    [[nodiscard]] const auto &sourceVideoGeometry() const { return delegate.sourceVideoGeometry; }
    /// The rectangles of the visible controls. The surface asks for them through a callback.
    [[nodiscard]] auto viewerControlRects() const { return delegate.viewerControlRects(); }
    /// The fade of the controls. From outside, its curve could only be sampled in real time.
    [[nodiscard]] const auto &viewerControlFade() const { return delegate.viewerControlFade; }
    /// Cleared when the viewer closes, which the controls no longer show.
    [[nodiscard]] bool pointerIsOverViewer() const { return delegate.pointerIsOverViewer; }
    /// Cleared when the viewer closes, like `pointerIsOverViewer`.
    [[nodiscard]] bool cameraMenuIsOpen() const { return delegate.cameraMenuIsOpen; }
    /// The open editor; null without one. Tests call the operations behind its buttons, which are
    /// tested with the editor itself.
    [[nodiscard]] const auto &settingsController() const { return delegate.settingsController; }

    // ---- Also set by tests, to conditions that no public operation brings about ----

    /// The supervisor's state, which no log line names. Tests set states that do not fit the
    /// player.
    [[nodiscard]] auto &playbackState() const { return delegate.playbackState; }
    /// The number of players started. One test sets the largest number. To read it, use
    /// ControllerFixture::playerGeneration.
    [[nodiscard]] auto &playerGeneration() const { return delegate.playerGeneration; }
    /// Whether the window is temporarily maximised or still being restored, which shows nowhere
    /// else. One test sets it without a frame to restore.
    [[nodiscard]] auto &isTemporarilyMaximized() const { return delegate.isTemporarilyMaximized; }

    AppDelegate &delegate;
};

} // namespace lumvik
