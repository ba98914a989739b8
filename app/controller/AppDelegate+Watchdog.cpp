// The watchdog. It observes the drawn frames, which are the only reliable sign of health.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"
#include "supervision/PlaybackHealth.h"

#include <QPointer>

#include <algorithm>
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
    const TimeStamp now = environment.mainQueue.now();
    lastFrameRenderedAt = now;
    pictureSupervisor.frameWasShown();
    streamDetailsController.frameWasShown();
    streamTransports.frameWasShown(selectedAddress());
    playbackState = PlaybackSupervisorState::playing;
    if (previous != PlaybackSupervisorState::playing)
        liveSince = now;
    if (now - liveSince >= recoveryPolicy.shortestProvenStream)
        playbackRetryCount = 0;
    cancelPlaybackRetry();
    scheduleStalePictureCheck();
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
    lastWatchdogTick = environment.mainQueue.now();
    playbackWatchdog =
        environment.mainQueue.repeating(playbackWatchdogInterval, [self = QPointer(this)] {
            if (self)
                self->watchdogDidFire();
        });
}

void AppDelegate::watchdogDidFire() {
    const TimeStamp now = environment.mainQueue.now();
    const TimeStamp gap = now - std::exchange(lastWatchdogTick, now);
    if (gap >= longestWatchdogGap && !isClosingViewer && !systemIsSleeping && mpv != nullptr)
        processDidStandStill(gap);
    else
        evaluatePlaybackHealth();
}

void AppDelegate::processDidStandStill(TimeStamp gap) {
    LumvikLog::lifecycle().log(
        QStringLiteral("Lumvik stood still for %1 seconds; scheduling a fresh camera connection.")
            .arg(gap, 0, 'f', 1));
    lastFrameRenderedAt.reset();
    videoHost->forgetPicture(); // the frames that have piled up would look live
    schedulePlaybackRecovery({.reason = QStringLiteral("process stood still"),
                              .urgency = RecoveryUrgency::immediate,
                              .recreation = PlayerRecreation::forced});
}

void AppDelegate::evaluatePlaybackHealth() {
    if (isClosingViewer || systemIsSleeping || mpv == nullptr)
        return;
    hideStalePicture();
    if (!selectedCameraIsReachable())
        return;
    const bool isPlaying = playbackState == PlaybackSupervisorState::playing;
    switch (playbackVerdict({.state = playbackState,
                             .now = environment.mainQueue.now(),
                             .lastCameraLoad = lastCameraLoad,
                             .lastFrameRenderedAt = lastFrameRenderedAt,
                             .streamHasEnded = isPlaying && streamHasEnded(mpv)})) {
    case PlaybackVerdict::healthy:
        if (isPlaying)
            superviseDecoding();
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

void AppDelegate::superviseDecoding() {
    if (!decodingSupervisor.decodingFellBehind(mpv, environment.mainQueue.now(), cameras))
        return;
    // The frames that are still drawn are old, and each of them would cancel the attempt.
    videoHost->forgetPicture();
    schedulePlaybackRecovery({.reason = QStringLiteral("decoding fell behind")});
}

void AppDelegate::hideStalePicture() {
    // Without a network path there is no recovery, and the last picture would stay on the screen
    // for hours and look live.
    if (lastFrameRenderedAt &&
        environment.mainQueue.now() - *lastFrameRenderedAt >= heartbeatStallThreshold)
        videoHost->hidePicture();
}

void AppDelegate::scheduleStalePictureCheck() {
    if (stalePictureCheck || !lastFrameRenderedAt)
        return;
    const TimeStamp age = environment.mainQueue.now() - *lastFrameRenderedAt;
    stalePictureCheck = environment.mainQueue.after(std::max(0.0, heartbeatStallThreshold - age),
                                                    [self = QPointer(this)] {
                                                        if (!self)
                                                            return;
                                                        self->stalePictureCheck.reset();
                                                        self->hideStalePicture();
                                                        if (self->videoHost->showsPicture())
                                                            self->scheduleStalePictureCheck();
                                                    });
}

void AppDelegate::endReachedDidChange() {
    // While a stream is being replaced, the end-of-stream flag may still describe the old stream.
    if (isClosingViewer || systemIsSleeping || mpv == nullptr || !videoHost->expectsPicture())
        return;
    if (streamHasEnded(mpv))
        streamDidEnd({.reason = MPV_END_FILE_REASON_EOF, .error = 0});
}

} // namespace lumvik
