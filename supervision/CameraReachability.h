#pragma once

#include <QString>

namespace lumvik {

/// Returns whether an attempt to reach the camera at `host` makes sense: the network path is
/// satisfied, or the camera needs none. A camera on this computer needs no network, and neither
/// does a camera with a link-local IPv6 address that names an interface. `host` is a name or a
/// numerical address without brackets.
[[nodiscard]] bool cameraIsReachable(bool networkPathIsSatisfied, const QString &host);

} // namespace lumvik
