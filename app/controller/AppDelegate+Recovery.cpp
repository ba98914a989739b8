// Attempts at recovery: whether one is made, when, and what it does.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"

#include <QPointer>

namespace lumvik {

void AppDelegate::schedulePlaybackRecovery(const PlaybackRecovery &request) {
    // The first request wins: a later one neither replaces nor hastens an attempt that waits. Sleep
    // and an unusable network make a request of their own when they are over.
    if (isClosingViewer || systemIsSleeping || !networkPathIsSatisfied || cameras.isEmpty() ||
        playbackRetry)
        return;
    if (__builtin_add_overflow(playbackRetryCount, 1, &playbackRetryCount))
        qFatal("The recovery attempts are used up.");
    playbackState = PlaybackSupervisorState::backingOff;
    const RecoveryAttempt attempt = recoveryAttempt(playbackRetryCount, request.urgency,
                                                    request.recreation, environment.random());
    LumvikLog::playback().log(
        QStringLiteral("Scheduling recovery %1 in %2 seconds; recreate=%3; reason=%4.")
            .arg(playbackRetryCount)
            .arg(attempt.delay, 0, 'f', 6)
            .arg(attempt.recreatesPlayer ? QStringLiteral("true") : QStringLiteral("false"),
                 request.reason));
    playbackRetry = environment.mainQueue.after(
        attempt.delay, [self = QPointer(this), selection = playbackSelectionGeneration,
                        recreates = attempt.recreatesPlayer] {
            if (self)
                self->retryPlayback(selection, recreates);
        });
}

void AppDelegate::retryPlayback(std::int64_t selectionGeneration, bool recreatesPlayer) {
    playbackRetry.reset();
    if (isClosingViewer || systemIsSleeping || !networkPathIsSatisfied ||
        selectionGeneration != playbackSelectionGeneration)
        return;
    if (recreatesPlayer) {
        cancelLocalNetworkProbe();
        stopPlayerEngine();
    }
    requestLocalNetworkAccessAndStart();
}

void AppDelegate::cancelPlaybackRetry() {
    if (!playbackRetry)
        return;
    playbackRetry->cancel();
    playbackRetry.reset();
}

} // namespace lumvik
