#include "app/controller/EmptyStateText.h"

#include "platform/LumvikLog.h"

namespace lumvik {

QString emptyStateText(CameraListCondition condition, const QString &folder) {
    const QString place = LumvikLog::redacted(folder);
    switch (condition) {
    case CameraListCondition::none:
    case CameraListCondition::loaded:
        break;
    case CameraListCondition::unreadable:
        return QStringLiteral(
                   "There is a camera list in the folder “%1”, but it could not be read. "
                   "Lumvik will not replace it: if you save another list, the old one is kept "
                   "there under another name. Use Lumvik → Camera Addresses… to add a camera or "
                   "import a Lumvik camera list.")
            .arg(place);
    case CameraListCondition::missing:
        return QStringLiteral(
                   "The camera list is missing from the folder “%1”. If the folder is on a disk "
                   "that is not connected, connect it and start Lumvik again. Otherwise, use "
                   "Lumvik → Camera Addresses… to add a camera or import a Lumvik camera list.")
            .arg(place);
    }
    return QStringLiteral("No cameras are configured. Use Lumvik → Camera Addresses… to add a "
                          "camera or import a Lumvik camera list.\n"
                          "Use Camera → Find Cameras… to search the network for cameras.");
}

} // namespace lumvik
