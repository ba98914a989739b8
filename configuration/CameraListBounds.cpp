#include "configuration/CameraListBounds.h"

#include "platform/LumvikLog.h"

#include <QLocale>

#include <algorithm>

namespace lumvik {

namespace {

/// The length to which a name is shortened in a message, in UTF-16 code units.
constexpr qsizetype longestShownName = 40;

QString inDigits(qsizetype number) {
    return QLocale(QLocale::English).toString(number);
}

/// Returns "camera 3, “Yard”," or, without a name, "camera 3".
QString cameraText(const CameraListExcess &excess) {
    QString number = QStringLiteral("camera %1").arg(inDigits(excess.row + 1));
    QString name = LumvikLog::redacted(excess.name).simplified();
    if (name.isEmpty())
        return number;
    if (name.size() > longestShownName)
        name = name.first(longestShownName) + u'…';
    return QStringLiteral("%1, “%2”,").arg(number, name);
}

} // namespace

bool isTooLongName(const QString &name) {
    const auto characters =
        std::count_if(name.begin(), name.end(), [](QChar each) { return !each.isLowSurrogate(); });
    return characters > longestCameraName;
}

bool isTooLongAddress(const QString &address) {
    return address.toUtf8().size() > longestCameraAddress;
}

std::optional<CameraListExcess> excessOf(const CameraList &cameras) {
    using Kind = CameraListExcess::Kind;
    if (cameras.size() > mostCameras)
        return CameraListExcess{Kind::tooManyCameras, mostCameras, cameras.at(mostCameras).name};
    for (qsizetype row = 0; row < cameras.size(); ++row) {
        const Camera &camera = cameras.at(row);
        if (isTooLongName(camera.name))
            return CameraListExcess{Kind::longName, row, camera.name};
        if (isTooLongAddress(camera.url))
            return CameraListExcess{Kind::longAddress, row, camera.name};
    }
    return std::nullopt;
}

QString errorDescription(const CameraListExcess &excess) {
    switch (excess.kind) {
    case CameraListExcess::Kind::tooManyCameras: {
        QString camera = cameraText(excess);
        camera[0] = camera[0].toUpper();
        return QStringLiteral("%1 is one too many: a list can have at most %2 cameras.")
            .arg(camera, inDigits(mostCameras));
    }
    case CameraListExcess::Kind::longName:
        return QStringLiteral("The name of %1 must not be longer than %2 characters.")
            .arg(cameraText(excess), inDigits(longestCameraName));
    case CameraListExcess::Kind::longAddress:
        return QStringLiteral("The address of %1 must not be longer than %2 bytes.")
            .arg(cameraText(excess), inDigits(longestCameraAddress));
    }
    return {};
}

} // namespace lumvik
