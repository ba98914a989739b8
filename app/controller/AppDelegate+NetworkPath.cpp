// The network path: playback is suspended without one and recovers when it returns or changes.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "supervision/NetworkPathDecision.h"

#include <QPointer>

#include <optional>
#include <utility>

namespace lumvik {

namespace {

QString text(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace

void AppDelegate::startSystemRecoveryMonitoring() {
    const auto self = QPointer(this);
    environment.sleepMonitor.start(
        [self](SleepMonitor::SleepDelay delay) {
            if (self)
                self->holdSleepUntilStopped(std::move(delay));
        },
        [self] {
            if (self)
                self->systemDidWake();
        });
    networkPathMonitor->setPathUpdateHandler(
        [self, &mainQueue = environment.mainQueue](const NetworkPathSignature &signature) {
            mainQueue.async([self, signature] {
                if (self)
                    self->handleNetworkPath(signature);
            });
        });
    networkPathMonitor->start(networkPathQueue);
}

void AppDelegate::handleNetworkPath(const NetworkPathSignature &signature) {
    if (isClosingViewer)
        return;
    const std::optional<NetworkPathSignature> before =
        std::exchange(networkPathSignature, signature);
    networkPathIsSatisfied = signature.isSatisfied;
    LumvikLog::network().info(
        QStringLiteral("Network path update: satisfied=%1, wifi=%2, ethernet=%3.")
            .arg(text(signature.isSatisfied), text(signature.usesWiFi),
                 text(signature.usesEthernet)));
    pictureSupervisor.update();
    switch (networkPathAction(before, signature)) {
    case NetworkPathAction::none:
        break;
    case NetworkPathAction::suspend:
        if (selectedCameraIsReachable())
            break; // the camera is on this computer
        cancelPlaybackRetry();
        cancelLocalNetworkProbe();
        playbackState = PlaybackSupervisorState::suspended;
        break;
    case NetworkPathAction::recover:
        schedulePlaybackRecovery({.reason = QStringLiteral("network path became usable or changed"),
                                  .urgency = RecoveryUrgency::immediate,
                                  .recreation = PlayerRecreation::forced});
        break;
    }
}

} // namespace lumvik
