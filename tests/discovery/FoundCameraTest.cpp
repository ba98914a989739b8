#include "SearchedDevice.h"
#include "discovery/CameraSearch.h"
#include "discovery/OnvifClient.h"
#include "testcamera/RtspConversation.h"
#include "testcamera/RunningTestCamera.h"

#include <QUdpSocket>

#include <gtest/gtest.h>

// The whole way from a search to the addresses of the streams, with a test camera in a process of
// its own.

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

const OnvifLogin anna{u"anna"_s, u"s3cret@/ö"_s};

/// Returns a port on which nobody listens.
QString freePort() {
    QUdpSocket socket;
    EXPECT_TRUE(socket.bind(QHostAddress(QHostAddress::LocalHost), 0));
    return QString::number(socket.localPort());
}

std::optional<OnvifOutcome> failure(OnvifCause cause) {
    return OnvifOutcome(tl::unexpected(cause));
}

class FoundCameraTest : public testing::Test {
  protected:
    /// Starts a camera with the login `anna` and with faults.
    void startCamera(const QStringList &faults = {}, const QStringList &more = {}) {
        QStringList arguments{u"--onvif"_s, u"0"_s,      u"--onvif-discovery-port"_s,
                              port,         u"--name"_s, u"Front <Door>"_s,
                              u"--user"_s,  anna.user,   u"--password"_s,
                              anna.password};
        for (const QString &fault : faults)
            arguments += {u"--onvif-fault"_s, fault};
        camera = std::make_unique<test::RunningTestCamera>(arguments + more);
        ASSERT_FALSE(camera->url().isEmpty());
    }

    /// Searches until a camera is found.
    [[nodiscard]] std::optional<FoundCamera> search() {
        CameraSearch cameraSearch(queue, {.interfaces = CameraSearchOptions::Interfaces::loopback,
                                          .port = port.toUShort()});
        std::optional<FoundCamera> found;
        QObject::connect(&cameraSearch, &CameraSearch::found, &cameraSearch,
                         [&found](const FoundCamera &each) { found = each; });
        cameraSearch.start();
        (void)test::waitUntil([&] { return found.has_value(); });
        return found;
    }

    [[nodiscard]] std::optional<OnvifOutcome> ask(const FoundCamera &found,
                                                  const OnvifLogin &login = anna) {
        OnvifClient client(queue);
        std::optional<OnvifOutcome> outcome;
        QObject::connect(&client, &OnvifClient::finished, &client,
                         [&outcome](const OnvifOutcome &each) { outcome = each; });
        client.ask(found.serviceAddress, login);
        (void)test::waitUntil([&] { return outcome.has_value(); }, 30'000);
        return outcome;
    }

    const QString port = freePort();
    QtMainQueue queue;
    std::unique_ptr<test::RunningTestCamera> camera;
};

class FoundCameraWithFaults : public FoundCameraTest,
                              public testing::WithParamInterface<QStringList> {};

TEST_P(FoundCameraWithFaults, HasAStreamThatCanBePlayed) {
    ASSERT_NO_FATAL_FAILURE(startCamera(GetParam()));
    const auto found = search();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->name, u"Front <Door>"_s);
    EXPECT_EQ(found->hardware, u"Test Camera"_s);
    EXPECT_EQ(found->location, u"this computer"_s);
    EXPECT_TRUE(found->identity.startsWith(u"uuid:"_s));
    EXPECT_EQ(u"ok "_s + found->serviceAddress.toString(), camera->command("onvif"));

    const auto outcome = ask(*found);
    ASSERT_TRUE(outcome);
    ASSERT_TRUE(*outcome) << static_cast<int>(outcome->error());
    EXPECT_TRUE((*outcome)->isLoginAccepted);
    const OnvifProfile &stream = (*outcome)->profiles.at(0);
    EXPECT_EQ(stream.address, camera->url().toString());
    EXPECT_EQ(stream.name, u"Main Stream"_s);
    EXPECT_EQ(stream.size, QSize(320, 180));
    EXPECT_EQ(stream.framesPerSecond, 25);
    EXPECT_EQ(stream.codec, u"H264"_s);
    const QString refusals = GetParam().contains(u"local-time"_s) ? u"ok 1"_s : u"ok 0"_s;
    EXPECT_EQ(camera->command("refusals"), refusals);
}

INSTANTIATE_TEST_SUITE_P(
    Table, FoundCameraWithFaults,
    testing::Values(QStringList(), QStringList{u"clock-hour-off"_s}, QStringList{u"local-time"_s},
                    QStringList{u"clock-wants-login"_s}, QStringList{u"wrong-host"_s},
                    QStringList{u"other-prefixes"_s}, QStringList{u"http-digest"_s},
                    QStringList{u"http-digest"_s, u"clock-wants-login"_s, u"wrong-host"_s},
                    QStringList{u"other-prefixes"_s, u"local-time"_s, u"wrong-host"_s}),
    [](const auto &row) {
        QString name = row.param.isEmpty() ? u"none"_s : row.param.join(u'_');
        return name.replace(u'-', u'_').toStdString();
    });

TEST_F(FoundCameraTest, HasThreeProfilesWithAddressesThatPlay) {
    ASSERT_NO_FATAL_FAILURE(startCamera({u"three-profiles"_s}));
    const auto found = search();
    ASSERT_TRUE(found);
    const auto outcome = ask(*found);
    ASSERT_TRUE(outcome && *outcome);
    const auto &profiles = (*outcome)->profiles;
    ASSERT_EQ(profiles.size(), 3U);
    EXPECT_EQ(profiles[1].size, QSize(160, 90));
    EXPECT_EQ(profiles[1].framesPerSecond, 12);
    EXPECT_EQ(profiles[2].name, u"Mobile <3>"_s);
    for (const OnvifProfile &profile : profiles) {
        test::RtspConversation conversation{QUrl(profile.address)};
        ASSERT_TRUE(conversation.connectToServer());
        // The camera wants a password also for its streams; an unknown path would be a 404.
        EXPECT_EQ(conversation.play(), 401) << qPrintable(profile.address);
    }
    EXPECT_EQ(profiles[1].address, camera->url().toString() + u"-sub"_s);
}

TEST_F(FoundCameraTest, WithAWrongPasswordIsAskedOnce) {
    ASSERT_NO_FATAL_FAILURE(startCamera());
    const auto found = search();
    ASSERT_TRUE(found);
    EXPECT_EQ(ask(*found, {anna.user, u"wrong"_s}), failure(OnvifCause::wrongPassword));
    EXPECT_EQ(camera->command("refusals"), u"ok 1"_s);
    EXPECT_EQ(ask(*found, {}), failure(OnvifCause::loginNeeded));
    EXPECT_EQ(camera->command("refusals"), u"ok 1"_s);
}

TEST_F(FoundCameraTest, ThatIsLockedRefusesTheRightPassword) {
    ASSERT_NO_FATAL_FAILURE(startCamera({}, {u"--lock-after"_s, u"1"_s}));
    const auto found = search();
    ASSERT_TRUE(found);
    for (const OnvifLogin &login : {OnvifLogin{anna.user, u"wrong"_s}, anna})
        EXPECT_EQ(ask(*found, login), failure(OnvifCause::wrongPassword));
    EXPECT_EQ(camera->command("refusals"), u"ok 2 locked"_s);
}

TEST_F(FoundCameraTest, KeepsItsIdentityOnAnotherPort) {
    ASSERT_NO_FATAL_FAILURE(startCamera());
    const auto first = search();
    camera.reset();
    ASSERT_NO_FATAL_FAILURE(startCamera());
    const auto second = search();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->identity, second->identity);
}

} // namespace
} // namespace lumvik
