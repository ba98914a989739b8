// The watchdog. It observes the drawn frames, which are the only reliable sign of health.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"
#include "supervision/PlaybackHealth.h"

#include <QPointer>

#include <utility>

namespace lumvik {

namespace {

bool streamHasEnded(mpv_handle *player) {
    return flagProperty(player, "eof-reached");
}

} // namespace

void AppDelegate::recordRenderedFrame(std::int64_t generation) {
    if (generation != playerGeneration || mpv == nullptr || isClosingViewer || systemIsSleeping)
        return;
    const PlaybackSupervisorState previous = playbackState;
    lastFrameRenderedAt = environment.mainQueue.now();
    playbackState = PlaybackSupervisorState::playing;
    playbackRetryCount = 0;
    cancelPlaybackRetry();
    if (previous != PlaybackSupervisorState::playing) {
        LumvikLog::playback().log(
            QStringLiteral("Live video frames resumed for player generation %1.").arg(generation));
        playerHasLoaded();
    }
}

void AppDelegate::playerHasLoaded() {
    if (std::exchange(loadedPlayerGeneration, playerGeneration) == playerGeneration)
        return;
    environment.playerHasLoaded();
    // The engine has chosen its decoder by the time the first frame is on the screen.
    const QString name = QString::fromStdString(textProperty(mpv, "hwdec-current"));
    if (name.isEmpty() || name == QStringLiteral("no"))
        LumvikLog::playback().info(QStringLiteral("The video is decoded in software."));
    else
        LumvikLog::playback().info(
            QStringLiteral("The video is decoded by hardware (%1).").arg(name));
}

void AppDelegate::startPlaybackWatchdog() {
    playbackWatchdog.reset();
    playbackWatchdog =
        environment.mainQueue.repeating(playbackWatchdogInterval, [self = QPointer(this)] {
            if (self)
                self->evaluatePlaybackHealth();
        });
}

void AppDelegate::evaluatePlaybackHealth() {
    if (isClosingViewer || systemIsSleeping || mpv == nullptr)
        return;
    hideStalePicture();
    if (!networkPathIsSatisfied)
        return;
    const bool isPlaying = playbackState == PlaybackSupervisorState::playing;
    switch (playbackVerdict({.state = playbackState,
                             .now = environment.mainQueue.now(),
                             .lastCameraLoad = lastCameraLoad,
                             .lastFrameRenderedAt = lastFrameRenderedAt,
                             .streamHasEnded = isPlaying && streamHasEnded(mpv)})) {
    case PlaybackVerdict::healthy:
        break;
    case PlaybackVerdict::engineStopped:
        schedulePlaybackRecovery({.reason = QStringLiteral("video engine stopped unexpectedly"),
                                  .recreation = PlayerRecreation::forced});
        break;
    case PlaybackVerdict::noFirstFrame:
        schedulePlaybackRecovery({.reason = QStringLiteral("no first video frame")});
        break;
    case PlaybackVerdict::streamEnded:
        streamDidEnd({.reason = MPV_END_FILE_REASON_EOF, .error = 0});
        break;
    case PlaybackVerdict::heartbeatStalled:
        schedulePlaybackRecovery({.reason = QStringLiteral("video frame heartbeat stalled")});
        break;
    }
}

void AppDelegate::hideStalePicture() {
    // Without a network path there is no recovery, and the last picture would stay on the screen
    // for hours and look live.
    if (lastFrameRenderedAt &&
        environment.mainQueue.now() - *lastFrameRenderedAt >= heartbeatStallThreshold)
        videoHost->hidePicture();
}

void AppDelegate::endReachedDidChange() {
    // While a stream is being replaced, its flag is out of date.
    if (isClosingViewer || systemIsSleeping || mpv == nullptr || !videoHost->expectsPicture())
        return;
    if (streamHasEnded(mpv))
        streamDidEnd({.reason = MPV_END_FILE_REASON_EOF, .error = 0});
}

} // namespace lumvik
