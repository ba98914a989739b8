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
              u"What answers at cam.example:8554 is no RTSP camera."_s);
    EXPECT_EQ(text(PlaybackCause::nameNotFound, u"kamera"_s), u"The name kamera is not known."_s);
    EXPECT_EQ(explanation({PlaybackCause::cameraError, 500, {}}, {}, 554),
              u"The camera answers with an error (500)."_s);
    EXPECT_EQ(explanation({PlaybackCause::cannotDecode, 0, u"MPEG-4"_s}, {}, 554),
              u"This computer cannot decode MPEG-4."_s);
}

} // namespace
} // namespace lumvik::test
