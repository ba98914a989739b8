#include "supervision/PlaybackFailure.h"

#include <gtest/gtest.h>

#include <array>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

TEST(PlaybackFailure, FollowsFromTheRtspStatus) {
    EXPECT_FALSE(failureForStatus(200));
    EXPECT_FALSE(failureForStatus(302));
    EXPECT_FALSE(failureForStatus(401)) << "often only a request to log in";
    EXPECT_FALSE(failureForStatus(-7));
    struct Case {
        int status;
        PlaybackCause cause;
    };
    for (const Case &each :
         {Case{403, PlaybackCause::forbidden}, Case{404, PlaybackCause::noSuchStream},
          Case{454, PlaybackCause::noSuchStream}, Case{453, PlaybackCause::tooManyViewers},
          Case{503, PlaybackCause::tooManyViewers}, Case{461, PlaybackCause::notOverTcp},
          Case{400, PlaybackCause::cameraError}, Case{500, PlaybackCause::cameraError}})
        EXPECT_EQ(failureForStatus(each.status).value_or(PlaybackFailure()).cause, each.cause)
            << each.status;
    EXPECT_EQ(failureForStatus(551).value_or(PlaybackFailure()).status, 551);
}

TEST(PlaybackFailure, FollowsFromMessagesOfTheEngine) {
    const auto failure = [](const QString &message, bool engineIsConnected) {
        return failureForEngineMessage(message, engineIsConnected).value_or(PlaybackFailure());
    };
    const QString noDecoder = u"Failed to initialize a decoder for codec 'av1'."_s;
    for (const bool engineIsConnected : {false, true}) {
        EXPECT_EQ(failure(noDecoder, engineIsConnected),
                  (PlaybackFailure{PlaybackCause::cannotDecode, 0, u"AV1"_s}));
        EXPECT_FALSE(
            failureForEngineMessage(u"No video PTS! Making something up."_s, engineIsConnected));
    }
    const QString refused = u"rtsp: method %1 failed: %2"_s;
    EXPECT_EQ(failure(refused.arg(u"DESCRIBE"_s, u"404 Not Found"_s), true).cause,
              PlaybackCause::noSuchStream);
    EXPECT_EQ(failure(refused.arg(u"DESCRIBE"_s, u"401 Unauthorized"_s), true).cause,
              PlaybackCause::wrongPassword);
    EXPECT_EQ(failure(refused.arg(u"SETUP"_s, u"500 Error"_s), true).status, 500);
    EXPECT_FALSE(failureForEngineMessage(refused.arg(u"DESCRIBE"_s, u"403 Refused"_s), false))
        << "the link has reported the camera's own answer";
    EXPECT_FALSE(failureForEngineMessage(refused.arg(u"GET_PARAMETER"_s, u"501 No"_s), true))
        << "the picture does not depend on it";
}

TEST(PlaybackFailure, EachCauseHasASentenceOfItsOwn) {
    QStringList sentences;
    for (int cause = 0; cause <= static_cast<int>(PlaybackCause::streamEnded); ++cause) {
        const QString sentence =
            explanation({static_cast<PlaybackCause>(cause), 0, {}}, u"cam.example"_s, 554);
        EXPECT_TRUE(sentence.endsWith(u'.')) << cause;
        EXPECT_FALSE(sentences.contains(sentence)) << qPrintable(sentence);
        sentences.append(sentence);
    }
}

TEST(PlaybackFailure, ExplanationNamesHostAndPortWhereTheyHelp) {
    const auto text = [](PlaybackCause cause, const QString &host) {
        return explanation({cause, 0, {}}, host, 8554);
    };
    EXPECT_EQ(text(PlaybackCause::refused, u"cam.example"_s),
              u"cam.example refuses connections on port 8554."_s);
    EXPECT_EQ(text(PlaybackCause::refused, u"fe80::7%eth0"_s),
              u"[fe80::7%eth0] refuses connections on port 8554."_s);
    EXPECT_EQ(text(PlaybackCause::noAnswer, u""_s), u"The camera does not answer."_s);
    EXPECT_EQ(text(PlaybackCause::notRtsp, u"cam.example"_s),
              u"What answers at cam.example:8554 is not an RTSP camera."_s);
    EXPECT_EQ(text(PlaybackCause::nameNotFound, u"kamera"_s), u"The name kamera is not known."_s);
    EXPECT_EQ(explanation({PlaybackCause::cameraError, 500, {}}, {}, 554),
              u"The camera answers with an error (500)."_s);
    EXPECT_EQ(explanation({PlaybackCause::cannotDecode, 0, u"MPEG-4"_s}, {}, 554),
              u"This computer cannot decode MPEG-4."_s);
}

} // namespace
} // namespace lumvik::test
