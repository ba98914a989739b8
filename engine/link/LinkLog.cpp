#include "engine/link/LinkLog.h"

#include "platform/LumvikLog.h"

namespace lumvik {

void logLinkFact(const LinkFact &fact) {
    const LogChannel &log = LumvikLog::network();
    switch (fact.kind) {
    case LinkFact::Kind::Connecting:
    case LinkFact::Kind::Described:
    case LinkFact::Kind::Measured: // several times a second
        break;
    case LinkFact::Kind::Answered:
        log.debug(QStringLiteral("The camera answered %1 with status %2.")
                      .arg(QString::fromLatin1(fact.method))
                      .arg(fact.status));
        break;
    case LinkFact::Kind::Connected:
        log.debug(QStringLiteral("The camera accepted the connection."));
        break;
    case LinkFact::Kind::FirstPacket:
        log.debug(QStringLiteral("The camera has begun to send."));
        break;
    case LinkFact::Kind::ConnectingFailed:
        log.log(QStringLiteral("The camera could not be connected to."));
        break;
    case LinkFact::Kind::LoginRefused:
        log.error(QStringLiteral("The camera refuses the user name or password."));
        break;
    case LinkFact::Kind::Redirected:
        log.log(QStringLiteral("The camera redirects to another address of its host."));
        break;
    case LinkFact::Kind::RedirectRefused:
        log.error(QStringLiteral("The camera redirects to another host, or too often; the redirect "
                                 "is not followed."));
        break;
    case LinkFact::Kind::DescribedNoVideo:
        log.error(QStringLiteral("The camera's stream contains no video."));
        break;
    case LinkFact::Kind::PictureIsLate:
        log.error(QStringLiteral("The video engine is far behind the camera; its pictures are "
                                 "not shown."));
        break;
    case LinkFact::Kind::PictureIsInTime:
        log.log(QStringLiteral("The video engine has caught up with the camera."));
        break;
    case LinkFact::Kind::PicturesOmitted:
        if (fact.isRepeated)
            break;
        log.log(QStringLiteral("The video engine was behind the camera; old pictures were left "
                               "out."));
        break;
    case LinkFact::Kind::MarkersWrong:
        log.info(QStringLiteral("The camera marks the end of its pictures wrongly; each picture is "
                                "shown when the next one begins."));
        break;
    case LinkFact::Kind::NotRtsp:
        log.error(QStringLiteral("The camera sends something that is not RTSP."));
        break;
    case LinkFact::Kind::TooLarge:
        log.error(QStringLiteral("The camera sends a message or a picture beyond all bounds; the "
                                 "connection is closed."));
        break;
    case LinkFact::Kind::EndedByCamera:
        log.log(QStringLiteral("The camera closed the connection."));
        break;
    case LinkFact::Kind::EndedByEngine:
        log.debug(QStringLiteral("The engine closed the connection."));
        break;
    case LinkFact::Kind::IntruderRefused:
        log.error(QStringLiteral("Another program tried to connect to the engine's port and was "
                                 "refused."));
        break;
    }
}

} // namespace lumvik
