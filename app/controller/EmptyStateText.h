#pragma once

#include "configuration/CameraListKeeper.h"

#include <QString>

namespace lumvik {

/// Returns the text that the viewer shows while it has no camera. The text says so if there is a
/// list that could not be read, or one that is missing, and names `folder`, the path of the list's
/// folder. Addresses in the path are redacted. Each line of the text is a paragraph.
[[nodiscard]] QString emptyStateText(CameraListCondition condition, const QString &folder);

} // namespace lumvik
