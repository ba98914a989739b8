// Faults that last for a minute or more.

#include "ColourBars.h"
#include "Eventually.h"
#include "FaultTest.h"

#include <algorithm>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class SlowCameraFaultTest : public FaultTest {
  protected:
    /// Lets the fault last for `duration`, during which no more than one attempt may ever be
    /// pending and the window must be black.
    void sitOut(Milliseconds duration, qsizetype mark) const {
        testing::AssertionResult verdict = testing::AssertionSuccess();
        EXPECT_TRUE(always(duration, [&] {
            verdict = windowIsBlack();
            if (verdict)
                verdict = neverTwoAttemptsPending(mark);
            return static_cast<bool>(verdict);
        })) << verdict.message();
    }
};

TEST_F(SlowCameraFaultTest, CameraThatRefusesForTwoMinutesIsShownOnceItAccepts) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("refuse");
    QElapsedTimer refusal;
    refusal.start();
    camera->command("drop");
    ASSERT_TRUE(logTells({streamEnded}, mark, 3s));
    ASSERT_TRUE(eventually(1s, [this] { return bool{windowIsBlack()}; }));
    sitOut(2min - Milliseconds(refusal.elapsed()), mark);
    QStringList story{streamEnded};
    for (const char *delay : {"1 in 0", "2 in 1", "3 in 2", "4 in 4", "5 in 8", "6 in 15",
                              "7 in 30", "8 in 30", "9 in 30"}) {
        story << QStringLiteral("default playback: Scheduling recovery %1\\.\\d+ seconds; .*")
                     .arg(QLatin1String(delay))
              << probing;
    }
    story.removeLast(); // the ninth attempt may still wait
    EXPECT_TRUE(logTells(story, mark));
    EXPECT_LE(countInLog(anyScheduling, mark), 9);
    camera->command("accept");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(32s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, CameraThatAnswersNothingForAMinuteIsShownOnceItAnswers) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("silent");
    ASSERT_TRUE(logTells({streamEnded}, mark, 3s));
    ASSERT_TRUE(eventually(1s, [this] { return bool{windowIsBlack()}; }));
    sitOut(1min, mark);
    const QString none = QStringLiteral("no first video frame");
    EXPECT_TRUE(logTells(
        {scheduling(QStringLiteral("2"), none), loading, scheduling(QStringLiteral("3"), none),
         QStringLiteral("default playback: Starting video engine generation 2\\."), loading,
         scheduling(QStringLiteral("4"), none), loading, scheduling(QStringLiteral("5"), none)},
        mark));
    camera->command("speak");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(45s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, CameraThatHangsUpForTwentySecondsIsHardlyAsked) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("hangup");
    ASSERT_TRUE(logTells({streamEnded}, mark, 3s));
    ASSERT_TRUE(eventually(1s, [this] { return bool{windowIsBlack()}; }));
    sitOut(20s, mark);
    // After 0.5, 1, 2, 4 and 8 seconds, each and its attempt a little longer.
    const int attempts = streamsOf(*camera).all - 1;
    EXPECT_GE(attempts, 4);
    EXPECT_LE(attempts, 5);
    EXPECT_EQ(countInLog(resumed, mark), 0);
    camera->command("stay");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(32s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, PictureIsLiveAtOnceAfterAMinuteMinimised) {
    CameraProcess *camera = showCamera(faultCameraWithClock());
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    const QString id = QString::number(viewer->window());
    xdotool(desktop, {QStringLiteral("windowminimize"), id});
    ASSERT_TRUE(eventually(10s, [this] { return !desktop.x().isViewable(viewer->window()); }));
    EXPECT_TRUE(always(1min, [&] {
        return !desktop.x().isViewable(viewer->window()) && countInLog(anyScheduling, mark) == 0;
    }));
    xdotool(desktop, {QStringLiteral("windowactivate"), id});
    int oldest = 0;
    int looks = 0;
    EXPECT_TRUE(always(3s,
                       [&] {
                           if (const auto age = pictureAge(screen.window(viewer->window()))) {
                               oldest = std::max(oldest, *age);
                               ++looks;
                           }
                           return oldest <= 500;
                       }))
        << "a picture of " << oldest << " ms ago was shown";
    EXPECT_GE(looks, 10);
    report("oldest picture after the return", Milliseconds(oldest), 500ms);
    EXPECT_TRUE(nothingScheduled(mark));
    EXPECT_TRUE(pictureIsLive(2s));
    expectOneStream(*camera);
    EXPECT_EQ(streamsOf(*camera).all, 1);
}

} // namespace
} // namespace lumvik::test
