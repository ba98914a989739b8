#pragma once

#include <QList>
#include <QString>

namespace lumvik {

/// One camera: the name that the user sees and the full address of its stream.
///
/// A plain value, copied freely. A camera has no identity beyond its position in the list; two are
/// equal when both texts are, letter for letter.
struct Camera {
    QString name; ///< Shown in the camera picker and in the editor.
    QString url;  ///< Kept as text, never parsed here; usually begins with "rtsp://".

    friend bool operator==(const Camera &a, const Camera &b) {
        return a.name == b.name && a.url == b.url;
    }
    friend bool operator!=(const Camera &a, const Camera &b) { return !(a == b); }
};

/// The user's cameras in the order in which they are shown.
using CameraList = QList<Camera>;

} // namespace lumvik
