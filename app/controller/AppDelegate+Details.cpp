// The details of the stream, and the diagnosis for the author.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"

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

} // namespace lumvik
