#include "CameraUnderTest.h"
#include "PictureLayout.h"
#include "RtspConversation.h"
#include "StreamPlayer.h"

#include <QCryptographicHash>
#include <QElapsedTimer>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace lumvik::test {
namespace {

QStringList words(const char *line) {
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}

/// A conversation whose stream plays and has shown pictures.
std::unique_ptr<RtspConversation> watch(const CameraUnderTest &camera) {
    auto watcher = std::make_unique<RtspConversation>(camera.url());
    EXPECT_TRUE(watcher->connectToServer());
    EXPECT_EQ(watcher->play(), 200);
    EXPECT_TRUE(waitUntil([&] { return watcher->pictures() >= 3; }));
    return watcher;
}

/// Players round differently when they convert colours.
constexpr int colourTolerance = 6;

/// How far the decoded bars are from the documented colours, in the worst channel.
int worstBarError(const QImage &picture) {
    int worst = 0;
    for (int n = 0; n < PictureLayout::barCount; ++n) {
        const PictureLayout::Region bar = PictureLayout::bar(n);
        const QColor shown =
            picture.pixelColor(static_cast<int>((bar.left + bar.width / 2) * picture.width()),
                               static_cast<int>((bar.top + bar.height / 2) * picture.height()));
        const PictureLayout::Colour wanted = PictureLayout::barColours[static_cast<std::size_t>(n)];
        worst = std::max({worst, std::abs(shown.red() - wanted.red),
                          std::abs(shown.green() - wanted.green),
                          std::abs(shown.blue() - wanted.blue)});
    }
    return worst;
}

QString barsIn(const QImage &picture) {
    QString text;
    for (int n = 0; n < PictureLayout::barCount; ++n)
        text += picture
                    .pixelColor((2 * n + 1) * picture.width() / (2 * PictureLayout::barCount),
                                picture.height() / 4)
                    .name() +
                QLatin1Char(' ');
    return text;
}

int median(std::vector<int> values) {
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

TEST(TestCamera, BarsHaveTheirColoursInBothCodecs) {
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
        const CameraUnderTest camera(
            words(codec == VideoCodec::H264 ? "--codec h264" : "--codec h265"));
        const StreamPlayer player(camera.url(), codec);
        ASSERT_TRUE(waitUntil([&] { return player.pictures() >= 5; }));
        EXPECT_EQ(player.picture().size(), QSize(320, 180));
        EXPECT_LE(worstBarError(player.picture()), colourTolerance)
            << qPrintable(barsIn(player.picture()));
    }
}

TEST(TestCamera, SendsAsManyPicturesASecondAsAsked) {
    CameraUnderTest camera(words("--fps 20 --gop 10"));
    const auto watcher = watch(camera);
    const int pictures = watcher->pictures();
    const int keyFrames = watcher->keyFrames();
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 40; }));
    const double rate =
        1000.0 * (watcher->pictures() - pictures) / static_cast<double>(timer.elapsed());
    EXPECT_NEAR(rate, 20, 2);
    EXPECT_NEAR(watcher->keyFrames() - keyFrames, 4, 1);
}

TEST(TestCamera, ClientGetsAKeyFrameAtOnceHoweverFarTheNextOneIs) {
    CameraUnderTest camera(words("--gop 1000"));
    const auto first = watch(camera);
    RtspConversation second(camera.url());
    ASSERT_TRUE(second.connectToServer());
    QElapsedTimer timer;
    timer.start();
    ASSERT_EQ(second.play(), 200);
    ASSERT_TRUE(waitUntil([&] { return second.pictures() >= 1; }));
    EXPECT_EQ(second.keyFrames(), 1);
    EXPECT_LT(timer.elapsed(), 2000);
}

TEST(TestCamera, ClockShowsWhenThePictureWasPaintedAndAdvances) {
    CameraUnderTest camera(words("--clock --size 1280x720"));
    const StreamPlayer player(camera.url());
    ASSERT_TRUE(waitUntil([&] { return player.shownTime().has_value(); }));
    const std::uint32_t first = *player.shownTime();
    ASSERT_TRUE(waitUntil([&] { return player.delays().size() >= 50; }));
    EXPECT_GT(player.shownTime().value_or(first) - first, 1000U);
    EXPECT_LT(player.shownTime().value_or(0) - first, 30000U);
    const std::vector<int> delays = player.delays();
    EXPECT_GE(delays.size() * 20, static_cast<std::size_t>(player.pictures()) * 19);
    // From painting to a decoded picture; generous, for machines that are busy otherwise.
    EXPECT_LT(median(delays), 150);
    EXPECT_GE(*std::min_element(delays.begin(), delays.end()), 0);
    RecordProperty("MedianDelayMilliseconds", median(delays));
    std::printf("median delay from painting to decoded picture: %d ms\n", median(delays));
}

TEST(TestCamera, FreezeStopsThePicturesAndThawGoesOnWithThePresentTime) {
    CameraUnderTest camera(words("--clock"));
    const StreamPlayer player(camera.url());
    const auto watcher = watch(camera);
    ASSERT_TRUE(waitUntil([&] { return player.shownTime().has_value(); }));
    EXPECT_EQ(camera.command("freeze"), QStringLiteral("ok"));
    observeFor(300); // What was on its way arrives.
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

TEST(TestCamera, FrozenCameraLetsClientsInAndSendsThemNothing) {
    CameraUnderTest camera;
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

TEST(TestCamera, EndSaysGoodbyeAndLaterClientsAreServed) {
    CameraUnderTest camera;
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

TEST(TestCamera, DropClosesEveryConnectionAndLaterClientsAreServed) {
    CameraUnderTest camera;
    const auto first = watch(camera);
    const auto second = watch(camera);
    EXPECT_EQ(camera.clients(), 2);
    EXPECT_EQ(camera.command("drop"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return first->isClosed() && second->isClosed(); }));
    EXPECT_EQ(camera.clients(), 0);
    EXPECT_GE(watch(camera)->pictures(), 3);
}

/// A connection without any library's interpretation of how it ends.
class BareConnection {
  public:
    enum class Ending { None, Orderly, Reset };

    explicit BareConnection(const QUrl &url) : m_descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<quint16>(url.port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_isConnected = ::connect(m_descriptor, reinterpret_cast<const sockaddr *>(&address),
                                  sizeof address) == 0;
    }
    BareConnection(const BareConnection &) = delete;
    BareConnection &operator=(const BareConnection &) = delete;
    ~BareConnection() { ::close(m_descriptor); }

    [[nodiscard]] bool isConnected() const { return m_isConnected; }
    /// Waits for the other side to end the connection.
    [[nodiscard]] Ending waitForEnding() const {
        char byte = 0;
        ssize_t count = -1;
        const bool hasEnded = waitUntil([&] {
            count = recv(m_descriptor, &byte, 1, MSG_DONTWAIT);
            return count >= 0 || errno != EAGAIN;
        });
        if (!hasEnded || count > 0)
            return Ending::None;
        return count < 0 && errno == ECONNRESET ? Ending::Reset : Ending::Orderly;
    }

  private:
    int m_descriptor;
    bool m_isConnected = false;
};

TEST(TestCamera, DropIsOrderlyUnlessAResetIsAskedFor) {
    CameraUnderTest camera;
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

TEST(TestCamera, RefusesConnectionsUntilToldToAcceptThemOnTheSamePort) {
    CameraUnderTest camera;
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

TEST(TestCamera, SilentCameraTakesConnectionsAndAnswersNothing) {
    CameraUnderTest camera;
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

TEST(TestCamera, HangsUpOnThoseWhoPlayUntilToldToStay) {
    CameraUnderTest camera;
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

TEST(TestCamera, SizeChangesForRunningAndForNewClients) {
    CameraUnderTest camera;
    const StreamPlayer running(camera.url());
    ASSERT_TRUE(waitUntil([&] { return running.pictures() >= 3; }));
    EXPECT_EQ(camera.command("size 640x360"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return running.picture().size() == QSize(640, 360); }));
    const StreamPlayer next(camera.url());
    ASSERT_TRUE(waitUntil([&] { return next.pictures() >= 3; }));
    EXPECT_EQ(next.picture().size(), QSize(640, 360));
    EXPECT_LE(worstBarError(next.picture()), colourTolerance) << qPrintable(barsIn(next.picture()));
    EXPECT_TRUE(camera.command("size 3x3").startsWith(QLatin1String("error ")));
}

TEST(TestCamera, RotationTravelsWithTheStream) {
    CameraUnderTest camera;
    const auto watcher = watch(camera);
    EXPECT_FALSE(watcher->rotation());
    for (const int degrees : {90, 180, 270, 0}) {
        EXPECT_EQ(camera.command("rotate " + QByteArray::number(degrees)), QStringLiteral("ok"));
        EXPECT_TRUE(waitUntil([&] { return watcher->rotation() == degrees; })) << degrees;
    }
    EXPECT_TRUE(camera.command("rotate 45").startsWith(QLatin1String("error ")));
}

TEST(TestCamera, CodecChangesForTheNextClientsAlone) {
    CameraUnderTest camera;
    const StreamPlayer running(camera.url());
    ASSERT_TRUE(waitUntil([&] { return running.pictures() >= 3; }));
    EXPECT_EQ(camera.command("codec h265"), QStringLiteral("ok"));
    const StreamPlayer next(camera.url(), VideoCodec::H265);
    ASSERT_TRUE(waitUntil([&] { return next.pictures() >= 3; }));
    const int pictures = running.pictures();
    EXPECT_TRUE(waitUntil([&] { return running.pictures() > pictures; }));
}

QByteArray md5(const QByteArray &text) {
    return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
}

QByteArray basic(const QByteArray &credentials) {
    return "Accept: application/sdp\r\nAuthorization: Basic " + credentials.toBase64() + "\r\n";
}

/// The answer to a digest challenge for DESCRIBE.
QByteArray digest(const QByteArray &challenge, const QByteArray &uri, const QByteArray &password) {
    const auto field = [&challenge](const QByteArray &name) {
        const qsizetype begin = challenge.indexOf(name + "=\"") + name.size() + 2;
        return challenge.mid(begin, challenge.indexOf('"', begin) - begin);
    };
    const QByteArray answer = md5(md5("anna:" + field("realm") + ':' + password) + ':' +
                                  field("nonce") + ':' + md5("DESCRIBE:" + uri));
    return "Accept: application/sdp\r\nAuthorization: Digest username=\"anna\", realm=\"" +
           field("realm") + "\", nonce=\"" + field("nonce") + "\", uri=\"" + uri +
           "\", response=\"" + answer + "\"\r\n";
}

TEST(TestCamera, PasswordIsAskedForAndChecked) {
    CameraUnderTest camera(words("--user anna --password secret"));
    RtspConversation client(camera.url());
    ASSERT_TRUE(client.connectToServer());
    const auto status = [&client](const QByteArray &headers) {
        const auto response = client.request("DESCRIBE", headers);
        return response ? response->status : 0;
    };
    const auto challenge = client.request("DESCRIBE", "Accept: application/sdp\r\n");
    ASSERT_TRUE(challenge);
    EXPECT_EQ(challenge->status, 401);
    const QByteArray ways = challenge->headers.value("www-authenticate");
    EXPECT_TRUE(ways.contains("Digest")) << ways.constData();
    EXPECT_TRUE(ways.contains("Basic")) << ways.constData();
    EXPECT_EQ(status(basic("anna:wrong")), 401);
    EXPECT_EQ(status(digest(ways, camera.url().toEncoded(), "wrong")), 401);
    EXPECT_EQ(status(digest(ways, camera.url().toEncoded(), "secret")), 200);
    RtspConversation other(camera.url());
    ASSERT_TRUE(other.connectToServer());
    const auto described = other.request("DESCRIBE", basic("anna:secret"));
    ASSERT_TRUE(described);
    EXPECT_EQ(described->status, 200);
}

TEST(TestCamera, PlayerWithThePasswordIsServed) {
    const CameraUnderTest camera(words("--user anna --password secret"));
    QUrl url = camera.url();
    url.setUserName(QStringLiteral("anna"));
    url.setPassword(QStringLiteral("secret"));
    const StreamPlayer player(url);
    EXPECT_TRUE(waitUntil([&] { return player.pictures() >= 3; }));
    url.setPassword(QStringLiteral("wrong"));
    const StreamPlayer stranger(url);
    EXPECT_TRUE(waitUntil([&] { return stranger.hasEnded(); }));
    EXPECT_EQ(stranger.pictures(), 0);
}

TEST(TestCamera, AnotherPathIsNotFound) {
    const CameraUnderTest camera(words("--path /yard/2"));
    EXPECT_EQ(camera.url().path(), QStringLiteral("/yard/2"));
    RtspConversation right(camera.url());
    ASSERT_TRUE(right.connectToServer());
    EXPECT_EQ(right.play(), 200);
    QUrl elsewhere = camera.url();
    elsewhere.setPath(QStringLiteral("/attic"));
    RtspConversation wrong(elsewhere);
    ASSERT_TRUE(wrong.connectToServer());
    EXPECT_EQ(wrong.play(), 404);
}

TEST(TestCamera, ClientsAreCountedByConnection) {
    CameraUnderTest camera;
    EXPECT_EQ(camera.clients(), 0);
    auto first = watch(camera);
    auto second = watch(camera);
    EXPECT_EQ(camera.clients(), 2);
    const int pictures = first->pictures();
    second.reset();
    EXPECT_TRUE(waitUntil([&] { return camera.clients() == 1; }));
    EXPECT_TRUE(waitUntil([&] { return first->pictures() >= pictures + 5; }));
    first->abort();
    EXPECT_TRUE(waitUntil([&] { return camera.clients() == 0; }));
}

TEST(TestCamera, StreamsAreCountedWhileTheyPlay) {
    CameraUnderTest camera;
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 0 0 0"));
    auto first = watch(camera);
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 1 1 1"));
    RtspConversation onlooker(camera.url()); // connected, but not playing
    ASSERT_TRUE(onlooker.connectToServer());
    ASSERT_TRUE(onlooker.request("OPTIONS"));
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 1 1 1"));
    const auto second = watch(camera);
    first.reset();
    EXPECT_TRUE(waitUntil([&] { return camera.command("streams") == QStringLiteral("ok 1 2 2"); }));
    EXPECT_EQ(camera.command("drop"), QStringLiteral("ok"));
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 0 2 2"));
}

/// Goes so many steps into a conversation; answers whether the camera played along.
bool converse(RtspConversation &client, int steps) {
    switch (steps) {
    case 1:
        return client.request("OPTIONS").has_value();
    case 2:
        return client.request("DESCRIBE", "Accept: application/sdp\r\n").has_value();
    case 3:
        return client.play() == 200;
    default:
        return true;
    }
}

TEST(TestCamera, SurvivesManyClientsThatComeAndVanish) {
    CameraUnderTest camera;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<RtspConversation>> crowd;
        for (int n = 0; n < 20; ++n) {
            auto client = std::make_unique<RtspConversation>(camera.url());
            ASSERT_TRUE(client->connectToServer());
            // They leave at every stage of the conversation.
            EXPECT_TRUE(converse(*client, n % 4));
            crowd.push_back(std::move(client));
        }
        EXPECT_TRUE(waitUntil([&] { return camera.clients() == 20; }));
        EXPECT_EQ(camera.command(round == 1 ? "drop" : "thaw"), QStringLiteral("ok"));
        for (const auto &client : crowd)
            client->abort();
        EXPECT_TRUE(waitUntil([&] { return camera.clients() == 0; }));
    }
    EXPECT_GE(watch(camera)->pictures(), 3);
    EXPECT_EQ(camera.command("quit"), QStringLiteral("ok"));
    EXPECT_TRUE(camera.process().waitForFinished(10000));
    EXPECT_EQ(camera.process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(camera.process().exitCode(), 0);
}

TEST(TestCamera, UnknownCommandIsAnErrorAndNothingElse) {
    CameraUnderTest camera;
    EXPECT_TRUE(camera.command("dance").startsWith(QLatin1String("error ")));
    EXPECT_EQ(camera.clients(), 0);
}

int exitCodeOf(const QStringList &arguments, QByteArray *message = nullptr) {
    QProcess process;
    process.start(cameraProgram(), arguments);
    if (!process.waitForFinished(20000))
        return -1;
    if (message != nullptr)
        *message = process.readAllStandardError();
    return process.exitCode();
}

TEST(TestCamera, BadOptionsAndATakenPortHaveTheirExitCodes) {
    QByteArray message;
    EXPECT_EQ(exitCodeOf(words("--size huge"), &message), 2);
    EXPECT_TRUE(message.contains("huge")) << message.constData();
    const CameraUnderTest camera;
    const QString port = QString::number(camera.url().port());
    EXPECT_EQ(exitCodeOf({QStringLiteral("--port"), port}, &message), 1);
    EXPECT_TRUE(message.contains(port.toLatin1())) << message.constData();
}

TEST(TestCamera, ServesOnWithoutStandardInputUntilTerminated) {
    QProcess process;
    process.start(cameraProgram(), words("--port 0 --size 320x180"));
    ASSERT_TRUE(waitUntil([&] { return process.canReadLine(); }, 20000));
    const QUrl url(QString::fromUtf8(process.readLine()).trimmed().mid(6));
    process.closeWriteChannel();
    observeFor(300);
    EXPECT_EQ(process.state(), QProcess::Running);
    RtspConversation client(url);
    ASSERT_TRUE(client.connectToServer());
    EXPECT_EQ(client.play(), 200);
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
}

TEST(TestCamera, EndsWithStandardInputWhenAskedTo) {
    CameraUnderTest camera;
    camera.process().closeWriteChannel();
    ASSERT_TRUE(camera.process().waitForFinished(10000));
    EXPECT_EQ(camera.process().exitCode(), 0);
}

} // namespace
} // namespace lumvik::test
