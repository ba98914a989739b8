#pragma once

#include "configuration/Camera.h"

#include <QString>

#include <optional>

namespace lumvik {

// The bounds of a camera list. A list beyond them is a mistake or an attack: it would only make the
// picker and the editor unusable. Import, the editor and the store refuse such a list, and a stored
// one counts as unreadable.

/// The largest number of cameras in a list.
inline constexpr qsizetype mostCameras = 10'000;
/// The length limit of a camera's name, in characters (Unicode code points).
inline constexpr qsizetype longestCameraName = 1000;
/// The length limit of a camera's address, in bytes of UTF-8 (8 KB).
inline constexpr qsizetype longestCameraAddress = 8192;

[[nodiscard]] bool isTooLongName(const QString &name);
[[nodiscard]] bool isTooLongAddress(const QString &address);

/// The first camera of a list that exceeds a bound.
struct CameraListExcess {
    enum class Kind { tooManyCameras, longName, longAddress };

    Kind kind = Kind::tooManyCameras;
    qsizetype row = 0; ///< The zero-based row of the camera.
    QString name;      ///< The name of the camera.

    friend bool operator==(const CameraListExcess &, const CameraListExcess &) = default;
};

/// Returns the first camera that exceeds a bound, or nothing if the list is within its bounds.
[[nodiscard]] std::optional<CameraListExcess> excessOf(const CameraList &cameras);

/// Returns a sentence for the user that names the camera and the bound. The name is shortened, and
/// addresses in it are redacted.
[[nodiscard]] QString errorDescription(const CameraListExcess &excess);

} // namespace lumvik
