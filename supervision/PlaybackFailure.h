#pragma once

#include <QString>

#include <optional>

namespace lumvik {

/// Why there is no picture from a camera.
enum class PlaybackCause {
    unknown,
    unusableAddress, ///< The camera's address is not an RTSP address.
    noNetwork,       ///< This computer has no network path.
    nameNotFound,    ///< The name in the address does not exist.
    noNameServer,    ///< No name server could be asked.
    refused,         ///< The host refuses connections on the port.
    noAnswer,        ///< The host cannot be reached, or accepts a connection and stays silent.
    wrongPassword,   ///< The camera refuses the user name or password.
    forbidden,       ///< The user may not see the stream.
    noSuchStream,    ///< The camera has no stream at the path.
    tooManyViewers,  ///< The camera cannot serve another viewer.
    notOverTcp,      ///< The camera does not offer the transport.
    cameraError,     ///< Another RTSP status.
    notRtsp,         ///< The host answers, but not as an RTSP camera.
    redirected,      ///< The camera redirects to another host, or too often.
    tooLarge,        ///< The camera sends more at once than the link accepts.
    noVideo,         ///< The stream has no video.
    cannotDecode,    ///< The engine has no decoder for the stream.
    noPicture,       ///< The camera answers, but sends no picture.
    streamEnded,     ///< The camera has ended the stream.
};

/// A cause with what its explanation needs.
struct PlaybackFailure {
    PlaybackCause cause = PlaybackCause::unknown;
    int status = 0;      ///< The RTSP status, with `cameraError` only.
    QString format = {}; ///< The video's format, with `cannotDecode` only.

    friend bool operator==(const PlaybackFailure &, const PlaybackFailure &) = default;
};

/// Returns the failure that an RTSP status means, or nothing for a status that is none: success, a
/// redirect, or 401, which is often only a request to log in.
[[nodiscard]] std::optional<PlaybackFailure> failureForStatus(int status);

/// Returns the failure that a message of the engine means, or nothing for any other message.
/// `engineIsConnected` is whether the engine is connected to the camera itself. Otherwise, what it
/// says about the camera's answers is not about the camera.
[[nodiscard]] std::optional<PlaybackFailure> failureForEngineMessage(const QString &message,
                                                                     bool engineIsConnected);

/// Returns one sentence that explains `failure` to the user. `host` and `port` are those of the
/// camera; nothing else of its address may appear. If `host` is empty, the sentence names neither.
[[nodiscard]] QString explanation(const PlaybackFailure &failure, const QString &host, int port);

} // namespace lumvik
