// The reports of the engine, and the selection of a camera.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceKeysAndDefaults.h"

#include <type_traits>

namespace lumvik {

namespace {

/// Whether the end of a stream was intended: by a load that replaces it, by the destruction of the
/// player, or by a redirection that the engine follows.
bool isExpectedEnd(std::uint32_t reason) {
    return reason == MPV_END_FILE_REASON_STOP || reason == MPV_END_FILE_REASON_QUIT ||
           reason == MPV_END_FILE_REASON_REDIRECT;
}

} // namespace

void AppDelegate::handlePlaybackEngineEvent(const PlaybackEngineEvent &event,
                                            std::int64_t generation) {
    // Late events of a player that has been destroyed are ignored, even if no new player exists
    // yet.
    if (generation != playerGeneration || mpv == nullptr || isClosingViewer)
        return;
    const LogChannel &log = LumvikLog::playback();
    std::visit(
        [&](const auto &report) {
            using Report = std::decay_t<decltype(report)>;
            if constexpr (std::is_same_v<Report, PlaybackEngineEvents::StartFile>) {
                log.debug(QStringLiteral("mpv began opening the selected stream."));
                playbackState = PlaybackSupervisorState::starting;
                videoHost->expectPicture();
            } else if constexpr (std::is_same_v<Report, PlaybackEngineEvents::FileLoaded>) {
                log.debug(QStringLiteral("mpv loaded stream headers and began decoding."));
            } else if constexpr (std::is_same_v<Report, PlaybackEngineEvents::PlaybackRestart>) {
                log.debug(QStringLiteral("mpv restarted playback; waiting for a rendered frame."));
            } else if constexpr (std::is_same_v<Report, PlaybackEngineEvents::EndFile>) {
                sleepDelayHolder.release(); // the stream has stopped
                if (!isExpectedEnd(report.reason))
                    streamDidEnd(report);
            } else if constexpr (std::is_same_v<Report, PlaybackEngineEvents::Shutdown>) {
                videoHost->forgetPicture();
                log.error(QStringLiteral("mpv shut down unexpectedly."));
                schedulePlaybackRecovery({.reason = QStringLiteral("mpv shutdown"),
                                          .recreation = PlayerRecreation::forced});
            } else {
                static_assert(std::is_same_v<Report, PlaybackEngineEvents::QueueOverflow>);
                log.error(QStringLiteral("The mpv event queue overflowed."));
                schedulePlaybackRecovery({.reason = QStringLiteral("mpv event queue overflow"),
                                          .recreation = PlayerRecreation::forced});
            }
        },
        event);
}

void AppDelegate::streamDidEnd(const PlaybackEngineEvents::EndFile &end) {
    videoHost->forgetPicture(); // the last frame would look live
    LumvikLog::playback().error(QStringLiteral("mpv ended the stream: reason=%1, error=%2.")
                                    .arg(static_cast<std::int32_t>(end.reason))
                                    .arg(end.error));
    schedulePlaybackRecovery({.reason = QStringLiteral("mpv ended the stream")});
}

void AppDelegate::selectCamera(int index) {
    if (isClosingViewer || index < 0 || index >= cameras.size())
        return;
    cameraPicker->selectItem(index);
    updatePictureDescription();
    environment.userDefaults.set(PreferenceKeys::selectedCameraIndex, index);
    updateViewerControlLayout();
    beginPlaybackSelection(index);
}

void AppDelegate::beginPlaybackSelection(int index) {
    if (isClosingViewer)
        return;
    advanceSelectionGeneration();
    zoomController.reset();
    pictureSupervisor.cameraWasChosen();
    streamDetailsController.cameraWasChosen();
    desktopSupervisor.cameraWasChosen();
    playbackRetryCount = 0;
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    if (mpv != nullptr)
        loadCamera(index);
    else
        requestLocalNetworkAccessAndStart();
}

void AppDelegate::advanceSelectionGeneration() {
    if (__builtin_add_overflow(playbackSelectionGeneration, 1, &playbackSelectionGeneration))
        qFatal("The selection generations are used up.");
}

} // namespace lumvik
