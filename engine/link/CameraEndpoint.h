#pragma once

#include "engine/link/RtspAuthentication.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace lumvik {

/// Where a camera is and how to log in, parsed from its address. A plain value. It holds the
/// password, so no part of it may be logged except `host` and `port`.
struct CameraEndpoint {
    QString host; ///< A name or a numerical address, IPv6 without brackets.
    std::uint16_t port = 554;
    /// The address without user name and password, with the scheme in lower case, as it is sent in
    /// requests. Host, port, path and query are spelt as in the camera list.
    QByteArray uri;
    std::optional<RtspCredentials> credentials;
};

/// Parses `address`, in which "@" in a password may be written as it is. Returns nothing unless it
/// is an RTSP address with a host and, if it names a port, one from 1 to 65535, and without white
/// space and control characters.
[[nodiscard]] std::optional<CameraEndpoint> cameraEndpoint(const QString &address);

} // namespace lumvik
