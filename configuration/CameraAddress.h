#pragma once

#include <QString>

// The rules for the address of a camera, as the user types it and as it is stored.

namespace lumvik {

/// Returns whether `address` can be played: it is a valid URL with the scheme "rtsp" (in upper or
/// lower case) and a host. An address that contains white space is invalid.
[[nodiscard]] bool isCameraAddress(const QString &address);

/// Returns the description of an address for screen readers, which contains the host and port, but
/// neither the user, the password nor the path, all of which may be secret: people nearby can hear
/// the speech, and speech services may log it. A screen reader reads the whole address only while
/// the field is being edited.
[[nodiscard]] QString spokenAddress(const QString &address);

} // namespace lumvik
