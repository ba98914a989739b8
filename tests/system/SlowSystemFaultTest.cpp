// Faults of the system around the viewer that take long.

#include "system/harness/Eventually.h"
#include "system/harness/NameFaultFixture.h"
#include "system/harness/SleepFaultFixture.h"

namespace lumvik::test {
namespace {

using NetworkFaultTest = NetworkFaultFixture;
using NameFaultTest = NameFaultFixture;
using SleepFaultTest = SleepFaultFixture;

using namespace std::chrono_literals;

TEST_F(NetworkFaultTest, PictureIsBackAfterTheInterfaceWasDownForHalfAMinute) {
    testCut(interfaceDown, 30s);
}

TEST_F(NetworkFaultTest, PictureIsBackAfterTheCableWasOutForHalfAMinute) {
    testCut(cableOut, 30s);
}

TEST_F(SleepFaultTest, PictureIsBackAfterALongSleep) {
    testSleep(20s);
}

TEST_F(NameFaultTest, ADeafNameServerNeverHoldsTheWindowUpWhilePlayersAreReplaced) {
    // A single look-up outlasts everything here, so that players are destroyed in the middle of it.
    ASSERT_NO_FATAL_FAILURE(startNetworkWithDeafNameServer("timeout:30 attempts:5"));
    home.writeCameras({{QStringLiteral("Named"), named(deafName)}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    // Attempts 3 and 6 replace the player. Each attempt before waits for eight to ten seconds for a
    // picture, and all of them together for a minute for their turn.
    const auto replacing = [](int attempt) {
        return QStringLiteral("default playback: Scheduling recovery %1 in .* recreate=true; .*")
            .arg(attempt);
    };
    const auto leavingAlone = [](int players) {
        return QStringLiteral("info playback: The video engine takes long to stop; going on "
                              "without waiting for it \\(%1 in all\\)\\.")
            .arg(players);
    };
    ASSERT_TRUE(
        logTells({startedGeneration.arg(1), replacing(3), leavingAlone(1), startedGeneration.arg(2),
                  replacing(6), leavingAlone(2), startedGeneration.arg(3)},
                 0, 150s));
    expectResponsive("longest hold");
    EXPECT_TRUE(neverTwoAttemptsPending(0));
    expectWindowMoves();
}

} // namespace
} // namespace lumvik::test
