// The player instance: creation, configuration, loading and destruction.

#include "app/controller/AppDelegate.h"
#include "configuration/CameraAddress.h"
#include "engine/EngineAddress.h"
#include "engine/PlayerOptions.h"
#include "engine/link/CameraEndpoint.h"
#include "engine/link/LinkLog.h"
#include "platform/LumvikLog.h"

#include <QPointer>

#include <array>
#include <chrono>
#include <clocale>
#include <cstring>
#include <utility>

namespace lumvik {

namespace {

/// Selects the C locale for numbers. libmpv refuses to start in a locale with a decimal comma, and
/// Qt applies the user's locale. The locale is changed only if necessary, because other threads may
/// be formatting numbers.
void useDecimalPoint() {
    if (std::strcmp(std::setlocale(LC_NUMERIC, nullptr), "C") != 0)
        std::setlocale(LC_NUMERIC, "C");
}

/// How long the program's end and the machine's sleep wait for a camera to confirm the end of its
/// session. Cameras that serve few viewers keep the place occupied otherwise.
constexpr std::chrono::milliseconds longestLinkFarewell{1000};

} // namespace

void AppDelegate::startPlayer() {
    if (mpv != nullptr || cameras.isEmpty())
        return;
    const int selected = cameraPicker->indexOfSelectedItem();
    playbackState = PlaybackSupervisorState::starting;
    if (__builtin_add_overflow(playerGeneration, 1, &playerGeneration))
        qFatal("The player generations are used up.");
    LumvikLog::playback().log(
        QStringLiteral("Starting video engine generation %1.").arg(playerGeneration));

    useDecimalPoint();
    mpv_handle *handle = mpv_create();
    if (handle == nullptr) {
        failPlayerStart(nullptr, QStringLiteral("Lumvik could not start its video engine."));
        return;
    }
    configurePlayer(handle);
    if (!initializePlayer(handle)) {
        failPlayerStart(handle, QStringLiteral("Lumvik could not initialize its video engine."));
        return;
    }
    if (videoHost->configureWithMPV(handle) < 0) {
        // Some OpenGL drivers suffice for the window, but not for the engine. If OpenGL has worked
        // before, the failure may be over in a moment.
        if (loadedPlayerGeneration == 0 && environment.restartWithSoftwareRenderer()) {
            LumvikLog::playback().error(QStringLiteral(
                "The video engine cannot draw with this OpenGL; Lumvik restarts without it."));
            abandonPlayerStart(handle);
            return;
        }
        failPlayerStart(handle, QStringLiteral("Lumvik could not attach video to its window."));
        return;
    }
    attachPlayer(handle);
    loadCamera(selected);
    startPlaybackWatchdog();
}

void AppDelegate::configurePlayer(mpv_handle *handle) {
    // Results are ignored deliberately: a libmpv without one of the options can still play.
    for (const PlayerSetting &option : playerOptions)
        mpv_set_option_string(handle, option.name, option.value);
    engineUsesUdp = false;
}

bool AppDelegate::initializePlayer(mpv_handle *handle) {
    if (mpv_initialize(handle) < 0)
        return false;
    const auto self = QPointer(this);
    mpvObserver = std::make_unique<MPVObserver>(
        handle, environment.mainQueue, environment.engineLogLevel.c_str(),
        MPVObserver::Handlers{
            .videoParametersChanged =
                [self] {
                    // While a stream is being replaced, its geometry is out of date.
                    if (self && self->mpv != nullptr && !self->isClosingViewer &&
                        self->videoHost->expectsPicture())
                        self->updateWindowAspectRatio(self->mpv);
                },
            .endReachedChanged =
                [self] {
                    if (self)
                        self->endReachedDidChange();
                },
            .engineComplained =
                [self](const QString &message) {
                    if (self)
                        self->pictureSupervisor.engineHasComplained(message);
                },
        });
    for (const PlayerSetting &property : livePlaybackProperties)
        mpv_set_property_string(handle, property.name, property.value);
    if (videoHost == nullptr)
        qFatal("A player cannot start without a view for its video.");
    for (const PlayerSetting &property : videoHost->playerProperties())
        mpv_set_property_string(handle, property.name, property.value);
    return true;
}

void AppDelegate::failPlayerStart(mpv_handle *handle, const QString &message) {
    abandonPlayerStart(handle);
    // A shortage of memory, threads or graphics may be over in a moment. The watchdog does not
    // retry, because it needs a player.
    schedulePlaybackRecovery({.reason = QStringLiteral("video engine could not start")});
    playbackState = PlaybackSupervisorState::stopped;
    showPlaybackError(message);
}

void AppDelegate::abandonPlayerStart(mpv_handle *handle) {
    mpvObserver.reset();
    if (handle != nullptr)
        mpv_terminate_destroy(handle);
    playbackState = PlaybackSupervisorState::stopped;
}

void AppDelegate::attachPlayer(mpv_handle *handle) {
    mpv = handle;
    pictureWasFitted = false; // as in `playerOptions`
    updatePictureScaling();
    // The user still wants to see the same part.
    if (focusCrop && areaIsOfThisSelection()) {
        if (!isShowingFullCameraTemporarily)
            setVideoCrop(handle, *focusCrop);
        scalePicture();
    }
    if (zoomController.isMagnified())
        applyZoom();
    const auto self = QPointer(this);
    mpvEventLoop = std::make_unique<MPVEventLoop>(
        handle, playerGeneration, environment.mainQueue,
        [self](const PlaybackEngineEvent &event, std::int64_t generation) {
            if (self)
                self->handlePlaybackEngineEvent(event, generation);
        });
    mpvEventLoop->start();
    videoHost->setFrameRenderedHandler([self, generation = playerGeneration] {
        if (self)
            self->recordRenderedFrame(generation);
    });
}

void AppDelegate::stopPlayerEngine() {
    if (videoHost != nullptr)
        videoHost->setFrameRenderedHandler(nullptr);
    mpvEventLoop.reset(); // blocks until the event pump has stopped
    mpvObserver.reset();
    if (stalePictureCheck) {
        stalePictureCheck->cancel();
        stalePictureCheck.reset();
    }
    mpv_handle *handle = std::exchange(mpv, nullptr);
    // The render context must be freed before the player that it belongs to.
    if (videoHost != nullptr)
        videoHost->shutdownRenderContext();
    closeCameraLink(); // before the player, which would otherwise wait for the camera
    if (handle != nullptr)
        playerTeardown.destroy(handle);
    playbackState = PlaybackSupervisorState::stopped;
    sleepDelayHolder.release(); // the stream that sleep was delayed for has ended
}

void AppDelegate::loadCamera(int index) {
    if (index < 0 || index >= cameras.size() || mpv == nullptr)
        return;
    // An area is valid only for the camera in whose picture it was selected. It outlives a new
    // connection to this camera, so that a viewer that nobody touches keeps showing it; it ends if
    // the picture comes back in another size (see updateWindowAspectRatio).
    if ((focusCrop && !areaIsOfThisSelection()) || isSelectingFocusArea)
        restoreOriginalCameraView();
    sourceVideoGeometry.reset();
    lastCameraLoad = environment.mainQueue.now();
    lastFrameRenderedAt.reset();
    playbackState = PlaybackSupervisorState::starting;
    forgetPictureShape();
    videoHost->forgetPicture();
    if (const auto wait = loginSupervisor.waitBeforeLogin(cameras.at(index).url))
        return awaitLogin(*wait);
    LumvikLog::playback().log(QStringLiteral("Loading camera index %1 for selection generation %2.")
                                  .arg(index)
                                  .arg(playbackSelectionGeneration));

    const Camera &camera = cameras.at(index);
    const auto endpoint = cameraEndpoint(camera.url);
    if (!endpoint)
        return refuseCameraAddress(index);
    decodingSupervisor.prepareLoad(mpv, camera.url);
    ++cameraLinkGeneration;
    const bool usesUdp = streamTransports.beginLoad(camera.url) == StreamTransports::Transport::udp;
    if (std::exchange(engineUsesUdp, usesUdp) != usesUdp)
        mpv_set_property_string(mpv, "rtsp-transport", usesUdp ? "udp" : "tcp");
    std::unique_ptr<CameraLink> link = usesUdp ? nullptr : openCameraLink(*endpoint);
    if (link)
        loginSupervisor.linkWasOpened(cameraLinkGeneration, camera.url);
    else
        loginSupervisor.linkWasClosed(); // without facts, nothing is known about the login
    pictureSupervisor.loadHasBegun(link != nullptr);
    streamDetailsController.loadHasBegun();
    const QByteArray address =
        link ? link->engineAddress() : engineAddress(encodedCameraAddress(camera.url)).toUtf8();
    std::array<const char *, 4> command{"loadfile", address.constData(), "replace", nullptr};
    const int result = mpv_command(mpv, command.data());
    // The link of the previous load is closed after the command, so that the engine does not report
    // the end of that stream.
    cameraLink = std::move(link);
    if (result >= 0)
        return;
    LumvikLog::playback().error(
        QStringLiteral("mpv rejected the load command with error %1.").arg(result));
    schedulePlaybackRecovery({.reason = QStringLiteral("mpv rejected the load command")});
    // Some users name a camera after its address.
    showPlaybackError(QStringLiteral("Could not open %1.").arg(LumvikLog::redacted(camera.name)));
}

void AppDelegate::refuseCameraAddress(int index) {
    LumvikLog::playback().error(
        QStringLiteral("Camera index %1 has no RTSP address that can be read.").arg(index));
    mpv_command_string(mpv, "stop");
    closeCameraLink();
    // Another attempt cannot succeed before the address has been edited.
    playbackState = PlaybackSupervisorState::suspended;
    pictureSupervisor.update();
    showPlaybackError(
        QStringLiteral("Could not open %1.").arg(LumvikLog::redacted(cameras.at(index).name)));
}

std::unique_ptr<CameraLink> AppDelegate::openCameraLink(const CameraEndpoint &endpoint) {
    if (!environment.openCameraLink)
        return nullptr;
    return environment.openCameraLink(
        endpoint, [self = QPointer(this), generation = cameraLinkGeneration,
                   &mainQueue = environment.mainQueue](const LinkFact &fact) {
            logLinkFact(fact);
            mainQueue.async([self, generation, fact] {
                if (!self)
                    return;
                // A camera also counts what nobody waits for.
                self->loginSupervisor.linkHasReported(generation, fact);
                if (generation == self->cameraLinkGeneration)
                    self->handleLinkFact(fact);
            });
        });
}

void AppDelegate::handleLinkFact(const LinkFact &fact) {
    if (isClosingViewer || systemIsSleeping || mpv == nullptr)
        return;
    if (triesUdpAfter(fact))
        return;
    pictureSupervisor.linkHasReported(fact);
    if (fact.kind == LinkFact::Kind::Measured)
        streamDetailsController.streamWasMeasured(fact.measure);
    // While another attempt is scheduled, a frame of the old stream would cancel it.
    const bool isStartingOrPlaying = playbackState == PlaybackSupervisorState::starting ||
                                     playbackState == PlaybackSupervisorState::playing;
    // Pictures that are old and move would look live.
    if (fact.kind == LinkFact::Kind::PictureIsLate)
        videoHost->forgetPicture();
    else if (fact.kind == LinkFact::Kind::PictureIsInTime && isStartingOrPlaying)
        videoHost->expectPicture();
    else if (fact.kind == LinkFact::Kind::PicturesOmitted)
        decodingSupervisor.picturesWereOmitted();
}

bool AppDelegate::triesUdpAfter(const LinkFact &fact) {
    constexpr int unsupportedTransport = 461;
    if (fact.kind != LinkFact::Kind::Answered || fact.method != "SETUP" ||
        fact.status != unsupportedTransport || !streamTransports.tcpWasRefused(selectedAddress()))
        return false;
    schedulePlaybackRecovery({.reason = QStringLiteral("camera sends over UDP only"),
                              .urgency = RecoveryUrgency::immediate});
    return true;
}

void AppDelegate::closeCameraLink() {
    if (!cameraLink)
        return;
    ++cameraLinkGeneration; // what it still reports is not about the next camera
    cameraLink->close();
    if (isClosingViewer || systemIsSleeping)
        cameraLink->waitUntilClosed(longestLinkFarewell);
    cameraLink.reset();
    loginSupervisor.linkWasClosed();
}

void AppDelegate::setMPVProperty(const char *name, const char *value) {
    if (mpv != nullptr)
        mpv_set_property_string(mpv, name, value);
}

void AppDelegate::showPlaybackError(const QString &message) {
    environment.mainQueue.async([self = QPointer(this), message] {
        // The user may be away for days, and repeated attempts would open one alert after another.
        if (!self || self->isClosingViewer || self->shownPlaybackErrors.contains(message))
            return;
        self->shownPlaybackErrors.insert(message);
        self->environment.alerts.runModal({.style = Alert::Style::warning,
                                           .messageText = QStringLiteral("Lumvik"),
                                           .informativeText = message,
                                           .buttons = {QStringLiteral("OK")}});
        // The controller may have been destroyed during the alert's nested event loop.
        if (self)
            self->shownPlaybackErrors.remove(message);
    });
}

} // namespace lumvik
