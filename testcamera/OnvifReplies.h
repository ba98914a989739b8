#pragma once

#include "testcamera/CameraOptions.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <vector>

namespace lumvik::test {

/// Writes what the camera says by WS-Discovery and ONVIF. A plain value without I/O.
class OnvifReplies {
  public:
    /// A stream of the camera.
    struct Stream {
        QString token;
        QString name;
        QString path;
        QSize size;
        int framesPerSecond = 0;
    };

    /// The ports are those on which the camera really listens.
    OnvifReplies(const CameraOptions &options, std::uint16_t rtspPort, std::uint16_t onvifPort);

    /// Returns the camera's streams. With the fault ThreeProfiles, the second and the third claim
    /// to be smaller and slower than the first, although all three show the same pictures.
    [[nodiscard]] static std::vector<Stream> streams(const CameraOptions &options);
    /// Returns the path of the device service.
    [[nodiscard]] static QString devicePath() { return QStringLiteral("/onvif/device_service"); }
    /// Returns the path of the media service.
    [[nodiscard]] static QString mediaPath() { return QStringLiteral("/onvif/media_service"); }

    /// Returns the reply to a probe. In this and the following functions, `host` is the address at
    /// which the client reaches the camera.
    [[nodiscard]] QByteArray probeMatches(const QString &relatesTo, const QString &host) const;
    /// Returns the reply to a call of the device or media service, or an empty text if the camera
    /// does not know the call. `profile` is the token in the request, and `now` the camera's time.
    [[nodiscard]] QByteArray reply(const QString &call, const QString &profile,
                                   const QDateTime &now, const QString &host) const;
    /// Returns a fault with a subcode of ONVIF, for example "NotAuthorized".
    [[nodiscard]] QByteArray fault(const QString &subcode, const QString &reason) const;

  private:
    [[nodiscard]] QByteArray envelope(const QString &header, const QString &body) const;
    [[nodiscard]] QString address(const QString &scheme, std::uint16_t port, const QString &path,
                                  const QString &host) const;
    [[nodiscard]] QString dateAndTime(const QDateTime &now) const;
    [[nodiscard]] QString services(const QString &host) const;
    [[nodiscard]] QString capabilities(const QString &host) const;
    [[nodiscard]] QString deviceInformation() const;
    [[nodiscard]] QString profiles() const;
    [[nodiscard]] QString videoSources() const;
    [[nodiscard]] QString streamUri(const QString &profile, const QString &host) const;

    CameraOptions m_options;
    std::uint16_t m_rtspPort;
    std::uint16_t m_onvifPort;
    QString m_identity; ///< A UUID that stays the same if the camera is started again.
};

} // namespace lumvik::test
