#include "supervision/PictureNoticeText.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

const QDateTime afternoon(QDate(2026, 3, 9), QTime(17, 30));

PictureNoticeFacts frontDoor() {
    return {.camera = u"Front Door"_s,
            .cause = u"Because."_s,
            .next = {.kind = NextAttempt::Kind::scheduled, .seconds = 12},
            .now = afternoon};
}

TEST(PictureNoticeText, LivePictureIsConfirmedOnlyWithTheControls) {
    PictureNoticeFacts facts = frontDoor();
    EXPECT_EQ(pictureNoticeText({.condition = PictureCondition::live}, facts), PictureNoticeText());
    facts.controlsAreShown = true;
    EXPECT_EQ(pictureNoticeText({.condition = PictureCondition::live}, facts),
              (PictureNoticeText{.pill = u"Live"_s, .spoken = u"Live"_s}));
}

TEST(PictureNoticeText, PillSaysHowOldThePictureIs) {
    EXPECT_EQ(pictureNoticeText({.condition = PictureCondition::stale, .seconds = 3}, frontDoor()),
              (PictureNoticeText{.pill = u"Not live · 3 s"_s, .spoken = u"Not live"_s}));
    EXPECT_EQ(pictureNoticeText({.condition = PictureCondition::late, .seconds = 4}, frontDoor()),
              (PictureNoticeText{.pill = u"Late by 4 s"_s, .spoken = u"Late"_s}));
}

TEST(PictureNoticeText, StartIsAnnouncedAfterASecond) {
    EXPECT_EQ(pictureNoticeText({.condition = PictureCondition::starting}, frontDoor()),
              PictureNoticeText());
    EXPECT_EQ(
        pictureNoticeText({.condition = PictureCondition::starting, .seconds = 1}, frontDoor()),
        (PictureNoticeText{.title = u"Connecting to Front Door…"_s,
                           .spoken = u"Connecting to Front Door…"_s}));
}

TEST(PictureNoticeText, MessageSaysWhatWhyAndWhatNext) {
    const PictureState lost{.condition = PictureCondition::lost};
    PictureNoticeFacts facts = frontDoor();
    EXPECT_EQ(pictureNoticeText(lost, facts),
              (PictureNoticeText{
                  .title = u"No picture from Front Door"_s,
                  .cause = u"Because."_s,
                  .next = u"Trying again in 12 s"_s,
                  .offersActions = true,
                  .spoken = u"No picture from Front Door\nBecause.\nLumvik keeps trying."_s}));
    facts.lastFrameTime = QDateTime(afternoon.date(), QTime(17, 3));
    EXPECT_EQ(pictureNoticeText(lost, facts).title, u"No picture from Front Door since 17:03"_s);
    facts.lastFrameTime = QDateTime(afternoon.date().addDays(-1), QTime(9, 5));
    EXPECT_EQ(pictureNoticeText(lost, facts).title,
              u"No picture from Front Door since 8 March, 09:05"_s);
}

TEST(PictureNoticeText, EachKindOfNextAttemptHasItsText) {
    const auto next = [](const NextAttempt &attempt) {
        PictureNoticeFacts facts = frontDoor();
        facts.next = attempt;
        return pictureNoticeText({.condition = PictureCondition::lost}, facts).next;
    };
    EXPECT_EQ(next({}), u"Trying now"_s);
    EXPECT_EQ(next({.kind = NextAttempt::Kind::waitingForNetwork}), u"Waiting for the network"_s);
    EXPECT_EQ(next({.kind = NextAttempt::Kind::afterLoginPause,
                    .time = QDateTime(afternoon.date(), QTime(17, 38))}),
              u"Trying again at 17:38, so that the camera does not lock this account."_s);
    EXPECT_EQ(next({.kind = NextAttempt::Kind::none}), QString());
}

TEST(PictureNoticeText, LongNameIsShortened) {
    PictureNoticeFacts facts = frontDoor();
    facts.camera = QString(1000, u'a');
    EXPECT_EQ(pictureNoticeText({.condition = PictureCondition::lost}, facts).title,
              u"No picture from "_s + QString(39, u'a') + u'…');
}

TEST(PictureNoticeText, SpokenTextCountsNoSeconds) {
    PictureNoticeFacts facts = frontDoor();
    facts.cause = u"HOST does not answer."_s;
    const auto spoken = [&facts](PictureCondition condition, int seconds) {
        facts.next = {.kind = NextAttempt::Kind::scheduled, .seconds = seconds};
        return pictureNoticeText({.condition = condition, .seconds = seconds}, facts).spoken;
    };
    for (const auto each :
         {PictureCondition::stale, PictureCondition::late, PictureCondition::lost})
        EXPECT_EQ(spoken(each, 3), spoken(each, 4));
    EXPECT_EQ(spoken(PictureCondition::stale, 3), u"Not live"_s);
    EXPECT_EQ(spoken(PictureCondition::lost, 3),
              u"No picture from Front Door\nHOST does not answer.\nLumvik keeps trying."_s);
    EXPECT_EQ(spoken(PictureCondition::starting, 3), u"Connecting to Front Door…"_s);
    facts.controlsAreShown = false;
    EXPECT_EQ(spoken(PictureCondition::live, 0), QString());
}

TEST(PictureNoticeText, SpokenTextEndsWithWhatIsWaitedFor) {
    PictureNoticeFacts facts = frontDoor();
    const auto last = [&facts](const NextAttempt &attempt) {
        facts.next = attempt;
        const QString spoken =
            pictureNoticeText({.condition = PictureCondition::lost}, facts).spoken;
        return spoken.section(u'\n', -1);
    };
    EXPECT_EQ(last({.kind = NextAttempt::Kind::underWay}), u"Lumvik keeps trying."_s);
    EXPECT_EQ(last({.kind = NextAttempt::Kind::waitingForNetwork}), u"Waiting for the network"_s);
    EXPECT_EQ(last({.kind = NextAttempt::Kind::none}), u"Because."_s);
}

TEST(PictureNoticeText, SpokenStatesDiffer) {
    QStringList states;
    for (const auto each :
         {PictureCondition::none, PictureCondition::starting, PictureCondition::live,
          PictureCondition::late, PictureCondition::stale, PictureCondition::lost}) {
        EXPECT_FALSE(states.contains(spokenPictureState(each)));
        states.append(spokenPictureState(each));
    }
}

} // namespace
} // namespace lumvik::test
