#include "supervision/LossNotice.h"

#include <gtest/gtest.h>

#include <string>

namespace lumvik::test {
namespace {

using Action = LossNotice::Action;

/// Drives a rule like its owner: at every change, and at the times that it asks for.
class LossNoticeTest : public testing::Test {
  protected:
    void apply(Action action) {
        switch (action) {
        case Action::none:
            break;
        case Action::reportLoss:
            reports += 'L';
            break;
        case Action::reportReturn:
            reports += 'R';
            break;
        case Action::withdraw:
            reports += 'W';
            break;
        }
    }
    void update() { apply(notice.update(situation)); }
    void pass(double seconds) {
        const TimeStamp end = situation.now + seconds;
        for (auto next = notice.nextUpdate(); next && *next <= end; next = notice.nextUpdate()) {
            ASSERT_GE(*next, situation.now);
            situation.now = *next;
            update();
            ASSERT_NE(notice.nextUpdate(), next) << "the owner would call without end";
        }
        situation.now = end;
    }
    void setLive(bool isLive) {
        situation.isLive = isLive;
        update();
    }

    LossNotice notice;
    LossNotice::Situation situation{.now = 1000, .isEnabled = true, .hasCamera = true};
    std::string reports;
};

TEST_F(LossNoticeTest, AFewPicturesNowAndThenDoNotEndALoss) {
    setLive(true);
    pass(100);
    for (int times = 0; times < 3; ++times) {
        setLive(false);
        pass(9);
        setLive(true);
        pass(1);
    }
    EXPECT_EQ(reports, "");
    setLive(false);
    EXPECT_EQ(reports, "L");
    setLive(true);
    pass(4);
    EXPECT_EQ(reports, "L");
    pass(2);
    EXPECT_EQ(reports, "LR");
}

TEST_F(LossNoticeTest, LossIsReportedAfterHalfAMinuteAndItsEndWhenItHasLasted) {
    setLive(true);
    pass(100);
    setLive(false);
    pass(29.9);
    EXPECT_EQ(reports, "");
    pass(0.2);
    EXPECT_EQ(reports, "L");
    pass(3600);
    EXPECT_EQ(reports, "L");
    setLive(true);
    pass(4.9);
    EXPECT_EQ(reports, "L");
    pass(0.2);
    EXPECT_EQ(reports, "LR");
    EXPECT_NEAR(notice.lengthOfLoss(), 3630.1, 0.001);
    pass(100);
    EXPECT_EQ(reports, "LR");
}

TEST_F(LossNoticeTest, CameraThatNeverShowsAPictureIsReported) {
    update();
    pass(31);
    EXPECT_EQ(reports, "L");
}

TEST_F(LossNoticeTest, ShortLossesAreNotReported) {
    for (int round = 0; round < 20; ++round) {
        setLive(false);
        pass(25);
        setLive(true);
        pass(6);
    }
    EXPECT_EQ(reports, "");
}

TEST_F(LossNoticeTest, PicturesInBetweenAreNotReportedAsAReturn) {
    setLive(false);
    pass(31);
    for (int round = 0; round < 20; ++round) {
        setLive(true);
        pass(3);
        setLive(false);
        pass(40);
    }
    EXPECT_EQ(reports, "L");
    setLive(true);
    pass(6);
    EXPECT_EQ(reports, "LR");
}

TEST_F(LossNoticeTest, NothingIsReportedDuringSleep) {
    setLive(false);
    pass(20);
    situation.isSleeping = true;
    update();
    pass(10000);
    EXPECT_EQ(reports, "");
    situation.isSleeping = false;
    update();
    pass(29);
    EXPECT_EQ(reports, "") << "the time begins anew";
    pass(2);
    EXPECT_EQ(reports, "L");
}

TEST_F(LossNoticeTest, EndOfALossIsReportedAfterSleep) {
    setLive(false);
    pass(31);
    situation.isSleeping = true;
    update();
    pass(10000);
    situation.isSleeping = false;
    setLive(true);
    pass(6);
    EXPECT_EQ(reports, "LR");
    EXPECT_NEAR(notice.lengthOfLoss(), 10031, 0.001);
}

TEST_F(LossNoticeTest, NothingIsReportedUnlessTheUserWantsItAndThereIsACamera) {
    situation.isEnabled = false;
    setLive(false);
    pass(100);
    situation.isEnabled = true;
    situation.hasCamera = false;
    update();
    pass(100);
    EXPECT_EQ(reports, "");
    situation.hasCamera = true;
    update();
    pass(31);
    EXPECT_EQ(reports, "L") << "counted from when both hold";
}

TEST_F(LossNoticeTest, ReportIsWithdrawnWhenItIsOfNoInterest) {
    setLive(false);
    pass(31);
    situation.isEnabled = false;
    update();
    EXPECT_EQ(reports, "LW");
    situation.isEnabled = true;
    update();
    pass(31);
    apply(notice.cameraWasChosen());
    EXPECT_EQ(reports, "LWLW");
    update();
    pass(31);
    EXPECT_EQ(reports, "LWLWL") << "the other camera is lost, too";
    apply(notice.cameraWasChosen());
    apply(notice.cameraWasChosen());
    EXPECT_EQ(reports, "LWLWLW") << "once";
}

TEST(LossNotificationTest, SaysWhatAndWhy) {
    const Notification loss = notificationOfLoss(QStringLiteral("Front Door"),
                                                 QStringLiteral("192.0.2.7 does not answer."));
    EXPECT_EQ(loss.title, QStringLiteral("No live picture from Front Door"));
    EXPECT_EQ(loss.text, QStringLiteral("192.0.2.7 does not answer."));
    EXPECT_TRUE(loss.isUrgent);
}

TEST(LossNotificationTest, SaysHowLongTheLossLasted) {
    const auto text = [](double length) {
        return notificationOfReturn(QStringLiteral("Front Door"), length).text.toStdString();
    };
    EXPECT_EQ(text(35.9), "There was no live picture for 35 seconds.");
    EXPECT_EQ(text(119), "There was no live picture for 119 seconds.");
    EXPECT_EQ(text(120), "There was no live picture for 2 minutes.");
    EXPECT_EQ(text(7199), "There was no live picture for 119 minutes.");
    EXPECT_EQ(text(7200), "There was no live picture for 2 hours.");
    EXPECT_EQ(text(172799), "There was no live picture for 47 hours.");
    EXPECT_EQ(text(172800), "There was no live picture for 2 days.");
    const Notification end = notificationOfReturn(QStringLiteral("Front Door"), 60);
    EXPECT_EQ(end.title, QStringLiteral("Front Door is live again"));
    EXPECT_FALSE(end.isUrgent);
}

} // namespace
} // namespace lumvik::test
