#pragma once

#include "configuration/Camera.h"

#include <QString>
#include <QStringList>

namespace lumvik {

/// The cameras that several pasted lines make.
struct PastedCameras {
    CameraList cameras;
    /// What the user must be told about lines that made none, one sentence in each line, or an
    /// empty text. It contains no part of the pasted text.
    QString problems;
};

/// Returns a camera for each line of `text` that is understood as an address (see PastedAddress)
/// and is not among the addresses `listed`. The host of a camera is its name.
[[nodiscard]] PastedCameras pastedCameras(const QString &text, QStringList listed);

} // namespace lumvik
