// Tests every way to close the viewer, with a working camera and with an unreachable camera.

#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/UnresponsivePort.h"
#include "system/harness/ViewerFixture.h"

#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class ClosingTest : public ViewerFixture {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ViewerFixture::SetUp());
        ASSERT_TRUE(startListedCamera());
        ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    }

    /// Waits until the viewer exits with status 0, and checks that it logged its termination.
    void expectOrderlyEnd() {
        EXPECT_TRUE(viewer->exitsInOrder(20s));
        EXPECT_TRUE(viewer->hasLogged(QStringLiteral("default"), QStringLiteral("lifecycle"),
                                      QStringLiteral("Lumvik is terminating\\.")));
    }

    void pressWhenFocused(const QString &key) {
        ASSERT_TRUE(eventually(20s, [this] { return viewer->hasFocus(); }))
            << "the viewer's window does not get the focus";
        keyboard.press(key);
    }
};

TEST_F(ClosingTest, CloseButtonEndsTheProgram) {
    clickControl(controls().close());
    expectOrderlyEnd();
}

TEST_F(ClosingTest, ControlWEndsTheProgram) {
    pressWhenFocused(QStringLiteral("ctrl+w"));
    expectOrderlyEnd();
}

TEST_F(ClosingTest, ControlQEndsTheProgram) {
    pressWhenFocused(QStringLiteral("ctrl+q"));
    expectOrderlyEnd();
}

TEST_F(ClosingTest, CloseRequestOfTheWindowManagerEndsTheProgram) {
    desktop.x().requestClose(viewer->window());
    expectOrderlyEnd();
}

class SignalTest : public ClosingTest, public testing::WithParamInterface<int> {};

TEST_P(SignalTest, SignalEndsTheProgramCleanly) {
    viewer->process().sendSignal(GetParam());
    expectOrderlyEnd();
}

INSTANTIATE_TEST_SUITE_P(All, SignalTest, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const testing::TestParamInfo<int> &signal) {
                             return std::string("SIG") + ::sigabbrev_np(signal.param);
                         });

/// An unreachable camera must neither keep the window from opening nor delay exit.
class UnreachableCameraTest : public ViewerFixture,
                              public testing::WithParamInterface<UnresponsivePort::Behaviour> {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ViewerFixture::SetUp());
        home.writeCameras({{QStringLiteral("Nobody"), port.url()}});
        ASSERT_NO_FATAL_FAILURE(startViewer());
        ASSERT_TRUE(viewer->waitForLog(
            QStringLiteral("default"), QStringLiteral("playback"),
            QStringLiteral("Loading camera index 0 for selection generation 0\\."), 30s));
    }

    UnresponsivePort port{GetParam()};
};

TEST_P(UnreachableCameraTest, WindowIsBlackApartFromItsTexts) {
    EXPECT_TRUE(screen.waitUntil(
        viewer->window(),
        [](const QImage &picture) {
            return testing::AssertionResult(isDarkApartFromTexts(picture));
        },
        10s));
    EXPECT_EQ(viewer->geometry().size(), QSize(1120, 630));
}

TEST_P(UnreachableCameraTest, CloseButtonEndsTheProgramAtOnce) {
    clickControl(controls().close());
    EXPECT_TRUE(viewer->exitsInOrder(3s));
}

TEST_P(UnreachableCameraTest, SignalEndsTheProgramAtOnce) {
    viewer->process().sendSignal(SIGTERM);
    EXPECT_TRUE(viewer->exitsInOrder(3s));
}

INSTANTIATE_TEST_SUITE_P(All, UnreachableCameraTest,
                         testing::Values(UnresponsivePort::Behaviour::refusing,
                                         UnresponsivePort::Behaviour::unresponsive),
                         [](const testing::TestParamInfo<UnresponsivePort::Behaviour> &kind) {
                             return kind.param == UnresponsivePort::Behaviour::refusing
                                        ? "Refusing"
                                        : "Unresponsive";
                         });

} // namespace
} // namespace lumvik::test
