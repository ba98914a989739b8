// Cameras with names that lead nowhere, and name servers that say nothing.

#include "fakes/Named.h"
#include "system/harness/Eventually.h"
#include "system/harness/NameFaultFixture.h"

namespace lumvik::test {
namespace {

using NameFaultTest = NameFaultFixture;

using namespace std::chrono_literals;

TEST_F(NameFaultTest, ANameThatDoesNotResolveIsTriedUntilItDoes) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers({}, "127.0.0.1 localhost\n"));
    CameraProcess *camera = startCamera(networkCamera());
    ASSERT_TRUE(camera);
    home.writeCameras({{QStringLiteral("Named"), named(deafName, camera->port())}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(
        logTells({probing, QStringLiteral("error network: The local-network preflight failed\\."),
                  startedGeneration.arg(1), loading, streamEnded,
                  scheduling(QStringLiteral("1"), QStringLiteral("mpv ended the stream")),
                  scheduling(QStringLiteral("2"), QStringLiteral("local-network preflight failed")),
                  QStringLiteral("default playback: Scheduling recovery 3 in .* recreate=true; .*"),
                  startedGeneration.arg(2)},
                 0, 15s));
    expectWindowMoves();
    pointer.moveTo(desktop.area().bottomRight());

    // The fourth attempt waits for four seconds, and finds the name.
    ASSERT_TRUE(logTells({QStringLiteral("default playback: Scheduling recovery 4 .*")}, 0, 5s));
    const qsizetype mark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.viewer().replaceFile(
        QStringLiteral("/etc/hosts"),
        QStringLiteral("%1 %2\n").arg(CameraNetwork::cameraAddress, deafName).toLatin1()));
    EXPECT_TRUE(isLiveAgainWithin(6s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(0));
    expectResponsive("longest hold");
}

TEST_F(NameFaultTest, ANameThatDoesNotResolveKeepsNobodyFromClosing) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers({}, "127.0.0.1 localhost\n"));
    home.writeCameras({{QStringLiteral("Named"), named(deafName)}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(logTells({anyScheduling}, 0, 10s));
    expectCloseButtonEndsViewer();
}

TEST_F(NameFaultTest, ADeafNameServerKeepsNobodyFromMovingAndClosing) {
    ASSERT_NO_FATAL_FAILURE(startNetworkWithDeafNameServer());
    home.writeCameras({{QStringLiteral("Named"), named(deafName)}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(logTells({QStringLiteral("debug network: The local-network preflight fallback "
                                         "elapsed; continuing with playback recovery\\."),
                          startedGeneration.arg(1), loading},
                         0, 5s));
    expectWindowMoves();
    expectResponsive("longest hold");
    expectCloseButtonEndsViewer();
}

/// The first camera's name cannot be looked up, the second camera works.
TEST_F(NameFaultTest, SwitchingAwayFromANameThatIsLookedUpHoldsNobodyUp) {
    // A look-up lasts for four seconds; by most systems' defaults it is ten.
    ASSERT_NO_FATAL_FAILURE(startNetworkWithDeafNameServer("timeout:2 attempts:2"));
    CameraProcess *camera = startCamera(networkCamera());
    ASSERT_TRUE(camera);
    home.writeCameras(
        {{QStringLiteral("Named"), named(deafName)}, {QStringLiteral("Numbered"), camera->url()}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(logTells({startedGeneration.arg(1), loading}, 0, 10s));
    const auto choose = [this](const QString &key) {
        ASSERT_NO_FATAL_FAILURE(clickControl(controls().picker()));
        ASSERT_TRUE(eventually(5s, [this] { return !viewer->popUps().isEmpty(); }));
        keyboard.press(key);
        keyboard.press(QStringLiteral("Return"));
        // The controls would cover the picture.
        pointer.moveTo(desktop.area().bottomRight());
    };
    for (int round = 0; round < 2; ++round) {
        const qsizetype mark = viewer->logMark();
        faultIsOver();
        choose(QStringLiteral("Down"));
        // The engine cannot break the look-up off, and opens nothing else until it is over.
        EXPECT_TRUE(isLiveAgainWithin(8s, mark));
        choose(QStringLiteral("Up"));
        ASSERT_TRUE(logTells({resumed, loading}, mark, 2s));
    }
    expectResponsive("longest hold");
}

/// The moments at which the viewer is told to end. That it does so in order and in time is checked
/// at the end of every test.
enum class Moment { probeLooksUp, engineLooksUp };

constexpr Named<Moment> moments[] = {{Moment::probeLooksUp, "OfThePreflight"},
                                     {Moment::engineLooksUp, "OfTheEngine"}};

class QuitInLookupTest : public NameFaultFixture,
                         public testing::WithParamInterface<Named<Moment>> {};

TEST_P(QuitInLookupTest, ViewerEndsInTime) {
    ASSERT_NO_FATAL_FAILURE(startNetworkWithDeafNameServer("timeout:30 attempts:2"));
    home.writeCameras({{QStringLiteral("Named"), named(deafName)}});
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    ASSERT_TRUE(logTells({GetParam().value == Moment::probeLooksUp ? probing : loading}, 0, 10s));
}

INSTANTIATE_TEST_SUITE_P(All, QuitInLookupTest, testing::ValuesIn(moments), nameOfParameter);

} // namespace
} // namespace lumvik::test
