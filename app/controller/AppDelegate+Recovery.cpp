// Recovery attempts: scheduling, running and cancelling them.

#include "app/controller/AppDelegate.h"
#include "configuration/CameraAddress.h"
#include "engine/link/CameraEndpoint.h"
#include "platform/LumvikLog.h"
#include "supervision/CameraReachability.h"
#include "supervision/PreflightTarget.h"

#include <QPointer>

#include <algorithm>

namespace lumvik {

bool AppDelegate::playbackIsPossible() const {
    return !isClosingViewer && !systemIsSleeping && selectedCameraIsReachable();
}

QString AppDelegate::selectedAddress() const {
    const int index = cameraPicker == nullptr ? -1 : cameraPicker->indexOfSelectedItem();
    return index >= 0 && index < cameras.size() ? cameras.at(index).url : QString();
}

bool AppDelegate::selectedCameraIsReachable() const {
    const QString address = selectedAddress();
    const auto target =
        address.isEmpty() ? std::nullopt : preflightTarget(encodedCameraAddress(address));
    return cameraIsReachable(networkPathIsSatisfied, target ? target->host : QString());
}

void AppDelegate::schedulePlaybackRecovery(const PlaybackRecovery &request) {
    // The first request wins. A later request neither replaces nor advances a scheduled attempt.
    // Wake and a usable network path make their own requests.
    if (!playbackIsPossible() || cameras.isEmpty() || playbackRetry)
        return;
    if (__builtin_add_overflow(playbackRetryCount, 1, &playbackRetryCount))
        qFatal("The recovery attempts are used up.");
    playbackState = PlaybackSupervisorState::backingOff;
    RecoveryAttempt attempt = recoveryAttempt(playbackRetryCount, request.urgency,
                                              request.recreation, environment.random());
    if (const auto wait = loginSupervisor.waitBeforeLogin(selectedAddress()))
        attempt.delay = std::max(attempt.delay, *wait);
    LumvikLog::playback().log(
        QStringLiteral("Scheduling recovery %1 in %2 seconds; recreate=%3; reason=%4.")
            .arg(playbackRetryCount)
            .arg(attempt.delay, 0, 'f', 6)
            .arg(attempt.recreatesPlayer ? QStringLiteral("true") : QStringLiteral("false"),
                 request.reason));
    scheduleRetry(attempt.delay, attempt.recreatesPlayer);
    streamDetailsController.attemptWasScheduled(request.reason);
    pictureSupervisor.attemptWasScheduled(attempt.delay,
                                          request.urgency != RecoveryUrgency::immediate);
}

void AppDelegate::scheduleRetry(double delay, bool recreatesPlayer) {
    playbackRetry = environment.mainQueue.after(
        delay, [self = QPointer(this), selection = playbackSelectionGeneration, recreatesPlayer] {
            if (self)
                self->retryPlayback(selection, recreatesPlayer);
        });
}

void AppDelegate::awaitLogin(double wait) {
    mpv_command_string(mpv, "stop");
    closeCameraLink();
    cancelPlaybackRetry();
    playbackState = PlaybackSupervisorState::backingOff;
    // The wait ends by the wall clock, which may be set meanwhile.
    constexpr double longestStep = 60;
    scheduleRetry(std::min(wait, longestStep), false);
    // The refusal may be from before the program was started or the camera chosen.
    if (loginSupervisor.isRefused(selectedAddress()))
        pictureSupervisor.linkHasReported({.kind = LinkFact::Kind::LoginRefused, .hadLogin = true});
    pictureSupervisor.attemptWasScheduled(wait, false);
}

void AppDelegate::tryNow() {
    if (!loginSupervisor.mayLock(selectedAddress()))
        return tryNowWithoutWarning();
    environment.alerts.present(
        {.style = Alert::Style::warning,
         .messageText = QStringLiteral("The camera may lock this account."),
         .informativeText = QStringLiteral(
             "Several logins to this account have failed. Many cameras lock an account for half an "
             "hour after a few wrong passwords."),
         .buttons = {QStringLiteral("Try Now"), QStringLiteral("Cancel")}},
        [self = QPointer(this), selection = playbackSelectionGeneration](int button) {
            if (self && button == 0 && selection == self->playbackSelectionGeneration)
                self->tryNowWithoutWarning();
        });
}

void AppDelegate::tryNowWithoutWarning() {
    if (isClosingViewer || systemIsSleeping || cameras.isEmpty())
        return;
    loginSupervisor.allowOneLogin(selectedAddress());
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    if (selectedCameraIsReachable())
        requestLocalNetworkAccessAndStart();
    else
        startOrReload();
    pictureSupervisor.update();
}

void AppDelegate::retryPlayback(std::int64_t selectionGeneration, bool recreatesPlayer) {
    playbackRetry.reset();
    pictureSupervisor.attemptWasCancelled();
    if (!playbackIsPossible() || selectionGeneration != playbackSelectionGeneration)
        return;
    const auto wait = loginSupervisor.waitBeforeLogin(selectedAddress());
    if (wait && mpv != nullptr && !recreatesPlayer)
        return awaitLogin(*wait);
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
    pictureSupervisor.attemptWasCancelled();
}

PictureSupervisor::Environment AppDelegate::pictureEnvironment() {
    return {.mainQueue = environment.mainQueue,
            .currentDate = environment.currentDate,
            .situation = [this] { return pictureSituation(); },
            .tryNow = [this] { tryNow(); },
            .showAddresses = [this] { showCameraSettings(); },
            .pictureFellBehind =
                [this] {
                    if (playbackState != PlaybackSupervisorState::playing)
                        return;
                    // The old pictures that are still drawn would cancel the attempt.
                    videoHost->forgetPicture();
                    schedulePlaybackRecovery({.reason = QStringLiteral("picture fell behind")});
                },
            .conditionChanged =
                [this] {
                    updatePictureDescription();
                    desktopSupervisor.update();
                }};
}

DesktopSupervisor::Environment AppDelegate::desktopEnvironment() {
    return {.mainQueue = environment.mainQueue,
            .userDefaults = environment.userDefaults,
            .notifier = environment.notifier,
            .screenInhibitor = environment.screenInhibitor,
            .situation = [this]() -> DesktopSupervisor::Situation {
                return {.condition = pictureSupervisor.condition(),
                        .camera = pictureSituation().camera,
                        .cause = pictureSupervisor.cause(),
                        .isSleeping = systemIsSleeping,
                        .windowIsVisible =
                            window && !window->windowStates().testFlag(Qt::WindowMinimized)};
            },
            .showWindow =
                [this](const QByteArray &activationToken) {
                    if (!isClosingViewer && window)
                        bringToFront(activationToken);
                }};
}

PictureSupervisor::Situation AppDelegate::pictureSituation() const {
    const int index = cameraPicker == nullptr ? -1 : cameraPicker->indexOfSelectedItem();
    if (index < 0 || index >= cameras.size())
        return {};
    const Camera &camera = cameras.at(index);
    const auto target = preflightTarget(encodedCameraAddress(camera.url));
    return {.hasCamera = true,
            .camera =
                LumvikLog::redacted(camera.name), // some users name a camera after its address
            .host = target ? target->host : QString(),
            .port = target ? target->port : 0,
            .waitsForNetwork = !selectedCameraIsReachable(),
            .addressIsUnusable = !cameraEndpoint(camera.url),
            .isSleeping = systemIsSleeping,
            .controlsAreShown = viewerControlsAreVisible,
            .loginPauseEnd = playbackRetry ? loginSupervisor.waitsUntil() : std::nullopt};
}

} // namespace lumvik
