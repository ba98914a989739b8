#include "engine/DelimiterComplaints.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

const QString remainderMissing = u"NULL: missing picture in access unit with size 6"_s;
const QString remainderNoFrame = u"h264: no frame!"_s;
const QString remainderFailure = u"Error while decoding frame!"_s;

TEST(DelimiterComplaintsTest, ContainTheThreeMessagesAboutADelimiter) {
    DelimiterComplaints complaints;
    for (const QString &text : {remainderMissing, remainderNoFrame, remainderFailure})
        EXPECT_TRUE(complaints.contain(text)) << text.toStdString();
    EXPECT_FALSE(complaints.contain(remainderFailure)) << "A further failure has another cause.";
}

TEST(DelimiterComplaintsTest, DoNotContainTheSameWordsAboutAPicture) {
    DelimiterComplaints complaints;
    EXPECT_FALSE(complaints.contain(remainderNoFrame));
    EXPECT_FALSE(complaints.contain(remainderFailure));
    EXPECT_FALSE(complaints.contain(u"NULL: missing picture in access unit with size 60"_s));
    EXPECT_TRUE(complaints.contain(remainderMissing));
    EXPECT_FALSE(complaints.contain(u"RTP: missed 3 packets"_s));
    EXPECT_FALSE(complaints.contain(remainderNoFrame)) << "Another message has come in between.";
}

} // namespace
} // namespace lumvik
