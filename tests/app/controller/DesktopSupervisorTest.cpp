#include "app/controller/DesktopSupervisor.h"

#include "ControllerFixture.h"

namespace lumvik::test {
namespace {

class DesktopSupervisorTest : public ControllerFixture {
  protected:
    void turnOn(const QString &title) { menuItem(title)->trigger(); }
    void notifyOfLoss() { turnOn(u"Notify When the Picture Is Lost"_s); }
    void keepScreenOn() { turnOn(u"Keep Screen On"_s); }
    /// Passes `seconds`, in which frames are shown, or not.
    void pass(double seconds, bool showsFrames) {
        constexpr double interval = 0.2;
        for (double passed = 0; passed < seconds; passed += interval) {
            if (showsFrames)
                delegate->recordRenderedFrame(playerGeneration());
            queue.advance(interval);
        }
    }
    [[nodiscard]] QStringList titles() const {
        QStringList titles;
        for (const Notification &each : notifier.shown)
            titles.append(each.title);
        return titles;
    }
};

TEST_F(DesktopSupervisorTest, LossIsReportedOnceAndSoIsItsEnd) {
    launchAndPlay(threeCameras());
    notifyOfLoss();
    pass(10, true);
    pass(28, false);
    EXPECT_EQ(titles(), QStringList());
    pass(300, false);
    EXPECT_EQ(titles(), QStringList(u"No live picture from Front door"_s));
    EXPECT_FALSE(notifier.shown.first().text.isEmpty()) << "the cause is known";
    EXPECT_TRUE(notifier.shown.first().isUrgent);
    pass(20, true);
    EXPECT_EQ(titles(),
              (QStringList{u"No live picture from Front door"_s, u"Front door is live again"_s}));
    EXPECT_EQ(notifier.shown.last().text, u"There was no live picture for 5 minutes."_s);
}

TEST_F(DesktopSupervisorTest, ReportOfALatePictureSaysSo) {
    cameraLinks.areEnabled = true;
    launchAndPlay(threeCameras());
    notifyOfLoss();
    pass(1, true);
    for (int second = 0; second < 40; ++second) {
        cameraLinks.report(
            {.kind = LinkFact::Kind::Measured, .measure = {.lateness = 3, .largestLateness = 3}});
        pass(1, true);
    }
    EXPECT_EQ(titles(), QStringList(u"No live picture from Front door"_s));
    EXPECT_EQ(notifier.shown.first().text,
              u"The picture is too late: the network or this computer is too slow."_s);
}

TEST_F(DesktopSupervisorTest, NothingIsReportedUnlessTheUserWantsIt) {
    launchAndPlay(threeCameras());
    pass(1, true);
    pass(100, false);
    EXPECT_EQ(titles(), QStringList());
    notifyOfLoss();
    pass(31, false);
    EXPECT_EQ(titles().size(), 1);
    notifyOfLoss(); // off
    EXPECT_FALSE(notifier.isVisible);
}

TEST_F(DesktopSupervisorTest, NothingIsReportedDuringSleep) {
    launchAndPlay(threeCameras());
    notifyOfLoss();
    pass(1, true);
    sleepMonitor.sleep();
    pass(600, false);
    EXPECT_EQ(titles(), QStringList());
    sleepMonitor.wake();
    pass(20, false);
    EXPECT_EQ(titles(), QStringList());
    pass(12, false);
    EXPECT_EQ(titles().size(), 1);
}

TEST_F(DesktopSupervisorTest, ChoosingACameraWithdrawsTheReport) {
    launchAndPlay(threeCameras());
    notifyOfLoss();
    pass(35, false);
    ASSERT_TRUE(notifier.isVisible);
    delegate->cameraMenuItemSelected(1);
    EXPECT_FALSE(notifier.isVisible);
    pass(35, false);
    EXPECT_EQ(titles().last(), u"No live picture from Yard"_s);
}

TEST_F(DesktopSupervisorTest, ClickBringsTheWindowToTheFront) {
    launchAndPlay(threeCameras());
    notifyOfLoss();
    pass(35, false);
    window().setWindowState(Qt::WindowMinimized);
    notifier.click("token");
    EXPECT_TRUE(eventually([&] { return !window().windowStates().testFlag(Qt::WindowMinimized); }));
    window().performClose();
    EXPECT_FALSE(notifier.isVisible);
    notifier.click({}); // arrives late
}

TEST_F(DesktopSupervisorTest, SettingsAreRemembered) {
    launchAndPlay(threeCameras());
    notifyOfLoss();
    keepScreenOn();
    launchAndPlay(threeCameras());
    pass(1, true);
    EXPECT_TRUE(screenInhibitor.isKeptOn);
    pass(40, false);
    EXPECT_EQ(titles().size(), 1);
}

TEST_F(DesktopSupervisorTest, ScreenIsKeptOnWhileAPictureIsShown) {
    launchAndPlay(threeCameras());
    pass(1, true);
    EXPECT_FALSE(screenInhibitor.isKeptOn) << "off at first";
    keepScreenOn();
    EXPECT_TRUE(screenInhibitor.isKeptOn);
    pass(5, false);
    EXPECT_TRUE(screenInhibitor.isKeptOn) << "a short standstill must not blank the screen";
    pass(6, false);
    EXPECT_FALSE(screenInhibitor.isKeptOn) << "there is no picture";
    pass(1, true);
    EXPECT_TRUE(screenInhibitor.isKeptOn);
    window().setWindowState(Qt::WindowMinimized);
    EXPECT_TRUE(eventually([&] { return !screenInhibitor.isKeptOn; }));
    window().setWindowState(Qt::WindowNoState);
    EXPECT_TRUE(eventually([&] { return screenInhibitor.isKeptOn; }));
    keepScreenOn(); // off
    EXPECT_FALSE(screenInhibitor.isKeptOn);
    keepScreenOn();
    sleepMonitor.sleep();
    EXPECT_FALSE(screenInhibitor.isKeptOn);
}

TEST_F(DesktopSupervisorTest, ClosingTheWindowEndsEverything) {
    launchAndPlay(threeCameras());
    keepScreenOn();
    pass(1, true);
    ASSERT_TRUE(screenInhibitor.isKeptOn);
    window().performClose();
    EXPECT_FALSE(screenInhibitor.isKeptOn);
}

} // namespace
} // namespace lumvik::test
