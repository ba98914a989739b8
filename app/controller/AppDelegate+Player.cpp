// The player instance: creation, configuration, loading, the video's shape, tear-down.

#include "app/controller/AppDelegate.h"
#include "engine/EngineAddress.h"
#include "engine/PlayerOptions.h"
#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"

#include <QPointer>

#include <array>
#include <clocale>
#include <cstring>
#include <utility>

namespace lumvik {

void AppDelegate::startPlayer() {
    if (mpv != nullptr || cameras.isEmpty())
        return;
    const int selected = cameraPicker->indexOfSelectedItem();
    playbackState = PlaybackSupervisorState::starting;
    if (__builtin_add_overflow(playerGeneration, 1, &playerGeneration))
        qFatal("The player generations are used up.");
    LumvikLog::playback().log(
        QStringLiteral("Starting video engine generation %1.").arg(playerGeneration));

    // libmpv refuses to start in a locale with a decimal comma, and the toolkit sets the user's.
    // Only once: other threads may be writing numbers.
    if (std::strcmp(std::setlocale(LC_NUMERIC, nullptr), "C") != 0)
        std::setlocale(LC_NUMERIC, "C");
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
    if (videoHost == nullptr)
        qFatal("A player cannot start without a view for its video.");
    if (videoHost->configureWithMPV(handle) < 0) {
        failPlayerStart(handle, QStringLiteral("Lumvik could not attach video to its window."));
        return;
    }
    attachPlayer(handle);
    loadCamera(selected);
    startPlaybackWatchdog();
}

void AppDelegate::configurePlayer(mpv_handle *handle) {
    // Results are ignored on purpose: a libmpv that lacks an option plays without it.
    for (const PlayerSetting &option : playerOptions)
        mpv_set_option_string(handle, option.name, option.value);
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
                    // The shape of a stream that is being replaced is of no interest any more.
                    if (self && self->mpv != nullptr && !self->isClosingViewer &&
                        self->videoHost->expectsPicture())
                        self->updateWindowAspectRatio(self->mpv);
                },
            .endReachedChanged =
                [self] {
                    if (self)
                        self->endOfStreamMayHaveBeenReached();
                },
        });
    for (const PlayerSetting &property : livePlaybackProperties)
        mpv_set_property_string(handle, property.name, property.value);
    return true;
}

void AppDelegate::failPlayerStart(mpv_handle *handle, const QString &message) {
    mpvObserver.reset();
    if (handle != nullptr)
        mpv_terminate_destroy(handle);
    // What failed may be there again in a moment: memory, a thread, the graphics. Nobody else would
    // try again, since there is no player for the watchdog to look at.
    schedulePlaybackRecovery({.reason = QStringLiteral("video engine could not start")});
    playbackState = PlaybackSupervisorState::stopped;
    showPlaybackError(message);
}

void AppDelegate::attachPlayer(mpv_handle *handle) {
    mpv = handle;
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
    mpvEventLoop.reset(); // waits for its pump
    mpvObserver.reset();
    mpv_handle *handle = std::exchange(mpv, nullptr);
    // The render context goes before the core that it draws for.
    if (videoHost != nullptr)
        videoHost->shutdownRenderContext();
    if (handle != nullptr)
        playerTeardown.destroy(handle);
    playbackState = PlaybackSupervisorState::stopped;
    sleepDelayHolder.release(); // there is no stream any more that it could wait for
}

void AppDelegate::loadCamera(int index) {
    if (index < 0 || index >= cameras.size() || mpv == nullptr)
        return;
    // An area belongs to the picture in which it was chosen.
    if (focusCrop || isSelectingFocusArea)
        restoreOriginalCameraView();
    sourceVideoGeometry.reset();
    lastCameraLoad = environment.mainQueue.now();
    lastFrameRenderedAt.reset();
    playbackState = PlaybackSupervisorState::starting;
    appliedVideoAspectRatio.reset();
    videoHost->forgetPicture();
    LumvikLog::playback().log(QStringLiteral("Loading camera index %1 for selection generation %2.")
                                  .arg(index)
                                  .arg(playbackSelectionGeneration));

    const Camera &camera = cameras.at(index);
    const QByteArray address = engineAddress(camera.url).toUtf8();
    std::array<const char *, 4> command{"loadfile", address.constData(), "replace", nullptr};
    const int result = mpv_command(mpv, command.data());
    if (result >= 0)
        return;
    LumvikLog::playback().error(
        QStringLiteral("mpv rejected the load command with error %1.").arg(result));
    schedulePlaybackRecovery({.reason = QStringLiteral("mpv rejected the load command")});
    // Cameras get named after their own addresses.
    showPlaybackError(QStringLiteral("Could not open %1.").arg(LumvikLog::redacted(camera.name)));
}

void AppDelegate::setMPVProperty(const char *name, const char *value) {
    if (mpv != nullptr)
        mpv_set_property_string(mpv, name, value);
}

void AppDelegate::updateWindowAspectRatio(mpv_handle *handle) {
    const auto width = integerProperty(handle, "video-params/w");
    const auto height = integerProperty(handle, "video-params/h");
    const auto rotation = integerProperty(handle, "video-params/rotate");
    const auto geometry =
        videoSourceGeometry(width.value_or(0), height.value_or(0), rotation.value_or(0));
    if (!geometry)
        return;
    sourceVideoGeometry = geometry;
    if (focusCrop) {
        // The area has its own shape. In a picture of another size it means nothing any more, and
        // may not even exist.
        const QSizeF sourceSize(static_cast<qreal>(geometry->width),
                                static_cast<qreal>(geometry->height));
        if (focusCrop->sourceSize != sourceSize)
            restoreOriginalCameraView();
        return;
    }
    const auto ratio = aspectRatioToApply(*geometry, appliedVideoAspectRatio);
    if (!ratio)
        return;
    if (!window)
        qFatal("There is no window to take the video's shape.");
    window->setContentAspectRatio({static_cast<int>(geometry->displayedWidth()),
                                   static_cast<int>(geometry->displayedHeight())});
    appliedVideoAspectRatio = ratio;
}

void AppDelegate::showPlaybackError(const QString &message) {
    environment.mainQueue.async([self = QPointer(this), message] {
        // Nobody may be there for days to answer the first alert; one of each kind is enough.
        if (!self || self->isClosingViewer || self->shownPlaybackErrors.contains(message))
            return;
        self->shownPlaybackErrors.insert(message);
        self->environment.alerts.runModal({.style = Alert::Style::warning,
                                           .messageText = QStringLiteral("Lumvik"),
                                           .informativeText = message,
                                           .buttons = {QStringLiteral("OK")}});
        // The alert has a loop of its own, in which everything may have ended.
        if (self)
            self->shownPlaybackErrors.remove(message);
    });
}

} // namespace lumvik
