// A network that goes away, comes back and changes under the viewer.

#include "fakes/Named.h"
#include "system/harness/Eventually.h"
#include "system/harness/NetworkFaultFixture.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace lumvik::test {
namespace {

using NetworkFaultTest = NetworkFaultFixture;

using namespace std::chrono_literals;

TEST_F(NetworkFaultTest, PictureIsBackAfterTheInterfaceWasDown) {
    testCut(interfaceDown, 5s);
}

TEST_F(NetworkFaultTest, PictureIsBackAfterTheCableWasOut) {
    testCut(cableOut, 5s);
}

TEST_F(NetworkFaultTest, ANewAddressMeansOneNewConnection) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(network.viewer().run(
        QStringLiteral("ip address del %1/24 dev viewer0").arg(CameraNetwork::viewerAddress)));
    faultIsOver();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 192.0.2.3/24 dev viewer0")));
    expectOneAttempt(mark, Connection::isDead);
    EXPECT_TRUE(logTells({pathLost, pathFound, anyScheduling}, mark));
}

TEST_F(NetworkFaultTest, ARenamedInterfaceMeansOneAttempt) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    // An interface must be down to get another name on most kernels.
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set viewer0 down")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set viewer0 name renamed0")));
    ASSERT_TRUE(logTells({pathLost}, mark, 3s));
    const qsizetype upMark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set renamed0 up")));
    ASSERT_TRUE(logTells({pathFound, anyScheduling}, upMark, 3s));
    expectOneAttempt(upMark, Connection::mayLiveOn);
}

/// A tunnel's end inside a namespace; closed, its interface is gone.
class Tunnel {
  public:
    Tunnel() = default;
    Tunnel(const Tunnel &) = delete;
    Tunnel &operator=(const Tunnel &) = delete;
    ~Tunnel() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    [[nodiscard]] testing::AssertionResult open(const NetworkNamespace &in, const char *name) {
        return in.call([&]() -> testing::AssertionResult {
            m_descriptor = ::open("/dev/net/tun", O_RDWR | O_CLOEXEC);
            ifreq request{};
            request.ifr_flags = IFF_TUN | IFF_NO_PI;
            std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
            if (m_descriptor >= 0 && ::ioctl(m_descriptor, TUNSETIFF, &request) == 0)
                return testing::AssertionSuccess();
            return testing::AssertionFailure() << "no tunnel: " << std::strerror(errno);
        });
    }

  private:
    int m_descriptor = -1;
};

TEST_F(NetworkFaultTest, ASecondInterfaceOfAnotherKindMeansOneAttempt) {
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

TEST_F(NetworkFaultTest, ASecondInterfaceOfTheSameKindDisturbsNothing) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link add viewer1 type veth peer name "
                                                    "camera1 netns %1")
                                         .arg(network.camera().processId())));
    ASSERT_TRUE(network.camera().run(QStringLiteral("ip link set camera1 up")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 198.51.100.1/24 dev viewer1")));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip link set viewer1 up")));
    ASSERT_TRUE(logTells({pathFound}, mark, 5s));
    expectThroughout(3s, [&] { return nothingScheduled(mark); });
    EXPECT_TRUE(pictureIsLive(1s));
    EXPECT_EQ(countInLog(loading, mark), 0);
}

TEST_F(NetworkFaultTest, WithoutAnyNetworkTheViewerWaitsForOne) {
    ASSERT_NO_FATAL_FAILURE(startNetwork(CameraNetwork::Cable::unplugged));
    // It serves on an address that it will have only later.
    ASSERT_TRUE(network.camera().run(
        QStringLiteral("ip address add %1/32 dev lo").arg(CameraNetwork::cameraAddress)));
    ASSERT_TRUE(startListedCamera(networkCamera()));
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    ASSERT_TRUE(logTells({pathLost}, 0, 5s));
    expectWindowMoves();
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_TRUE(eventually(5s, [this] { return bool{windowIsBlack()}; }));
    expectThroughout(3s, [this] {
        return countInLog(loading, 0) == 0 ? nothingScheduled(0)
                                           : testing::AssertionFailure() << "a camera is loaded";
    });

    const qsizetype mark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(network.plugIn());
    expectOneAttempt(mark, Connection::isDead);
}

TEST_F(NetworkFaultTest, WithoutAnyNetworkTheViewerCloses) {
    ASSERT_NO_FATAL_FAILURE(startNetwork(CameraNetwork::Cable::unplugged));
    home.writeCameras({{QStringLiteral("Nobody"),
                        QStringLiteral("rtsp://%1/none").arg(CameraNetwork::cameraAddress)}});
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    ASSERT_TRUE(logTells({pathLost}, 0, 5s));
    expectCloseButtonEndsViewer();
}

/// The moments at which the viewer is told to end. That it does so in order and in time is checked
/// at the end of every test.
enum class Moment {
    interfaceGoesDown, ///< At once.
    interfaceIsDown,   ///< A few seconds later, with the stream's connection still hanging.
    attemptIsDue,      ///< The interface is up again, and the attempt waits for its time.
    playerStarts,      ///< A moment later, while the new connection is made.
};

constexpr Named<Moment> moments[] = {{Moment::interfaceGoesDown, "WhenTheInterfaceGoesDown"},
                                     {Moment::interfaceIsDown, "WhileTheInterfaceIsDown"},
                                     {Moment::attemptIsDue, "WhileAnAttemptIsDue"},
                                     {Moment::playerStarts, "WhileThePlayerStarts"}};

class QuitWithoutNetworkTest : public NetworkFaultFixture,
                               public testing::WithParamInterface<Named<Moment>> {};

TEST_P(QuitWithoutNetworkTest, ViewerEndsInTime) {
    const Moment moment = GetParam().value;
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(interfaceDown.begin(network));
    if (moment == Moment::interfaceGoesDown)
        return;
    ASSERT_TRUE(logTells({pathLost}, mark, 3s));
    if (moment == Moment::interfaceIsDown) {
        expectThroughout(3s, [&] { return nothingScheduled(mark); });
        return;
    }
    // With another address, so that the old connection cannot live on.
    ASSERT_TRUE(network.viewer().run(
        QStringLiteral("ip address del %1/24 dev viewer0").arg(CameraNetwork::viewerAddress)));
    ASSERT_TRUE(network.viewer().run(QStringLiteral("ip address add 192.0.2.3/24 dev viewer0")));
    ASSERT_TRUE(interfaceDown.end(network));
    ASSERT_TRUE(logTells({moment == Moment::attemptIsDue ? anyScheduling : probing}, mark, 5s));
}

INSTANTIATE_TEST_SUITE_P(All, QuitWithoutNetworkTest, testing::ValuesIn(moments), nameOfParameter);

} // namespace
} // namespace lumvik::test
