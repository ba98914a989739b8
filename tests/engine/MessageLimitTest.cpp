#include "engine/MessageLimit.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

TEST(MessageLimitTest, TenMessagesOfAKindAreAdmittedWithinAMinute) {
    MessageLimit limit;
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(limit.admits(u"[ffmpeg] RTP: missed %1 packets"_s.arg(i), 0.01 * i), i < 10) << i;
    EXPECT_TRUE(limit.admits(u"[ffmpeg] another message"_s, 10));
    EXPECT_TRUE(limit.takeSummaries(59).isEmpty());
    EXPECT_EQ(
        limit.takeSummaries(60),
        QStringList{
            u"990 more messages like this one were left out: [ffmpeg] RTP: missed 9 packets"_s});
    EXPECT_TRUE(limit.takeSummaries(61).isEmpty());
    EXPECT_TRUE(limit.admits(u"[ffmpeg] RTP: missed 5 packets"_s, 61));
}

TEST(MessageLimitTest, AMinuteBeginsWithTheFirstMessageOfItsKind) {
    MessageLimit limit;
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(limit.admits(u"error 1"_s, 100));
    EXPECT_FALSE(limit.admits(u"error 2"_s, 159));
    EXPECT_TRUE(limit.admits(u"error 3"_s, 160));
}

TEST(MessageLimitTest, KindsWithoutOmittedMessagesAreForgottenSilently) {
    MessageLimit limit;
    EXPECT_TRUE(limit.admits(u"once"_s, 0));
    EXPECT_TRUE(limit.takeSummaries(1000).isEmpty());
}

TEST(MessageLimitTest, NumberOfKindsIsBounded) {
    MessageLimit limit;
    int admitted = 0;
    for (int i = 0; i < 10'000; ++i) {
        QString letters;
        for (int rest = i; rest > 0; rest /= 26)
            letters += QChar(u'a' + rest % 26);
        admitted += limit.admits(letters + u"!"_s, 0) ? 1 : 0;
    }
    EXPECT_EQ(admitted, MessageLimit::mostKinds + MessageLimit::mostMessages - 1)
        << "One of the kinds is the one without letters, which the others then share.";
}

} // namespace
} // namespace lumvik
