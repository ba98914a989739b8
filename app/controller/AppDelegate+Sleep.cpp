// Sleep and wake: connections die across sleep, so playback is parked before and made anew after.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"

#include <utility>

namespace lumvik {

namespace {

/// How long sleep is held off at most for the stream to stop, in seconds. The system grants five.
constexpr double longestSleepDelay = 2;

} // namespace

void AppDelegate::holdSleepUntilStopped(SleepMonitor::SleepDelay delay) {
    sleepDelayHolder.release(); // from a sleep that was announced before
    // Asked before the stop: from then on the engine calls itself idle, with the stream still open.
    const bool hasStream = mpv != nullptr && !flagProperty(mpv, "idle-active");
    systemWillSleep();
    if (isClosingViewer || !hasStream)
        return;
    // The end of the stream lets go of it; the limit is for an engine that never reports it.
    sleepDelayHolder.keep(std::move(delay), longestSleepDelay);
}

void AppDelegate::systemWillSleep() {
    if (isClosingViewer)
        return;
    LumvikLog::lifecycle().log(
        QStringLiteral("The Mac is sleeping; playback recovery is suspended."));
    systemIsSleeping = true;
    playbackState = PlaybackSupervisorState::suspended;
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    if (mpv == nullptr)
        return;
    videoHost->forgetPicture(); // whoever wakes the machine would take it for live
    mpv_command_string(mpv, "stop");
}

void AppDelegate::systemDidWake() {
    if (isClosingViewer)
        return;
    LumvikLog::lifecycle().log(
        QStringLiteral("The Mac woke; scheduling a fresh camera connection."));
    sleepDelayHolder.release();
    systemIsSleeping = false;
    // Whether its sleep was announced or not, what stands there is of before it, and without a
    // network it would stand there until that is back.
    lastFrameRenderedAt.reset();
    videoHost->hidePicture();
    schedulePlaybackRecovery({.reason = QStringLiteral("system wake"),
                              .urgency = RecoveryUrgency::immediate,
                              .recreation = PlayerRecreation::forced});
}

} // namespace lumvik
