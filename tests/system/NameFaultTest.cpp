// Tests of cameras whose host names cannot be resolved, and name servers that do not reply.

#include "fakes/Named.h"
#include "system/harness/Eventually.h"
#include "system/harness/NameFaultFixture.h"

namespace lumvik::test {
namespace {

using NameFaultTest = NameFaultFixture;

using namespace std::chrono_literals;

TEST_F(NameFaultTest, UnresolvableNameIsRetriedUntilItResolves) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers({}, "127.0.0.1 localhost\n"));
    CameraProcess *camera = startCamera(networkCamera());
    ASSERT_TRUE(camera);
    home.writeCameras({{QStringLiteral("Named"), named(hostName, camera->port())}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(
        logShows({probing, QStringLiteral("error network: The local-network preflight failed\\."),
                  startedGeneration.arg(1), loading, streamEnded,
                  scheduling(QStringLiteral("1"), QStringLiteral("mpv ended the stream")),
                  scheduling(QStringLiteral("2"), QStringLiteral("local-network preflight failed")),
                  QStringLiteral("default playback: Scheduling recovery 3 in .* recreate=true; .*"),
                  startedGeneration.arg(2)},
                 0, 15s));
    expectWindowMoves();
    pointer.moveTo(desktop.area().bottomRight());

    // The fourth attempt is delayed by four seconds, so the name can be resolved by then.
    ASSERT_TRUE(logShows({QStringLiteral("default playback: Scheduling recovery 4 .*")}, 0, 5s));
    const qsizetype mark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.viewer().replaceFile(
        QStringLiteral("/etc/hosts"),
        QStringLiteral("%1 %2\n").arg(CameraNetwork::cameraAddress, hostName).toLatin1()));
    EXPECT_TRUE(isLiveAgainWithin(6s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(0));
    expectResponsive("longest hold");
}

TEST_F(NameFaultTest, UnresolvableNameDoesNotDelayClosing) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers({}, "127.0.0.1 localhost\n"));
    home.writeCameras({{QStringLiteral("Named"), named(hostName)}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(logShows({anyScheduling}, 0, 10s));
    expectCloseButtonEndsViewer();
}

TEST_F(NameFaultTest, UnresponsiveNameServerDoesNotBlockMovingOrClosing) {
    ASSERT_NO_FATAL_FAILURE(startNetworkWithUnresponsiveNameServer());
    home.writeCameras({{QStringLiteral("Named"), named(hostName)}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(logShows({QStringLiteral("debug network: The local-network preflight fallback "
                                         "elapsed; continuing with playback recovery\\."),
                          startedGeneration.arg(1), loading},
                         0, 5s));
    expectWindowMoves();
    expectResponsive("longest hold");
    expectCloseButtonEndsViewer();
}

/// In this test, the host name of the first camera cannot be resolved, and the second camera works.
TEST_F(NameFaultTest, SwitchingCamerasDuringALookUpDoesNotBlockTheWindow) {
    // With these options a look-up takes four seconds. With the defaults of most systems, a look-up
    // takes ten seconds.
    ASSERT_NO_FATAL_FAILURE(startNetworkWithUnresponsiveNameServer("timeout:2 attempts:2"));
    CameraProcess *camera = startCamera(networkCamera());
    ASSERT_TRUE(camera);
    home.writeCameras(
        {{QStringLiteral("Named"), named(hostName)}, {QStringLiteral("Numbered"), camera->url()}});
    ASSERT_NO_FATAL_FAILURE(startMeasuredViewer());
    ASSERT_TRUE(logShows({startedGeneration.arg(1), loading}, 0, 10s));
    const auto choose = [this](const QString &key) {
        ASSERT_NO_FATAL_FAILURE(clickControl(controls().picker()));
        ASSERT_TRUE(eventually(5s, [this] { return !viewer->popUps().isEmpty(); }));
        keyboard.press(key);
        keyboard.press(QStringLiteral("Return"));
        // The pointer leaves the window because the controls would cover the picture.
        pointer.moveTo(desktop.area().bottomRight());
    };
    for (int round = 0; round < 2; ++round) {
        const qsizetype mark = viewer->logMark();
        faultIsOver();
        choose(QStringLiteral("Down"));
        // The engine cannot cancel the look-up, so it opens the next camera only when the look-up
        // has finished.
        EXPECT_TRUE(isLiveAgainWithin(8s, mark));
        choose(QStringLiteral("Up"));
        ASSERT_TRUE(logShows({resumed, loading}, mark, 2s));
    }
    expectResponsive("longest hold");
}

/// The moments at which the tests terminate the viewer. The fixture checks at the end of every test
/// that the viewer exits cleanly and in time.
enum class LookupMoment { probeLooksUp, engineLooksUp };

constexpr Named<LookupMoment> lookupMoments[] = {
    {LookupMoment::probeLooksUp, "LookupByThePreflight"},
    {LookupMoment::engineLooksUp, "LookupByTheEngine"}};

class QuitInLookupTest : public NameFaultFixture,
                         public testing::WithParamInterface<Named<LookupMoment>> {};

TEST_P(QuitInLookupTest, ViewerExitsInTime) {
    ASSERT_NO_FATAL_FAILURE(startNetworkWithUnresponsiveNameServer("timeout:30 attempts:2"));
    home.writeCameras({{QStringLiteral("Named"), named(hostName)}});
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    ASSERT_TRUE(
        logShows({GetParam().value == LookupMoment::probeLooksUp ? probing : loading}, 0, 10s));
}

INSTANTIATE_TEST_SUITE_P(All, QuitInLookupTest, testing::ValuesIn(lookupMoments), nameOfParameter);

} // namespace
} // namespace lumvik::test
