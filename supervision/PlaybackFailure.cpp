#include "supervision/PlaybackFailure.h"

#include <QRegularExpression>

namespace lumvik {

namespace {

/// Returns `host` as it appears in a sentence: an IPv6 address has brackets, because a port may
/// follow, and an unknown host is "The camera" at the beginning of a sentence.
QString named(const QString &host) {
    if (host.isEmpty())
        return QStringLiteral("The camera");
    return host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(host) : host;
}

} // namespace

std::optional<PlaybackFailure> failureForStatus(int status) {
    switch (status) {
    case 401:
        return std::nullopt;
    case 403:
        return PlaybackFailure{PlaybackCause::forbidden};
    case 404:
    case 454:
        return PlaybackFailure{PlaybackCause::noSuchStream};
    case 453:
    case 503:
        return PlaybackFailure{PlaybackCause::tooManyViewers};
    case 461:
        return PlaybackFailure{PlaybackCause::notOverTcp};
    default:
        if (status < 400)
            return std::nullopt;
        return PlaybackFailure{PlaybackCause::cameraError, status};
    }
}

std::optional<PlaybackFailure> failureForEngineMessage(const QString &message,
                                                       bool engineIsConnected) {
    // For example "Failed to initialize a decoder for codec 'av1'."
    static const QRegularExpression noDecoder(
        QStringLiteral("decoder for codec '([A-Za-z0-9_]{1,20})'"));
    if (const auto match = noDecoder.match(message); match.hasMatch())
        return PlaybackFailure{PlaybackCause::cannotDecode, 0, match.captured(1).toUpper()};
    // For example "rtsp: method DESCRIBE failed: 404 Not Found".
    static const QRegularExpression refusedRequest(
        QStringLiteral("method (?:OPTIONS|DESCRIBE|SETUP|PLAY) failed: ([0-9]{3})\\b"));
    if (const auto match = refusedRequest.match(message); engineIsConnected && match.hasMatch()) {
        const int status = match.captured(1).toInt();
        // The engine has tried to log in before it says so.
        return status == 401 ? PlaybackFailure{PlaybackCause::wrongPassword}
                             : failureForStatus(status);
    }
    return std::nullopt;
}

QString explanation(const PlaybackFailure &failure, const QString &host, int port) {
    switch (failure.cause) {
    case PlaybackCause::unusableAddress:
        return QStringLiteral("The address of this camera cannot be used.");
    case PlaybackCause::noNetwork:
        return QStringLiteral("This computer is not connected to a network.");
    case PlaybackCause::nameNotFound:
        return host.isEmpty() ? QStringLiteral("The name of the camera is not known.")
                              : QStringLiteral("The name %1 is not known.").arg(host);
    case PlaybackCause::noNameServer:
        return host.isEmpty() ? QStringLiteral("No name server answers.")
                              : QStringLiteral("No name server answers for %1.").arg(host);
    case PlaybackCause::refused:
        return host.isEmpty() ? QStringLiteral("The camera refuses connections.")
                              : QStringLiteral("%1 refuses connections on port %2.")
                                    .arg(named(host))
                                    .arg(port);
    case PlaybackCause::noAnswer:
        return QStringLiteral("%1 does not answer.").arg(named(host));
    case PlaybackCause::wrongPassword:
        return QStringLiteral("The camera refuses the user name or password.");
    case PlaybackCause::forbidden:
        return QStringLiteral("The camera does not let this user see this stream.");
    case PlaybackCause::noSuchStream:
        return QStringLiteral("The camera has no stream at this path.");
    case PlaybackCause::tooManyViewers:
        return QStringLiteral("The camera cannot serve another viewer now.");
    case PlaybackCause::notOverTcp:
        return QStringLiteral("The camera does not send over TCP.");
    case PlaybackCause::cameraError:
        return QStringLiteral("The camera answers with an error (%1).").arg(failure.status);
    case PlaybackCause::notRtsp:
        return host.isEmpty() ? QStringLiteral("What answers is not an RTSP camera.")
                              : QStringLiteral("What answers at %1:%2 is not an RTSP camera.")
                                    .arg(named(host))
                                    .arg(port);
    case PlaybackCause::redirected:
        return QStringLiteral("The camera redirects to an address that Lumvik does not follow.");
    case PlaybackCause::tooLarge:
        return QStringLiteral("The camera sends more data at once than Lumvik accepts.");
    case PlaybackCause::noVideo:
        return QStringLiteral("The stream has no video.");
    case PlaybackCause::cannotDecode:
        return QStringLiteral("This computer cannot decode %1.")
            .arg(failure.format.isEmpty() ? QStringLiteral("this video") : failure.format);
    case PlaybackCause::noPicture:
        return QStringLiteral("The camera answers but sends no picture.");
    case PlaybackCause::streamEnded:
        return QStringLiteral("The camera ended the stream.");
    case PlaybackCause::unknown:
        return QStringLiteral("The cause is unknown.");
    }
    return {};
}

} // namespace lumvik
