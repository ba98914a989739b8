// The preflight before every start and every recovery: a plain connection to the camera's host, as
// a fast test whether it can be reached.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "supervision/PreflightTarget.h"

#include <QPointer>

namespace lumvik {

namespace {

/// How long a silent probe holds playback up, in seconds.
constexpr double probeFallbackDelay = 1.25;

} // namespace

void AppDelegate::requestLocalNetworkAccessAndStart() {
    if (cameras.isEmpty() || isClosingViewer || systemIsSleeping || !networkPathIsSatisfied ||
        localNetworkProbe)
        return;
    // A player needs the window's OpenGL context; the start at launch is still to come then.
    if (playbackAwaitsWindow)
        return;
    const int index = cameraPicker->indexOfSelectedItem();
    const auto target = index >= 0 && index < cameras.size()
                            ? preflightTarget(cameras.at(index).url)
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
    const auto self = QPointer(this);
    const std::weak_ptr<NetworkConnection> weak = connection;
    const std::int64_t generation = playbackSelectionGeneration;
    connection->setStateUpdateHandler([self, weak, generation, &mainQueue = environment.mainQueue](
                                          NetworkConnection::State state) {
        // On the probe's queue: it only says what it sees and hands on.
        const LogChannel &log = LumvikLog::network();
        const auto finish = [&](bool reloadPlayer) {
            mainQueue.async([self, weak, generation, reloadPlayer] {
                if (const auto probe = weak.lock(); self && probe)
                    self->finishLocalNetworkProbe(probe, reloadPlayer, generation);
            });
        };
        switch (state) {
        case NetworkConnection::State::waiting:
            log.debug(QStringLiteral("The local-network preflight is waiting for macOS."));
            break;
        case NetworkConnection::State::failed:
            log.error(QStringLiteral("The local-network preflight failed."));
            finish(false);
            break;
        case NetworkConnection::State::ready:
            log.debug(QStringLiteral("The local-network preflight reached ready state."));
            finish(true);
            break;
        case NetworkConnection::State::preparing:
        case NetworkConnection::State::cancelled:
            break;
        }
    });
    localNetworkProbeFallback =
        environment.mainQueue.after(probeFallbackDelay, [self, weak, generation] {
            const auto probe = weak.lock();
            if (!self || !probe || self->localNetworkProbe != probe)
                return;
            LumvikLog::network().debug(
                QStringLiteral("The local-network preflight fallback elapsed; continuing with "
                               "playback recovery."));
            self->finishLocalNetworkProbe(probe, true, generation);
        });
    connection->start(localNetworkProbeQueue);
}

void AppDelegate::finishLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection,
                                          bool reloadPlayer, std::int64_t generation) {
    if (!localNetworkProbe || localNetworkProbe != connection)
        return;
    cancelLocalNetworkProbe();
    if (generation != playbackSelectionGeneration || isClosingViewer || systemIsSleeping)
        return;
    // A failed probe does not prevent a first start: the engine's own attempt then shows whether
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
