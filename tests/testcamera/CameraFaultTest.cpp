#include "RtspConversation.h"
#include "RunningTestCamera.h"
#include "StreamPlayer.h"
#include "platform/FileDescriptor.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

// Tests of the faults that the test camera simulates.

namespace lumvik::test {
namespace {

TEST(TestCamera, FreezeStopsThePicturesAndThawResumesThemWithTheCurrentTime) {
    RunningTestCamera camera(words("--clock"));
    const StreamPlayer player(camera.url());
    const auto watcher = watch(camera);
    ASSERT_TRUE(waitUntil([&] { return player.shownTime().has_value(); }));
    EXPECT_EQ(camera.command("freeze"), QStringLiteral("ok"));
    observeFor(300); // The last pictures sent before the freeze arrive.
    const int pictures = watcher->pictures();
    const std::uint32_t frozenTime = player.shownTime().value_or(0);
    observeFor(1000);
    EXPECT_EQ(watcher->pictures(), pictures);
    EXPECT_FALSE(watcher->isClosed());

    EXPECT_EQ(camera.command("thaw"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 3; }));
    ASSERT_TRUE(waitUntil([&] { return player.shownTime().value_or(frozenTime) != frozenTime; }));
    EXPECT_GE(player.shownTime().value_or(0) - frozenTime, 1000U);
}

TEST(TestCamera, RateOfThePicturesCanBeChanged) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    ASSERT_EQ(camera.command("fps 2.5"), QStringLiteral("ok"));
    observeFor(300); // the last pictures sent before the change arrive
    const int pictures = watcher->pictures();
    QElapsedTimer time;
    time.start();
    ASSERT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 5; }));
    EXPECT_GE(time.elapsed(), 1500); // four intervals of 400 ms, less the precision of polling
    ASSERT_EQ(camera.command("fps 100"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 30; }, 4000));
}

constexpr quint32 unitsPerSecond = 90'000;

TEST(TestCamera, StampsJumpWithTheClock) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    for (const auto &[command, jump] :
         {std::pair("clock-jump 1000", 1000 * unitsPerSecond),
          std::pair("clock-jump -2000", 0U - 2000 * unitsPerSecond)}) {
        const quint32 before = watcher->lastPicture().stamp;
        ASSERT_EQ(camera.command(command), QStringLiteral("ok"));
        const auto sinceJump = [&, jump = jump] {
            return watcher->lastPicture().stamp - (before + jump);
        };
        EXPECT_TRUE(waitUntil([&] { return sinceJump() < 20 * unitsPerSecond; })) << command;
    }
}

TEST(TestCamera, StampsCanClaimAnotherRate) {
    RunningTestCamera camera(words("--fps 50 --stamp-fps 10"));
    const auto watcher = watch(camera);
    const auto [pictures, stamp] = watcher->lastPicture();
    ASSERT_TRUE(waitUntil([&, first = pictures] { return watcher->pictures() >= first + 10; }));
    const auto [morePictures, laterStamp] = watcher->lastPicture();
    EXPECT_EQ(laterStamp - stamp,
              static_cast<quint32>(morePictures - pictures) * (unitsPerSecond / 10));
}

TEST(TestCamera, FrozenCameraAcceptsClientsButSendsNoPictures) {
    RunningTestCamera camera;
    EXPECT_EQ(camera.command("freeze"), QStringLiteral("ok"));
    RtspConversation watcher(camera.url());
    ASSERT_TRUE(watcher.connectToServer());
    ASSERT_EQ(watcher.play(), 200);
    observeFor(500);
    EXPECT_EQ(watcher.pictures(), 0);
    EXPECT_EQ(camera.command("thaw"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher.pictures() >= 2; }));
    EXPECT_GE(watcher.keyFrames(), 1);
}

TEST(TestCamera, EndCommandSendsAGoodbyePacketAndLaterClientsAreServed) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    const StreamPlayer player(camera.url());
    ASSERT_TRUE(waitUntil([&] { return player.pictures() >= 1; }));
    EXPECT_FALSE(watcher->saidGoodbye());
    EXPECT_EQ(camera.command("end"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher->saidGoodbye(); }));
    EXPECT_TRUE(waitUntil([&] { return player.hasEnded(); }));
    EXPECT_FALSE(watcher->isClosed());
    EXPECT_GE(watch(camera)->pictures(), 3);
}

TEST(TestCamera, DropCommandClosesEveryConnectionAndLaterClientsAreServed) {
    RunningTestCamera camera;
    const auto first = watch(camera);
    const auto second = watch(camera);
    EXPECT_EQ(camera.clients(), 2);
    EXPECT_EQ(camera.command("drop"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return first->isClosed() && second->isClosed(); }));
    EXPECT_EQ(camera.clients(), 0);
    EXPECT_GE(watch(camera)->pictures(), 3);
}

/// A plain TCP connection that reports how the camera closed the connection.
class BareConnection {
  public:
    enum class Ending { None, Orderly, Reset };

    explicit BareConnection(const QUrl &url) : m_descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<quint16>(url.port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_isConnected = ::connect(m_descriptor.get(), reinterpret_cast<const sockaddr *>(&address),
                                  sizeof address) == 0;
    }

    [[nodiscard]] bool isConnected() const { return m_isConnected; }
    /// Waits until the camera closes the connection, and returns how it was closed.
    [[nodiscard]] Ending waitForEnding() const {
        char byte = 0;
        ssize_t count = -1;
        const bool hasEnded = waitUntil([&] {
            count = recv(m_descriptor.get(), &byte, 1, MSG_DONTWAIT);
            return count >= 0 || errno != EAGAIN;
        });
        if (!hasEnded || count > 0)
            return Ending::None;
        return count < 0 && errno == ECONNRESET ? Ending::Reset : Ending::Orderly;
    }

  private:
    FileDescriptor m_descriptor;
    bool m_isConnected = false;
};

TEST(TestCamera, DropCommandResetsConnectionsOnlyOnRequest) {
    RunningTestCamera camera;
    for (const auto &[command, ending] : {std::pair("drop", BareConnection::Ending::Orderly),
                                          std::pair("drop reset", BareConnection::Ending::Reset)}) {
        const BareConnection connection(camera.url());
        ASSERT_TRUE(connection.isConnected());
        ASSERT_TRUE(waitUntil([&] { return camera.clients() == 1; }));
        EXPECT_EQ(camera.command(command), QStringLiteral("ok"));
        EXPECT_EQ(connection.waitForEnding(), ending) << command;
    }
    EXPECT_GE(watch(camera)->pictures(), 3);
}

TEST(TestCamera, RefusesConnectionsUntilTheAcceptCommandReopensTheSamePort) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    EXPECT_EQ(camera.command("refuse"), QStringLiteral("ok"));
    EXPECT_EQ(camera.command("refuse"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher->isClosed(); }));
    RtspConversation refused(camera.url());
    EXPECT_FALSE(refused.connectToServer());
    EXPECT_EQ(refused.error(), QAbstractSocket::ConnectionRefusedError);
    EXPECT_EQ(camera.command("accept"), QStringLiteral("ok"));
    EXPECT_EQ(camera.command("accept"), QStringLiteral("ok"));
    EXPECT_GE(watch(camera)->pictures(), 3);
}

TEST(TestCamera, SilentCameraAcceptsConnectionsButSendsNoReplies) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    EXPECT_EQ(camera.command("silent"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher->isClosed(); }));
    RtspConversation ignored(camera.url());
    ASSERT_TRUE(ignored.connectToServer());
    EXPECT_FALSE(ignored.request("OPTIONS", {}, {}, 700));
    EXPECT_FALSE(ignored.isClosed());
    EXPECT_EQ(camera.clients(), 1);
    EXPECT_EQ(camera.command("speak"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return ignored.isClosed(); }));
    EXPECT_EQ(camera.clients(), 0);
    EXPECT_GE(watch(camera)->pictures(), 3);
}

TEST(TestCamera, HangUpCommandClosesEveryPlayingClientUntilTheStayCommand) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    EXPECT_EQ(camera.command("hangup"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return watcher->isClosed(); }));
    for (int n = 0; n < 3; ++n) {
        RtspConversation client(camera.url());
        ASSERT_TRUE(client.connectToServer());
        EXPECT_EQ(client.play(), 200);
        EXPECT_TRUE(waitUntil([&] { return client.isClosed(); }));
        EXPECT_EQ(client.pictures(), 0);
    }
    EXPECT_TRUE(waitUntil([&] { return camera.clients() == 0; }));
    EXPECT_EQ(camera.command("stay"), QStringLiteral("ok"));
    EXPECT_GE(watch(camera)->pictures(), 3);
}

} // namespace
} // namespace lumvik::test
