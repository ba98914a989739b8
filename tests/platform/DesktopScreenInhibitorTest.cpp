#include "platform/DesktopScreenInhibitor.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/DesktopDoubles.h"
#include "fakes/PrivateBus.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

class DesktopScreenInhibitorTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(bus.isRunning()); }
    static bool eventually(const std::function<bool()> &condition) {
        return QTest::qWaitFor(condition, 20'000);
    }

    const PrivateBus bus;
    const CapturedLog log;
};

TEST_F(DesktopScreenInhibitorTest, KeepsTheScreenOnAndReleasesIt) {
    const ScreenSaverDouble screenSaver(bus.address());
    DesktopScreenInhibitor inhibitor(bus.address());
    for (int round = 0; round < 3; ++round) {
        inhibitor.keepScreenOn(true);
        inhibitor.keepScreenOn(true);
        ASSERT_TRUE(eventually([&] { return screenSaver.inhibitors().size() == 1; }));
        inhibitor.keepScreenOn(false);
        ASSERT_TRUE(eventually([&] { return screenSaver.inhibitors().isEmpty(); }));
    }
    EXPECT_EQ(screenSaver.programs(), QStringList(3, u"Lumvik"_s));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(DesktopScreenInhibitorTest, ReleaseBeforeTheReplyIsNotLost) {
    const ScreenSaverDouble screenSaver(bus.address());
    DesktopScreenInhibitor inhibitor(bus.address());
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([&] { return !screenSaver.programs().isEmpty(); }));
    inhibitor.keepScreenOn(false);
    EXPECT_TRUE(eventually([&] { return screenSaver.inhibitors().isEmpty(); }));
}

TEST_F(DesktopScreenInhibitorTest, UsesThePortalWhereThereIsNoScreenSaver) {
    const PortalDouble portal(bus.address());
    DesktopScreenInhibitor inhibitor(bus.address());
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([&] { return portal.inhibitors() == QList<uint>{8}; }));
    inhibitor.keepScreenOn(false);
    EXPECT_TRUE(eventually([&] { return portal.inhibitors().isEmpty(); }));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(DesktopScreenInhibitorTest, AsksAScreenSaverThatIsRestartedAgain) {
    auto screenSaver = std::make_unique<ScreenSaverDouble>(bus.address());
    DesktopScreenInhibitor inhibitor(bus.address());
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([&] { return screenSaver->inhibitors().size() == 1; }));
    screenSaver.reset();
    screenSaver = std::make_unique<ScreenSaverDouble>(bus.address());
    EXPECT_TRUE(eventually([&] { return screenSaver->inhibitors().size() == 1; }));
}

TEST_F(DesktopScreenInhibitorTest, AsksAPortalThatIsRestartedAgain) {
    auto portal = std::make_unique<PortalDouble>(bus.address());
    DesktopScreenInhibitor inhibitor(bus.address());
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([&] { return portal->inhibitors().size() == 1; }));
    portal.reset();
    portal = std::make_unique<PortalDouble>(bus.address());
    EXPECT_TRUE(eventually([&] { return portal->inhibitors().size() == 1; }));
}

TEST_F(DesktopScreenInhibitorTest, LogsOnceThatNobodyKeepsTheScreenOnAndUsesAScreenSaverLater) {
    DesktopScreenInhibitor inhibitor(bus.address());
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    EXPECT_EQ(log.lines().constFirst().text,
              u"The screen cannot be kept on: there is no screen saver, and there is no portal."_s);
    const ScreenSaverDouble screenSaver(bus.address());
    EXPECT_TRUE(eventually([&] { return screenSaver.inhibitors().size() == 1; }));
    EXPECT_EQ(log.lines().size(), 1);
}

TEST_F(DesktopScreenInhibitorTest, LogsWhatTheScreenSaverAnswers) {
    ScreenSaverDouble screenSaver(bus.address());
    screenSaver.refuse();
    DesktopScreenInhibitor inhibitor(bus.address());
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    EXPECT_EQ(log.lines().constFirst().text,
              u"The screen cannot be kept on: the screen saver refused it (Not for strangers), "
              "and there is no portal."_s);
}

TEST_F(DesktopScreenInhibitorTest, LogsThatThereIsNoBus) {
    DesktopScreenInhibitor inhibitor(u"unix:path=/nonexistent/bus"_s);
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    EXPECT_EQ(log.lines().constFirst().text,
              u"The screen cannot be kept on: there is no session bus."_s);
    inhibitor.keepScreenOn(false);
}

TEST_F(DesktopScreenInhibitorTest, FindsABusThatCameLater) {
    const ScreenSaverDouble screenSaver(bus.address());
    const QTemporaryDir folder;
    const QString socket = folder.filePath(u"later"_s);
    DesktopScreenInhibitor inhibitor(u"unix:path="_s + socket);
    inhibitor.keepScreenOn(true);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    ASSERT_TRUE(QFile::link(bus.socket(), socket));
    inhibitor.keepScreenOn(false);
    inhibitor.keepScreenOn(true);
    EXPECT_TRUE(eventually([&] { return screenSaver.inhibitors().size() == 1; }));
}

} // namespace
} // namespace lumvik::test
