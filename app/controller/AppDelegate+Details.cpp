// The details of the stream, the diagnosis for the author, and copies of the picture.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSysInfo>

namespace lumvik {

namespace {

QString engineText(mpv_handle *player, const char *property) {
    return player == nullptr ? QString() : QString::fromStdString(textProperty(player, property));
}

} // namespace

StreamDetailsController::Environment AppDelegate::detailsEnvironment() {
    return {.mainQueue = environment.mainQueue,
            .currentDate = environment.currentDate,
            .details = [this] { return streamDetails(); },
            .versions = [this] { return diagnosisVersions(); },
            .copyToClipboard =
                [](const QString &text) { QGuiApplication::clipboard()->setText(text); }};
}

StreamDetails AppDelegate::streamDetails() const {
    const PictureSupervisor::Situation situation = pictureSituation();
    StreamDetails details{.camera = situation.camera,
                          .host = situation.host,
                          .port = situation.port,
                          .state = spokenPictureState(pictureSupervisor.condition()),
                          .renderer = rendererName()};
    if (playbackState != PlaybackSupervisorState::playing)
        return details;
    details.codec = engineText(mpv, "video-format");
    if (sourceVideoGeometry) {
        details.size = {static_cast<int>(sourceVideoGeometry->displayedWidth()),
                        static_cast<int>(sourceVideoGeometry->displayedHeight())};
    }
    const QString hardware = engineText(mpv, "hwdec-current");
    details.decoder = hardware.isEmpty() || hardware == QStringLiteral("no")
                          ? QStringLiteral("software")
                          : hardware;
    details.uptime = environment.mainQueue.now() - liveSince;
    return details;
}

QString AppDelegate::rendererName() const {
    if (!window)
        return {};
    const bool isSoftware =
        window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
    return isSoftware ? QStringLiteral("software") : QStringLiteral("OpenGL");
}

QList<StreamDetailsRow> AppDelegate::diagnosisVersions() const {
    const InstalledVersion &version = environment.installedVersion;
    return {
        {QStringLiteral("Lumvik"),
         QStringLiteral("%1 (%2)").arg(version.versionText()).arg(version.buildNumber())},
        {QStringLiteral("Engine"), engineText(mpv, "mpv-version")},
        {QStringLiteral("FFmpeg"), engineText(mpv, "ffmpeg-version")},
        {QStringLiteral("Qt"), QString::fromLatin1(qVersion())},
        {QStringLiteral("Platform"), QGuiApplication::platformName()},
        {QStringLiteral("System"), QStringLiteral("%1, %2 %3")
                                       .arg(QSysInfo::prettyProductName(), QSysInfo::kernelType(),
                                            QSysInfo::kernelVersion())}};
}

// ---- Saving and copying the picture ----

PictureExporter::Environment AppDelegate::exportEnvironment() {
    return {.mainQueue = environment.mainQueue,
            .picture = [this] { return pictureAtItsOwnSize(); },
            // Some users name a camera after its address.
            .camera = [this] { return LumvikLog::redacted(cameraPicker->value()); },
            .currentDate = environment.currentDate,
            .folder = environment.picturesFolder,
            .copyToClipboard =
                [](const QImage &picture) { QGuiApplication::clipboard()->setImage(picture); },
            .showFolder = [this](const QString &folder) { openUrl(QUrl::fromLocalFile(folder)); },
            .savingFailed =
                [this](const QString &reason) {
                    if (isClosingViewer)
                        return;
                    environment.alerts.present(
                        {.style = Alert::Style::warning,
                         .messageText = QStringLiteral("The picture could not be saved."),
                         .informativeText = reason,
                         .buttons = {QStringLiteral("OK")}},
                        [](int) {});
                }};
}

QImage AppDelegate::pictureAtItsOwnSize() const {
    if (isClosingViewer || !window || !sourceVideoGeometry || !videoHost->showsPicture())
        return {};
    QSize size(static_cast<int>(sourceVideoGeometry->displayedWidth()),
               static_cast<int>(sourceVideoGeometry->displayedHeight()));
    if (focusCrop && !isShowingFullCameraTemporarily) {
        VideoSourceGeometry area = *sourceVideoGeometry;
        area.width = focusCrop->width;
        area.height = focusCrop->height;
        size = {static_cast<int>(area.displayedWidth()), static_cast<int>(area.displayedHeight())};
    }
    return videoHost->copyOfPicture(size);
}

} // namespace lumvik
