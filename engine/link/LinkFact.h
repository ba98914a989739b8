#pragma once

#include "platform/network/NetworkConnection.h"

#include <QByteArray>

#include <chrono>
#include <vector>

namespace lumvik {

/// What a camera link has measured of the video that arrives.
struct StreamMeasure {
    double lateness = 0; ///< How much later than usual the newest picture is, in seconds.
    /// The largest lateness of the pictures since the previous measurement, in seconds.
    double largestLateness = 0;
    /// The same with delays that may also be due to wrong time stamps, in seconds.
    double suspectedLateness = 0;
    double picturesPerSecond = 0; ///< 0 during the first second.
    double bitsPerSecond = 0;     ///< 0 during the first second.
    /// When the last packets of the pictures since the previous measurement arrived.
    std::vector<std::chrono::steady_clock::time_point> arrivals = {};
};

/// Something that a camera link has found out. A plain value, without any part of the camera's
/// address, user name or password.
struct LinkFact {
    enum class Kind {
        Connecting,       ///< Looking up the name or connecting.
        Connected,        ///< A TCP connection to the camera exists.
        ConnectingFailed, ///< Refused, unreachable, not found, or no route.
        Answered,         ///< The camera has answered a request: `method` and `status`.
        LoginRefused,     ///< The camera refuses the user name or password, or wants one.
        Redirected,       ///< The link follows a redirect to another port or path of the host.
        RedirectRefused,  ///< A redirect to another host, or too many redirects.
        Described,        ///< The camera has described a stream that contains video.
        DescribedNoVideo, ///< The camera has described a stream without video.
        FirstPacket,      ///< The first packet of media has arrived.
        Measured,         ///< `measure`, several times a second while video arrives.
        PictureIsLate,    ///< The engine is so far behind that its pictures are old.
        PictureIsInTime,  ///< The engine has caught up.
        PicturesOmitted,  ///< Old pictures were left out, because the engine was behind.
        MarkersWrong,     ///< Delimiters are not added, because markers are set within pictures.
        NotRtsp,          ///< The camera sends bytes that are not RTSP.
        TooLarge,         ///< A message, picture or description exceeds all reasonable bounds.
        EndedByCamera,    ///< The camera has closed the connection.
        EndedByEngine,    ///< The engine has closed its connection.
        IntruderRefused,  ///< Another process has connected to the link's port.
    };

    Kind kind = Kind::Connecting;
    QByteArray method = {}; ///< Of the request, with `Answered` only.
    int status = 0;         ///< With `Answered` only.
    /// With `ConnectingFailed` only.
    ConnectionFailure failure = ConnectionFailure::none;
    StreamMeasure measure = {}; ///< With `Measured` only.
    /// Whether the same was reported less than a minute ago, with `PicturesOmitted` only. Need not
    /// be logged again.
    bool isRepeated = false;
    /// Whether the request contained a login, with `Answered` and `LoginRefused` only. A camera
    /// that wants a login has refused nothing as long as none was sent.
    bool hadLogin = false;
};

} // namespace lumvik
