#pragma once

#include "testcamera/CameraOptions.h"
#include "testcamera/GStreamerHandles.h"
#include "testcamera/LoginLock.h"

#include <gst/rtsp-server/rtsp-server.h>

namespace lumvik::test {

/// Creates the authentication of a camera that requires the user name and the password in
/// `options`, by Basic or Digest. Users who have logged in get the role `role`. Every login is
/// decided by `lock`, which must outlive the authentication. Main thread only.
[[nodiscard]] GObjectPointer<GstRTSPAuth> makeCameraLogin(const CameraOptions &options,
                                                          const char *role, LoginLock &lock);

/// The seconds since the first call, as `makeCameraLogin` counts them.
[[nodiscard]] double secondsSinceStart();

} // namespace lumvik::test
