// The preflight before every start and every recovery: a plain TCP connection to the camera's host,
// as a fast test whether the host can be reached.

#include "app/controller/AppDelegate.h"
#include "configuration/CameraAddress.h"
#include "platform/LumvikLog.h"
#include "supervision/PreflightTarget.h"

#include <QPointer>

namespace lumvik {

void AppDelegate::requestLocalNetworkAccessAndStart() {
    if (!playbackIsPossible() || cameras.isEmpty() || localNetworkProbe)
        return;
    // A player needs the window's OpenGL context. Playback starts once the window has one.
    if (playbackAwaitsWindow)
        return;
    const int index = cameraPicker->indexOfSelectedItem();
    const auto target = index >= 0 && index < cameras.size()
                            ? preflightTarget(encodedCameraAddress(cameras.at(index).url))
                            : std::nullopt;
    if (!target) {
        startOrReload();
        return;
    }
    LumvikLog::network().debug(
        QStringLiteral("Beginning private local-network preflight for camera index %1.")
            .arg(index));
    beginLocalNetworkProbe(environment.makeConnection(target->host, target->port));
}

void AppDelegate::startOrReload() {
    if (mpv != nullptr)
        loadCamera(cameraPicker->indexOfSelectedItem());
    else
        startPlayer();
}

void AppDelegate::beginLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection) {
    localNetworkProbe = connection;
    observeLocalNetworkProbe(connection);
    scheduleLocalNetworkProbeFallback(connection);
    connection->start(localNetworkProbeQueue);
}

void AppDelegate::observeLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection) {
    const auto self = QPointer(this);
    const std::weak_ptr<NetworkConnection> weak = connection;
    const std::int64_t generation = playbackSelectionGeneration;
    connection->setStateUpdateHandler([self, weak, generation, &mainQueue = environment.mainQueue](
                                          NetworkConnection::State state) {
        // This handler runs on the probe's queue, so it only logs and posts to the main queue.
        const LogChannel &log = LumvikLog::network();
        const auto finish = [&](bool reloadPlayer, ConnectionFailure failure) {
            mainQueue.async([self, weak, generation, reloadPlayer, failure] {
                const auto probe = weak.lock();
                if (!self || !probe)
                    return;
                if (!reloadPlayer && self->localNetworkProbe == probe) {
                    self->pictureSupervisor.probeHasFailed(failure);
                    self->loginSupervisor.cameraIsAway(self->selectedAddress());
                }
                self->finishLocalNetworkProbe(probe, reloadPlayer, generation);
            });
        };
        switch (state) {
        case NetworkConnection::State::waiting:
            log.debug(QStringLiteral("The local-network preflight is waiting for macOS."));
            break;
        case NetworkConnection::State::failed:
            log.error(QStringLiteral("The local-network preflight failed."));
            if (const auto probe = weak.lock())
                finish(false, probe->failure());
            break;
        case NetworkConnection::State::ready:
            log.debug(QStringLiteral("The local-network preflight reached ready state."));
            finish(true, ConnectionFailure::none);
            break;
        case NetworkConnection::State::preparing:
        case NetworkConnection::State::cancelled:
            break;
        }
    });
}

void AppDelegate::scheduleLocalNetworkProbeFallback(
    const std::shared_ptr<NetworkConnection> &connection) {
    localNetworkProbeFallback = environment.mainQueue.after(
        preflightFallbackDelay, [self = QPointer(this), weak = std::weak_ptr(connection),
                                 generation = playbackSelectionGeneration] {
            const auto probe = weak.lock();
            if (!self || !probe || self->localNetworkProbe != probe)
                return;
            LumvikLog::network().debug(
                QStringLiteral("The local-network preflight fallback elapsed; continuing with "
                               "playback recovery."));
            self->finishLocalNetworkProbe(probe, true, generation);
        });
}

void AppDelegate::finishLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection,
                                          bool reloadPlayer, std::int64_t generation) {
    if (!localNetworkProbe || localNetworkProbe != connection)
        return;
    cancelLocalNetworkProbe();
    if (generation != playbackSelectionGeneration || isClosingViewer || systemIsSleeping)
        return;
    // A failed probe does not prevent the start of a player, whose own attempt then shows whether
    // the camera can be reached.
    if (mpv == nullptr || reloadPlayer)
        startOrReload();
    else
        schedulePlaybackRecovery({.reason = QStringLiteral("local-network preflight failed")});
}

void AppDelegate::cancelLocalNetworkProbe() {
    if (localNetworkProbeFallback) {
        localNetworkProbeFallback->cancel();
        localNetworkProbeFallback.reset();
    }
    if (localNetworkProbe) {
        localNetworkProbe->setStateUpdateHandler({});
        localNetworkProbe->cancel();
        localNetworkProbe.reset();
    }
}

} // namespace lumvik
