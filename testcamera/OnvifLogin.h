#pragma once

#include "testcamera/CameraOptions.h"
#include "testcamera/LoginLock.h"
#include "testcamera/SoapRequest.h"

#include <QByteArray>
#include <QDateTime>

namespace lumvik::test {

/// Judges the logins in requests to the ONVIF side of the camera. A plain value without a clock.
class OnvifLogin {
  public:
    enum class Verdict {
        Accepted,
        Missing, ///< The request contains no login of the kind that the camera wants.
        Refused,
    };

    /// How much the time of a UsernameToken may differ from the camera's, in seconds.
    static constexpr qint64 largestTimeDifference = 10;

    /// Every login is counted by `lock`, which must outlive the object.
    OnvifLogin(const CameraOptions &options, LoginLock &lock);

    /// Returns the camera's time at the time `utc`.
    [[nodiscard]] QDateTime cameraTime(const QDateTime &utc) const;
    /// Judges a request. `authorization` and `target` are the value of that header and what stands
    /// in the start line; `seconds` is the time since the camera was started.
    [[nodiscard]] Verdict judge(const SoapRequest &request, const QByteArray &authorization,
                                const QByteArray &target, const QDateTime &utc, double seconds);
    /// Returns the header with which the camera asks for a login, or an empty text if the login is
    /// that of SOAP.
    [[nodiscard]] QByteArray challenge() const;

  private:
    [[nodiscard]] bool isRightToken(const SoapRequest &request, const QDateTime &utc) const;
    [[nodiscard]] bool isRightDigest(const QByteArray &authorization,
                                     const QByteArray &target) const;

    const CameraOptions m_options;
    LoginLock &m_lock;
};

} // namespace lumvik::test
