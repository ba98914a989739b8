// Sleep and wake. Connections do not survive sleep, so playback is suspended before it and
// re-created after it.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"

#include <utility>

namespace lumvik {

void AppDelegate::holdSleepUntilStopped(SleepMonitor::SleepDelay delay) {
    sleepDelayHolder.release(); // a delay from an earlier announcement
    // The property is read before the stop command, because the engine then reports itself as idle
    // while the stream is still open.
    const bool hasStream = mpv != nullptr && !flagProperty(mpv, "idle-active");
    systemWillSleep();
    if (isClosingViewer || !hasStream)
        return;
    // The end of the stream releases the delay.
    sleepDelayHolder.keep(std::move(delay), longestSleepDelay);
}

void AppDelegate::systemWillSleep() {
    if (isClosingViewer)
        return;
    LumvikLog::lifecycle().log(
        QStringLiteral("The Mac is sleeping; playback recovery is suspended."));
    systemIsSleeping = true;
    playbackState = PlaybackSupervisorState::suspended;
    desktopSupervisor.update();
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    if (mpv == nullptr)
        return;
    videoHost->forgetPicture(); // otherwise it would look live when the machine wakes
    mpv_command_string(mpv, "stop");
    closeCameraLink();
}

void AppDelegate::systemDidWake() {
    if (isClosingViewer)
        return;
    LumvikLog::lifecycle().log(
        QStringLiteral("The Mac woke; scheduling a fresh camera connection."));
    sleepDelayHolder.release();
    systemIsSleeping = false;
    lastWatchdogTick = environment.mainQueue.now(); // the gap is explained by the sleep
    // The picture on the screen is from before the sleep, which may not have been announced.
    // Without a network path, that picture would otherwise stay until the path returns.
    lastFrameRenderedAt.reset();
    videoHost->forgetPicture(); // frames that were received before the sleep would look live
    pictureSupervisor.update();
    desktopSupervisor.update();
    schedulePlaybackRecovery({.reason = QStringLiteral("system wake"),
                              .urgency = RecoveryUrgency::immediate,
                              .recreation = PlayerRecreation::forced});
}

} // namespace lumvik
