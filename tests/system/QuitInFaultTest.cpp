// Tests that the viewer exits promptly even when it is terminated during a fault.

#include "system/harness/Eventually.h"
#include "system/harness/FaultFixture.h"

#include <csignal>
#include <ostream>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

const QString retryScheduled = QStringLiteral("default playback: Scheduling recovery .*");

/// A fault, and the log lines that show that the viewer has reached the intended stage of it.
struct Fault {
    const char *name;
    /// The command that is sent to the camera. "kill" kills the camera process instead.
    const char *command;
    /// Patterns of log lines that must follow the fault in this order.
    QStringList middle;
};

void PrintTo(const Fault &fault, std::ostream *stream) {
    *stream << fault.name;
}

class QuitInFaultTest : public FaultFixture, public testing::WithParamInterface<Fault> {};

TEST_P(QuitInFaultTest, ViewerExitsPromptly) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    const QByteArray command(GetParam().command);
    if (command == "kill")
        camera->process().sendSignal(SIGKILL);
    else
        camera->command(command);
    ASSERT_TRUE(logShows(GetParam().middle, mark, 30s));
    expectOrderlyEnd();
    EXPECT_TRUE(logShows({QStringLiteral("default lifecycle: Lumvik is terminating\\.")}, mark));
}

const QString probing = QStringLiteral("debug network: Beginning private local-network .*");
const QString engine2 = QStringLiteral("default playback: Starting video engine generation 2\\.");

INSTANTIATE_TEST_SUITE_P(
    All, QuitInFaultTest,
    testing::Values(Fault{"EndOfStream", "end", {retryScheduled}},
                    Fault{"EndOfStreamUnnoticed", "end", {}},
                    Fault{"ConnectionClosed", "drop", {retryScheduled}},
                    Fault{"ConnectionReset", "drop reset", {retryScheduled, probing}},
                    Fault{"CameraDied", "kill", {retryScheduled, retryScheduled}},
                    Fault{"CameraDiedAndTheEngineWasReplaced", "kill", {engine2}},
                    Fault{"Stalled", "freeze", {}},
                    Fault{"StalledAndNoticed", "freeze", {retryScheduled, began}},
                    Fault{"Unresponsive", "silent", {retryScheduled, began}},
                    Fault{"UnresponsiveAndNoticed", "silent", {began, retryScheduled}},
                    Fault{"Refusing", "refuse", {retryScheduled, retryScheduled}},
                    Fault{"ClosingEveryStream", "hangup", {retryScheduled, began, retryScheduled}},
                    Fault{"NewPictureSize", "size 640x480", {}}, Fault{"Rotated", "rotate 90", {}}),
    [](const testing::TestParamInfo<Fault> &fault) { return fault.param.name; });

/// Tests of faults and states that the camera does not cause.
class QuitInViewerFaultTest : public FaultFixture {};

TEST_F(QuitInViewerFaultTest, ViewerExitsPromptlyAfterBeingStopped) {
    ASSERT_TRUE(showCamera());
    viewer->process().sendSignal(SIGSTOP);
    EXPECT_TRUE(always(2s, [this] { return viewer->process().isRunning(); }));
    viewer->process().sendSignal(SIGTERM);
    viewer->process().sendSignal(SIGCONT);
    EXPECT_TRUE(viewer->exitsInOrder(3s));
    expectNeverWritten(password);
}

TEST_F(QuitInViewerFaultTest, ViewerExitsPromptlyWhileItIsMinimised) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    xdotool(desktop, {QStringLiteral("windowminimize"), QString::number(viewer->window())});
    ASSERT_TRUE(eventually(10s, [this] { return !desktop.x().isViewable(viewer->window()); }));
    camera->command("freeze");
    expectOrderlyEnd();
}

TEST_F(QuitInViewerFaultTest, ViewerExitsPromptlyWhileThePasswordIsWrong) {
    CameraProcess *camera = startCamera(faultCamera());
    ASSERT_TRUE(camera);
    const QString wrong = QStringLiteral("wr@ng:p/ss%#");
    home.writeCameras({{camera->setup().name, camera->urlWithPassword(wrong)}});
    startViewer();
    ASSERT_TRUE(logShows({retryScheduled}, 0, 20s));
    expectOrderlyEnd();
    expectNeverWritten(wrong);
}

TEST_F(QuitInViewerFaultTest, ViewerExitsPromptlyWhileAMenuIsOpen) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    keyboard.press(QStringLiteral("F10")); // in a small window, the strip is hidden
    ASSERT_TRUE(eventually(10s, [this] { return !viewer->popUps().isEmpty(); }));
    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    ASSERT_TRUE(logShows({retryScheduled}, mark, 10s));
    expectOrderlyEnd();
}

TEST_F(QuitInViewerFaultTest, ViewerExitsPromptlyWhileAnAlertIsOpen) {
    ASSERT_TRUE(startListedCamera(faultCamera()));
    startViewer({{QStringLiteral("LD_PRELOAD"), QStringLiteral(LUMVIK_REJECTED_LOAD)}});
    ASSERT_TRUE(eventually(10s, [this] { return viewer->windowsOnScreen().size() == 2; }))
        << "there is no alert";
    expectOrderlyEnd();
}

} // namespace
} // namespace lumvik::test
