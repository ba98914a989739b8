#pragma once

#include "app/controller/AppDelegate.h"

namespace lumvik {

/// The door through which tests read and set the controller's private state.
///
///     AppDelegateAccess access(delegate);
///     access.cameras() = {camera};
///     EXPECT_EQ(access.playbackState(), PlaybackSupervisorState::starting);
struct AppDelegateAccess {
    explicit AppDelegateAccess(AppDelegate &ofDelegate) : delegate(ofDelegate) {}

    [[nodiscard]] auto &mainMenu() const { return delegate.mainMenu; }
    [[nodiscard]] auto &window() const { return delegate.window; }
    [[nodiscard]] auto &videoHost() const { return delegate.videoHost; }
    [[nodiscard]] auto &cameraPicker() const { return delegate.cameraPicker; }
    [[nodiscard]] auto &emptyStateLabel() const { return delegate.emptyStateLabel; }
    [[nodiscard]] auto &stayOnTopButton() const { return delegate.stayOnTopButton; }
    [[nodiscard]] auto &focusViewerButton() const { return delegate.focusViewerButton; }
    [[nodiscard]] auto &closeViewerButton() const { return delegate.closeViewerButton; }
    [[nodiscard]] auto &mainMenuStrip() const { return delegate.mainMenuStrip; }
    [[nodiscard]] auto &interactionView() const { return delegate.interactionView; }
    [[nodiscard]] auto &keyboardNavigation() const { return delegate.keyboardNavigation; }
    [[nodiscard]] auto &usesCompactViewerControls() const {
        return delegate.usesCompactViewerControls;
    }
    [[nodiscard]] auto &pointerIsOverViewer() const { return delegate.pointerIsOverViewer; }
    [[nodiscard]] auto &cameraMenuIsOpen() const { return delegate.cameraMenuIsOpen; }
    [[nodiscard]] auto &viewerControlsAreVisible() const {
        return delegate.viewerControlsAreVisible;
    }
    [[nodiscard]] auto &viewerControlFade() const { return delegate.viewerControlFade; }
    [[nodiscard]] auto &cameras() const { return delegate.cameras; }
    [[nodiscard]] auto &mpv() const { return delegate.mpv; }
    [[nodiscard]] auto &mpvEventLoop() const { return delegate.mpvEventLoop; }
    [[nodiscard]] auto &mpvObserver() const { return delegate.mpvObserver; }
    [[nodiscard]] auto &playerGeneration() const { return delegate.playerGeneration; }
    [[nodiscard]] auto &playbackSelectionGeneration() const {
        return delegate.playbackSelectionGeneration;
    }
    [[nodiscard]] auto &playbackState() const { return delegate.playbackState; }
    [[nodiscard]] auto &playbackWatchdog() const { return delegate.playbackWatchdog; }
    [[nodiscard]] auto &playbackRetry() const { return delegate.playbackRetry; }
    [[nodiscard]] auto &playbackRetryCount() const { return delegate.playbackRetryCount; }
    [[nodiscard]] auto &localNetworkProbe() const { return delegate.localNetworkProbe; }
    [[nodiscard]] auto &localNetworkProbeFallback() const {
        return delegate.localNetworkProbeFallback;
    }
    [[nodiscard]] auto &networkPathSignature() const { return delegate.networkPathSignature; }
    [[nodiscard]] auto &networkPathIsSatisfied() const { return delegate.networkPathIsSatisfied; }
    [[nodiscard]] auto &systemIsSleeping() const { return delegate.systemIsSleeping; }
    [[nodiscard]] auto &lastFrameRenderedAt() const { return delegate.lastFrameRenderedAt; }
    [[nodiscard]] auto &lastCameraLoad() const { return delegate.lastCameraLoad; }
    [[nodiscard]] auto &appliedVideoAspectRatio() const { return delegate.appliedVideoAspectRatio; }
    [[nodiscard]] auto &settingsController() const { return delegate.settingsController; }
    [[nodiscard]] auto &aboutPanel() const { return delegate.aboutPanel; }
    [[nodiscard]] auto &isTemporarilyMaximized() const { return delegate.isTemporarilyMaximized; }
    [[nodiscard]] auto &restoreFrameBeforeTemporaryMaximum() const {
        return delegate.restoreFrameBeforeTemporaryMaximum;
    }
    [[nodiscard]] auto &focusCrop() const { return delegate.focusCrop; }
    [[nodiscard]] auto &isSelectingFocusArea() const { return delegate.isSelectingFocusArea; }
    [[nodiscard]] auto &isShowingFullCameraTemporarily() const {
        return delegate.isShowingFullCameraTemporarily;
    }
    [[nodiscard]] auto &restoreFrameBeforeFocus() const { return delegate.restoreFrameBeforeFocus; }
    [[nodiscard]] auto viewerControlRects() const { return delegate.viewerControlRects(); }
    [[nodiscard]] auto &isClosingViewer() const { return delegate.isClosingViewer; }
    [[nodiscard]] auto &sourceVideoGeometry() const { return delegate.sourceVideoGeometry; }

    void graphicsWereLost() const { delegate.graphicsWereLost(); }
    void graphicsAreBack() const { delegate.graphicsAreBack(); }

    AppDelegate &delegate;
};

} // namespace lumvik
