#pragma once

#include "discovery/XmlTree.h"

#include <QByteArray>
#include <QDateTime>
#include <QHostAddress>
#include <QSize>
#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

// The messages of ONVIF that are needed to find a camera's streams, as pure functions. They are
// those of ONVIF's core specification and of its first media service, which all cameras have.

namespace lumvik {

/// The limits for a reply of a camera. A list of sixteen profiles has up to 200 KB.
inline constexpr XmlLimits onvifLimits{.bytes = 1'048'576, .depth = 32, .elements = 50'000};

/// The number of profiles after which further ones are ignored.
inline constexpr std::size_t mostOnvifProfiles = 16;

enum class OnvifCall {
    getSystemDateAndTime,
    getServices,
    getCapabilities,
    getProfiles,
    getStreamUri,
};

/// A user name and a password, as the user types them.
struct OnvifLogin {
    QString user; ///< Empty if the camera is to be asked without a login.
    QString password;
};

/// What proves in a request that the client knows the password: WS-Security's UsernameToken with a
/// digest. The camera refuses a token whose time is too far from the camera's own.
struct UsernameToken {
    OnvifLogin login;
    QDateTime created; ///< In UTC, by the camera's clock.
    QByteArray nonce;  ///< Random bytes, new ones for each request.
};

/// Returns a request. `profile` is the token of the profile for getStreamUri.
[[nodiscard]] QByteArray onvifRequest(OnvifCall call, const std::optional<UsernameToken> &token,
                                      const QString &profile = {});

/// Returns the value of the Content-Type header of a request.
[[nodiscard]] QByteArray onvifContentType(OnvifCall call);

/// Returns the digest in a token.
[[nodiscard]] QByteArray passwordDigest(const UsernameToken &token);

/// What a camera has replied to a request.
enum class OnvifReplyKind {
    success,
    notAuthorized, ///< The camera wants a login, or has refused it.
    fault,         ///< The camera has refused the request for another reason.
    redirection,   ///< The camera wants the request to be sent elsewhere.
    notOnvif,      ///< The reply is not a message of ONVIF or is beyond a limit.
};

/// A camera's reply.
struct OnvifReply {
    OnvifReplyKind kind = OnvifReplyKind::notOnvif;
    XmlElement content; ///< The element in the body; only if `kind` is success.
};

/// Reads the reply to a call.
[[nodiscard]] OnvifReply onvifReply(OnvifCall call, int httpStatus, const QByteArray &body);

/// The times that a camera reports. Both are given as if they were UTC.
struct OnvifClock {
    std::optional<QDateTime> utc;
    std::optional<QDateTime> local;
};

/// Reads the reply to getSystemDateAndTime.
[[nodiscard]] OnvifClock onvifClock(const XmlElement &content);

/// Returns the time in a Date header of HTTP, in UTC.
[[nodiscard]] std::optional<QDateTime> httpDate(const QByteArray &value);

/// Returns the address of the media service in the reply to getServices or getCapabilities, with
/// `host` as its host, or nothing.
[[nodiscard]] std::optional<QUrl> mediaService(OnvifCall call, const XmlElement &content,
                                               const QHostAddress &host);

/// One of the streams of a camera. Everything is what the camera says; sizes, rates and texts may
/// be missing.
struct OnvifProfile {
    QString token = {}; ///< The camera's identifier for the profile.
    QString name = {};
    QSize size = {};            ///< Of the picture, in pixels. Empty if unknown.
    double framesPerSecond = 0; ///< The limit of the encoder; 0 if unknown.
    QString codec = {};         ///< For example "H264". Empty if unknown.
    /// The address of the stream, without user name and password. Begins with "rtsp://" or
    /// "rtsps://". Empty until getStreamUri has been replied to.
    QString address = {};

    friend bool operator==(const OnvifProfile &, const OnvifProfile &) = default;
};

/// Reads the reply to getProfiles. Profiles without video are left out, and so are those after the
/// first `mostOnvifProfiles`.
[[nodiscard]] std::vector<OnvifProfile> onvifProfiles(const XmlElement &content);

/// Returns the address in the reply to getStreamUri, with `host` as its host, or an empty text if
/// there is none that can be played. A camera that has moved, or that is behind a router, reports a
/// host that leads nowhere or to another device.
[[nodiscard]] QString streamAddress(const XmlElement &content, const QHostAddress &host);

} // namespace lumvik
