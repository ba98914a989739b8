// Tests what the desktop is told about the picture: that the screen is to stay on, and that the
// picture is lost.

#include "fakes/DesktopDoubles.h"
#include "fakes/PrivateBus.h"
#include "system/harness/Eventually.h"
#include "system/harness/ViewerFixture.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

class DesktopTest : public ViewerFixture {
  protected:
    void SetUp() override {
        if (!bus.isRunning())
            GTEST_SKIP() << "there is no dbus-daemon";
        ViewerFixture::SetUp();
        viewerVariables = {{u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address()}};
    }

    PrivateBus bus;
};

TEST_F(DesktopTest, ScreenStaysOnOnlyWhileThePictureIsLive) {
    const ScreenSaverDouble screenSaver(bus.address());
    ASSERT_TRUE(screenSaver.isPresent());
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    home.setPreference(u"keepsScreenOn"_s, true);
    startViewerAndWaitForPicture();
    EXPECT_TRUE(eventually(5s, [&] { return screenSaver.inhibitors().size() == 1; }));
    camera->command("refuse");
    EXPECT_TRUE(eventually(30s, [&] { return screenSaver.inhibitors().isEmpty(); }));
    camera->command("accept");
    EXPECT_TRUE(eventually(30s, [&] { return screenSaver.inhibitors().size() == 1; }));
}

TEST_F(DesktopTest, ScreenIsLeftAloneUnlessTheUserWantsItToStayOn) {
    const ScreenSaverDouble screenSaver(bus.address());
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    EXPECT_TRUE(always(2s, [&] { return screenSaver.programs().isEmpty(); }));
}

TEST_F(DesktopTest, LossAndReturnAreNotifiedOnceEach) {
    NotificationServerDouble server(bus.address());
    ASSERT_TRUE(server.isPresent());
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    home.setPreference(u"notifiesOfLoss"_s, true);
    startViewerAndWaitForPicture();
    camera->command("refuse");
    EXPECT_TRUE(always(20s, [&] { return server.requests().isEmpty(); }));
    ASSERT_TRUE(eventually(25s, [&] { return server.requests().size() == 1; }));
    const NotifyRequest loss = server.requests().first();
    EXPECT_EQ(loss.hints.value(u"urgency"_s).toInt(), 2);
    EXPECT_TRUE(loss.text.contains(u"refuses connections"_s)) << qPrintable(loss.text);
    EXPECT_FALSE(loss.text.contains(u"rtsp"_s)) << qPrintable(loss.text);
    camera->command("accept");
    ASSERT_TRUE(eventually(60s, [&] { return server.requests().size() == 2; }));
    EXPECT_NE(server.requests().last().hints.value(u"urgency"_s).toInt(), 2);
    EXPECT_TRUE(always(3s, [&] { return server.requests().size() == 2; }));
}

} // namespace
} // namespace lumvik::test
