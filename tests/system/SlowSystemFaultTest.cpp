// Tests of long network interruptions, long sleep, and name servers that never reply.

#include "system/harness/Eventually.h"
#include "system/harness/NameFaultFixture.h"
#include "system/harness/SleepFaultFixture.h"

namespace lumvik::test {
namespace {

using NetworkFaultTest = NetworkFaultFixture;
using NameFaultTest = NameFaultFixture;
using SleepFaultTest = SleepFaultFixture;

using namespace std::chrono_literals;

TEST_F(NetworkFaultTest, PictureReturnsAfterTheInterfaceWasDownForHalfAMinute) {
    testInterruption(interfaceDown, 30s);
}

TEST_F(NetworkFaultTest, PictureReturnsAfterTheCableWasUnpluggedForHalfAMinute) {
    testInterruption(cableOut, 30s);
}

TEST_F(NetworkFaultTest, LinkThatFlapsForTwentySecondsOpensFewStreams) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    constexpr int flaps = 10;
    for (int i = 0; i < flaps; ++i) {
        ASSERT_TRUE(cableOut.begin(network));
        expectThroughout(1s, [] { return testing::AssertionSuccess(); });
        if (i == flaps - 1)
            faultIsOver();
        ASSERT_TRUE(cableOut.end(network));
        if (i < flaps - 1)
            expectThroughout(1s, [] { return testing::AssertionSuccess(); });
    }
    EXPECT_TRUE(pictureIsLive(5s - sinceFault()));
    report("live again after", sinceFault(), 5s);
    EXPECT_LE(countInLog(QStringLiteral("debug network: The camera answered PLAY .*"), mark), 3);
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
}

TEST_F(SleepFaultTest, PictureReturnsAfterALongSleep) {
    testSleep(20s);
}

TEST_F(NameFaultTest, UnresponsiveNameServerNeverBlocksTheWindowWhilePlayersAreReplaced) {
    // A single look-up takes longer than the whole test, so players are replaced during it.
    ASSERT_NO_FATAL_FAILURE(startNetworkWithUnresponsiveNameServer("timeout:30 attempts:5"));
    home.writeCameras({{QStringLiteral("Named"), named(hostName)}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    // Attempts 3 and 6 replace the player. The time limit is long because each attempt waits eight
    // to ten seconds for a picture, and because the delays between the attempts grow.
    const auto replacing = [](int attempt) {
        return QStringLiteral("default playback: Scheduling recovery %1 in .* recreate=true; .*")
            .arg(attempt);
    };
    ASSERT_TRUE(logShows({startedGeneration.arg(1), replacing(3), startedGeneration.arg(2),
                          replacing(6), startedGeneration.arg(3)},
                         0, 150s));
    // The link looks the name up, so that no player ever waits for it.
    EXPECT_EQ(countInLog(QStringLiteral(".*The video engine is slow to stop.*"), 0), 0);
    expectResponsive("longest hold");
    EXPECT_TRUE(neverTwoAttemptsPending(0));
    expectWindowMoves();
}

} // namespace
} // namespace lumvik::test
