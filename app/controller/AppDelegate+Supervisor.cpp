// What the engine reports, and the choice of the camera.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceKeys.h"

#include <type_traits>

namespace lumvik {

namespace {

/// Whether a stream that ended for this reason was meant to: 2 (stop: a load replaces it), 3 (quit:
/// the player is destroyed) and 5 (redirect: the engine itself goes on).
bool isExpectedEnd(std::uint32_t reason) {
    constexpr std::uint32_t expected = 0x2C;
    return reason <= 5 && ((1U << reason) & expected) != 0;
}

} // namespace

void AppDelegate::handlePlaybackEngineEvent(const PlaybackEngineEvent &event,
                                            std::int64_t generation) {
    // What a player still had to say when it was destroyed is of no interest, even before there is
    // another one.
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
                sleepDelayHolder.release(); // where sleep waited for the stream to stop
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
    videoHost->forgetPicture(); // a last frame that stays would look live
    LumvikLog::playback().error(QStringLiteral("mpv ended the stream: reason=%1, error=%2.")
                                    .arg(static_cast<std::int32_t>(end.reason))
                                    .arg(end.error));
    schedulePlaybackRecovery({.reason = QStringLiteral("mpv ended the stream")});
}

void AppDelegate::selectCamera(int index) {
    if (isClosingViewer || index < 0 || index >= cameras.size())
        return;
    cameraPicker->selectItem(index);
    describePicture();
    environment.userDefaults.set(PreferenceKeys::selectedCameraIndex, index);
    updateViewerControlLayout();
    beginPlaybackSelection(index);
}

void AppDelegate::beginPlaybackSelection(int index) {
    if (isClosingViewer)
        return;
    if (__builtin_add_overflow(playbackSelectionGeneration, 1, &playbackSelectionGeneration))
        qFatal("The selection generations are used up.");
    playbackRetryCount = 0;
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    if (mpv != nullptr)
        loadCamera(index);
    else
        requestLocalNetworkAccessAndStart();
}

} // namespace lumvik
