// Tests how the viewer handles a network that disappears, returns or changes while the viewer runs.

#include "fakes/Named.h"
#include "platform/FileDescriptor.h"
#include "system/harness/Eventually.h"
#include "system/harness/NetworkFaultFixture.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace lumvik::test {
namespace {

using NetworkFaultTest = NetworkFaultFixture;

using namespace std::chrono_literals;

TEST_F(NetworkFaultTest, PictureReturnsAfterTheInterfaceWasDown) {
    testInterruption(interfaceDown, 5s);
}

TEST_F(NetworkFaultTest, PictureReturnsAfterTheCableWasUnplugged) {
    testInterruption(cableOut, 5s);
}

TEST_F(NetworkFaultTest, NewAddressCausesOneReconnection) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(network.viewer().run(
        QStringLiteral("ip address del %1/24 dev viewer0").arg(CameraNetwork::viewerAddress)));
    faultIsOver();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 192.0.2.3/24 dev viewer0")));
    expectOneAttempt(mark, Connection::isDead);
    EXPECT_TRUE(logShows({pathLost, pathFound, anyScheduling}, mark));
}

TEST_F(NetworkFaultTest, RenamedInterfaceCausesOneRecoveryAttempt) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    // Most kernels rename an interface only while it is down.
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set viewer0 down")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set viewer0 name renamed0")));
    ASSERT_TRUE(logShows({pathLost}, mark, 3s));
    const qsizetype upMark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set renamed0 up")));
    ASSERT_TRUE(logShows({pathFound, anyScheduling}, upMark, 3s));
    expectOneAttempt(upMark, Connection::mayLiveOn);
}

/// Owns a tunnel interface inside a network namespace. Destroying the object removes the interface.
class Tunnel {
  public:
    [[nodiscard]] testing::AssertionResult open(const NetworkNamespace &in, const char *name) {
        return in.call([&]() -> testing::AssertionResult {
            m_descriptor = FileDescriptor(::open("/dev/net/tun", O_RDWR | O_CLOEXEC));
            ifreq request{};
            request.ifr_flags = IFF_TUN | IFF_NO_PI;
            std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
            if (m_descriptor.isOpen() && ::ioctl(m_descriptor.get(), TUNSETIFF, &request) == 0)
                return testing::AssertionSuccess();
            return testing::AssertionFailure() << "no tunnel: " << std::strerror(errno);
        });
    }

  private:
    FileDescriptor m_descriptor;
};

TEST_F(NetworkFaultTest, SecondInterfaceOfAnotherKindCausesOneRecoveryAttempt) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    Tunnel tunnel;
    if (const auto opened = tunnel.open(network.viewer(), "tunnel0"); !opened)
        GTEST_SKIP() << opened.message();
    const qsizetype mark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 198.51.100.1/24 dev tunnel0")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set tunnel0 up")));
    expectOneAttempt(mark, Connection::mayLiveOn);
}

TEST_F(NetworkFaultTest, SecondInterfaceOfTheSameKindCausesNoRecovery) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link add viewer1 type veth peer name "
                                                    "camera1 netns %1")
                                         .arg(network.camera().processId())));
    ASSERT_TRUE(network.camera().run(QStringLiteral("ip link set camera1 up")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 198.51.100.1/24 dev viewer1")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set viewer1 up")));
    ASSERT_TRUE(logShows({pathFound}, mark, 5s));
    expectThroughout(3s, [&] { return nothingScheduled(mark); });
    EXPECT_TRUE(pictureIsLive(1s));
    EXPECT_EQ(countInLog(loading, mark), 0);
}

TEST_F(NetworkFaultTest, ViewerStartedWithoutANetworkWaitsForOne) {
    ASSERT_NO_FATAL_FAILURE(startNetwork(CameraNetwork::Cable::unplugged));
    // The loopback interface gets the camera's address, because the camera's network interface does
    // not exist while the cable is unplugged.
    ASSERT_TRUE(network.camera().run(
        QStringLiteral("ip address add %1/32 dev lo").arg(CameraNetwork::cameraAddress)));
    ASSERT_TRUE(startListedCamera(networkCamera()));
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    ASSERT_TRUE(logShows({pathLost}, 0, 5s));
    expectWindowMoves();
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_TRUE(eventually(5s, [this] { return bool{windowShowsNoPicture()}; }));
    expectThroughout(3s, [this] {
        return countInLog(loading, 0) == 0 ? nothingScheduled(0)
                                           : testing::AssertionFailure() << "a camera is loaded";
    });

    const qsizetype mark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.plugIn());
    expectOneAttempt(mark, Connection::isDead);
}

TEST_F(NetworkFaultTest, ViewerStartedWithoutANetworkCanBeClosed) {
    ASSERT_NO_FATAL_FAILURE(startNetwork(CameraNetwork::Cable::unplugged));
    home.writeCameras({{QStringLiteral("Nobody"),
                        QStringLiteral("rtsp://%1/none").arg(CameraNetwork::cameraAddress)}});
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    ASSERT_TRUE(logShows({pathLost}, 0, 5s));
    expectCloseButtonEndsViewer();
}

/// The moments at which the tests terminate the viewer. The fixture checks at the end of every test
/// that the viewer exits cleanly and in time.
enum class NetworkMoment {
    interfaceGoesDown, ///< Right after the interface went down.
    interfaceIsDown,   ///< The interface is down, but the stream's connection is still open.
    attemptIsDue,      ///< The interface is up again and the recovery attempt is scheduled.
    playerStarts,      ///< The recovery attempt has begun with its preflight.
};

constexpr Named<NetworkMoment> networkMoments[] = {
    {NetworkMoment::interfaceGoesDown, "WhenTheInterfaceGoesDown"},
    {NetworkMoment::interfaceIsDown, "WhileTheInterfaceIsDown"},
    {NetworkMoment::attemptIsDue, "WhileAnAttemptIsDue"},
    {NetworkMoment::playerStarts, "WhileThePlayerStarts"}};

class QuitWithoutNetworkTest : public NetworkFaultFixture,
                               public testing::WithParamInterface<Named<NetworkMoment>> {};

TEST_P(QuitWithoutNetworkTest, ViewerExitsInTime) {
    const NetworkMoment moment = GetParam().value;
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(interfaceDown.begin(network));
    if (moment == NetworkMoment::interfaceGoesDown)
        return;
    ASSERT_TRUE(logShows({pathLost}, mark, 3s));
    if (moment == NetworkMoment::interfaceIsDown) {
        expectThroughout(3s, [&] { return nothingScheduled(mark); });
        return;
    }
    // The interface gets another address, so that the old connection cannot survive.
    ASSERT_TRUE(network.viewer().run(
        QStringLiteral("ip address del %1/24 dev viewer0").arg(CameraNetwork::viewerAddress)));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 192.0.2.3/24 dev viewer0")));
    ASSERT_TRUE(interfaceDown.end(network));
    ASSERT_TRUE(
        logShows({moment == NetworkMoment::attemptIsDue ? anyScheduling : probing}, mark, 5s));
}

INSTANTIATE_TEST_SUITE_P(All, QuitWithoutNetworkTest, testing::ValuesIn(networkMoments),
                         nameOfParameter);

} // namespace
} // namespace lumvik::test
