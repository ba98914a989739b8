#pragma once

#include <QList>
#include <QString>

namespace lumvik {

/// One camera: the name that the user sees and the full address of its stream.
///
/// Cameras have value semantics. A camera has no identity beyond its position in the list. Two
/// cameras are equal when both their names and their addresses are identical, character by
/// character.
struct Camera {
    QString name; ///< Shown in the camera picker and in the editor.
    QString url;  ///< Stored as text and not parsed here. Usually begins with "rtsp://".

    friend bool operator==(const Camera &, const Camera &) = default;
};

/// The user's cameras in the order in which they are shown.
using CameraList = QList<Camera>;

} // namespace lumvik
