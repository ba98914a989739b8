#include "RtspConversation.h"
#include "RunningTestCamera.h"
#include "StreamPlayer.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

// Tests of how the test camera accepts and counts clients.

namespace lumvik::test {
namespace {

QByteArray md5(const QByteArray &text) {
    return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
}

QByteArray basic(const QByteArray &credentials) {
    return "Accept: application/sdp\r\nAuthorization: Basic " + credentials.toBase64() + "\r\n";
}

/// Returns the headers of a DESCRIBE request that answers a digest challenge.
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

TEST(TestCamera, PasswordIsRequestedAndChecked) {
    RunningTestCamera camera(words("--user anna --password secret"));
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

/// Sends one DESCRIBE over a connection of its own and returns the status.
int statusWith(const RunningTestCamera &camera, const QByteArray &headers) {
    RtspConversation client(camera.url());
    if (!client.connectToServer())
        return -1;
    const auto response = client.request("DESCRIBE", headers);
    return response ? response->status : 0;
}

TEST(TestCamera, WrongPasswordsLockTheCamera) {
    RunningTestCamera camera(words("--user anna --password secret --lock-after 3"));
    EXPECT_EQ(statusWith(camera, basic("anna:wrong")), 401);
    EXPECT_EQ(statusWith(camera, basic("anna:secret")), 200);
    EXPECT_EQ(camera.command("refusals"), QStringLiteral("ok 1"));
    for (int login = 0; login < 3; ++login) {
        EXPECT_EQ(statusWith(camera, "Accept: application/sdp\r\n"), 401) << "is no login";
        EXPECT_EQ(statusWith(camera, basic("anna:wrong")), 401);
    }
    EXPECT_EQ(camera.command("refusals"), QStringLiteral("ok 4 locked"));
    EXPECT_EQ(statusWith(camera, basic("anna:secret")), 401);
    EXPECT_EQ(camera.command("refusals"), QStringLiteral("ok 5 locked"));
}

TEST(TestCamera, EverybodyIsRefusedAtFirst) {
    RunningTestCamera camera(words("--user anna --password secret --refuse-first 2"));
    EXPECT_EQ(statusWith(camera, basic("anna:secret")), 401);
    EXPECT_EQ(camera.command("refusals"), QStringLiteral("ok 1"));
    EXPECT_TRUE(waitUntil([&] { return statusWith(camera, basic("anna:secret")) == 200; }));
}

TEST(TestCamera, OnlyAPlayerWithThePasswordIsServed) {
    const RunningTestCamera camera(words("--user anna --password secret"));
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

TEST(TestCamera, RequestForAnUnknownPathIsRefused) {
    const RunningTestCamera camera(words("--path /yard/2"));
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
    RunningTestCamera camera;
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
    RunningTestCamera camera;
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 0 0 0"));
    auto first = watch(camera);
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 1 1 1"));
    RtspConversation onlooker(camera.url()); // This client connects but does not play.
    ASSERT_TRUE(onlooker.connectToServer());
    ASSERT_TRUE(onlooker.request("OPTIONS"));
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 1 1 1"));
    const auto second = watch(camera);
    first.reset();
    EXPECT_TRUE(waitUntil([&] { return camera.command("streams") == QStringLiteral("ok 1 2 2"); }));
    EXPECT_EQ(camera.command("drop"), QStringLiteral("ok"));
    EXPECT_EQ(camera.command("streams"), QStringLiteral("ok 0 2 2"));
}

/// Sends nothing (0), OPTIONS (1) or DESCRIBE (2), or plays the stream (3). Returns whether the
/// requests succeeded.
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

TEST(TestCamera, SurvivesManyClientsThatDisconnectAbruptly) {
    RunningTestCamera camera;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<RtspConversation>> crowd;
        for (int n = 0; n < 20; ++n) {
            auto client = std::make_unique<RtspConversation>(camera.url());
            ASSERT_TRUE(client->connectToServer());
            // The clients disconnect at different stages of the conversation.
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

} // namespace
} // namespace lumvik::test
