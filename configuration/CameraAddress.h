#pragma once

#include <QString>

// The rules for the address of a camera, as the user types it and as it is stored.

namespace lumvik {

/// Returns `address` with every "@" in its user name and password percent-encoded. The last "@"
/// before the path ends the user information, so that passwords may be typed as they are.
/// Everything that connects to a camera must use the result; the list contains the address as
/// typed.
[[nodiscard]] QString encodedCameraAddress(const QString &address);

/// Returns whether `address` can be played: it is a valid URL (apart from "@" in a password) with
/// the scheme "rtsp" (in upper or lower case) and a host. An address that contains white space is
/// invalid.
[[nodiscard]] bool isCameraAddress(const QString &address);

/// Returns a sentence for the user that says why `address` cannot be played. Returns an empty text
/// if `address` can be played, or if nothing more can be said than that it is no RTSP address. The
/// sentence contains no part of the address.
[[nodiscard]] QString cameraAddressProblem(const QString &address);

/// Returns the description of an address for screen readers, which contains the host and port, but
/// neither the user, the password nor the path, all of which may be secret: people nearby can hear
/// the speech, and speech services may log it. A screen reader reads the whole address only while
/// the field is being edited.
[[nodiscard]] QString spokenAddress(const QString &address);

} // namespace lumvik
