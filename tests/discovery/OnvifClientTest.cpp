#include "discovery/OnvifClient.h"

#include "OnvifDevice.h"
#include "OwnNetwork.h"
#include "fakes/VirtualMainQueue.h"

#include <QCryptographicHash>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;
using test::OnvifDevice;
using test::OnvifQuestion;
using testing::ElementsAre;

/// What the clock of the usual device shows.
const QDateTime deviceTime(QDate(2021, 2, 3), QTime(10, 20, 30), Qt::UTC);
const QDateTime ownTime(QDate(2026, 1, 31), QTime(12, 0), Qt::UTC);
const OnvifLogin anna{u"anna"_s, u"s3cret"_s};

/// Whether a question proves that the client knows Anna's password, with a token of `created`.
bool hasToken(const OnvifQuestion &question, const QDateTime &created) {
    const XmlElement *token = question.token();
    if (token == nullptr)
        return false;
    const QByteArray nonce = QByteArray::fromBase64(token->textAt({u"Nonce"}).toLatin1());
    const QString text = token->textAt({u"Created"});
    const QByteArray digest =
        QCryptographicHash::hash(nonce + text.toUtf8() + "s3cret", QCryptographicHash::Sha1);
    return token->textAt({u"Username"}) == u"anna"_s && nonce.size() == 16 &&
           token->textAt({u"Password"}).toLatin1() == digest.toBase64() &&
           QDateTime::fromString(text, Qt::ISODate) == created;
}

bool needsNoLogin(const OnvifQuestion &question) {
    return question.call == u"GetSystemDateAndTime"_s;
}

/// A device that wants a token of the time `created`.
OnvifDevice::Handler wantsToken(const QDateTime &created) {
    return [created](const OnvifQuestion &question) {
        return needsNoLogin(question) || hasToken(question, created)
                   ? OnvifDevice::usualReply(question)
                   : OnvifDevice::notAuthorized();
    };
}

constexpr const char *challenge =
    "WWW-Authenticate: Digest realm=\"r\", nonce=\"n1\", qop=\"auth\"\r\n";

class OnvifClientTest : public testing::Test {
  protected:
    /// Asks a device and returns the outcome, or nothing if there is none in time.
    std::optional<OnvifOutcome> ask(const OnvifDevice &device, const OnvifLogin &login = anna) {
        outcome.reset();
        client.ask(device.service(), login);
        EXPECT_FALSE(outcome);
        (void)finishes();
        return outcome;
    }
    /// Waits until there is an outcome, without moving the clock.
    [[nodiscard]] bool finishes() {
        return QTest::qWaitFor(
            [this] {
                queue.runPending();
                return outcome.has_value();
            },
            10'000);
    }
    static std::optional<OnvifOutcome> failure(OnvifCause cause) {
        return OnvifOutcome(tl::unexpected(cause));
    }

    void SetUp() override {
        QObject::connect(&client, &OnvifClient::finished, &client,
                         [this](const OnvifOutcome &each) {
                             EXPECT_FALSE(outcome) << "finished twice";
                             outcome = each;
                         });
    }

    test::VirtualMainQueue queue;
    OnvifClient client{queue, [] { return ownTime; }};
    std::optional<OnvifOutcome> outcome;
};

TEST_F(OnvifClientTest, DescribesTheStreamsOfAnOpenCamera) {
    OnvifDevice device(OnvifDevice::usualReply);
    const auto result = ask(device, {});
    ASSERT_TRUE(result && *result);
    const OnvifStreams &streams = **result;
    ASSERT_EQ(streams.profiles.size(), 2U);
    EXPECT_EQ(streams.profiles[0].address, u"rtsp://127.0.0.1:554/main"_s);
    EXPECT_EQ(streams.profiles[0].size, QSize(640, 360));
    EXPECT_EQ(streams.profiles[1].address, u"rtsp://127.0.0.1:554/sub"_s);
    EXPECT_FALSE(streams.isLoginAccepted);
    EXPECT_THAT(device.calls(),
                ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s, u"GetProfiles"_s,
                            u"GetStreamUri"_s, u"GetStreamUri"_s));
    EXPECT_EQ(device.questions()[2].target, "/onvif/media");
}

TEST_F(OnvifClientTest, SendsNoLoginBeforeTheCameraWantsOne) {
    OnvifDevice device(OnvifDevice::usualReply);
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_FALSE((*result)->isLoginAccepted);
    for (const QString &call : device.calls())
        EXPECT_FALSE(call.endsWith(u'+')) << qPrintable(call);
}

TEST_F(OnvifClientTest, LogsInWithATokenOfTheCamerasTime) {
    OnvifDevice device(wantsToken(deviceTime));
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_TRUE((*result)->isLoginAccepted);
    EXPECT_THAT(device.calls(),
                ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s, u"GetServices+"_s,
                            u"GetProfiles+"_s, u"GetStreamUri+"_s, u"GetStreamUri+"_s));
    // Each token has a nonce of its own.
    EXPECT_NE(device.questions()[2].token()->textAt({u"Nonce"}),
              device.questions()[3].token()->textAt({u"Nonce"}));
}

TEST_F(OnvifClientTest, TheCamerasClockGoesOn) {
    OnvifDevice device([&](const OnvifQuestion &question) {
        if (question.call == u"GetServices"_s && question.token() == nullptr)
            queue.advance(3);
        return wantsToken(deviceTime.addSecs(3))(question);
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
}

TEST_F(OnvifClientTest, TriesTheLocalTimeOnce) {
    OnvifDevice device(wantsToken(deviceTime.addSecs(2 * 3600)));
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_TRUE((*result)->isLoginAccepted);
    EXPECT_EQ(device.calls().count(u"GetServices+"_s), 2);
}

TEST_F(OnvifClientTest, AWrongPasswordIsSentTwiceAtMost) {
    OnvifDevice device(wantsToken(deviceTime));
    EXPECT_EQ(ask(device, {u"anna"_s, u"wrong"_s}), failure(OnvifCause::wrongPassword));
    EXPECT_THAT(device.calls(), ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s,
                                            u"GetServices+"_s, u"GetServices+"_s));
}

TEST_F(OnvifClientTest, AWrongPasswordIsSentOnceIfTheClockCannotBeTheReason) {
    OnvifDevice device([](const OnvifQuestion &question) {
        if (!needsNoLogin(question))
            return OnvifDevice::notAuthorized();
        // Both times are the same.
        QByteArray reply = OnvifDevice::usualReply(question);
        return reply.replace("<t:Hour>12</t:Hour>", "<t:Hour>10</t:Hour>");
    });
    EXPECT_EQ(ask(device), failure(OnvifCause::wrongPassword));
    EXPECT_EQ(device.calls().count(u"GetServices+"_s), 1);
}

TEST_F(OnvifClientTest, WithoutALoginOneIsAskedFor) {
    OnvifDevice device(wantsToken(deviceTime));
    EXPECT_EQ(ask(device, {}), failure(OnvifCause::loginNeeded));
    EXPECT_THAT(device.calls(), ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s));
}

struct ClockCase {
    QByteArray reply;
    QDateTime used;
};

class OnvifClockFallback : public OnvifClientTest, public testing::WithParamInterface<ClockCase> {};

TEST_P(OnvifClockFallback, IsTheDateOfTheReplyOrOurOwnTime) {
    OnvifDevice device([](const OnvifQuestion &question) {
        return needsNoLogin(question) ? GetParam().reply : wantsToken(GetParam().used)(question);
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_EQ(device.calls().count(u"GetSystemDateAndTime"_s), 1);
}

const QByteArray dateHeader = "Date: Wed, 03 Feb 2021 10:20:30 GMT\r\n";

INSTANTIATE_TEST_SUITE_P(
    Table, OnvifClockFallback,
    testing::Values(ClockCase{OnvifDevice::reply(401, "", dateHeader + challenge), deviceTime},
                    ClockCase{OnvifDevice::reply(401, "", challenge), ownTime},
                    ClockCase{OnvifDevice::message("<s:Fault/>", 500, dateHeader), deviceTime},
                    ClockCase{OnvifDevice::notAuthorized(), ownTime},
                    ClockCase{OnvifDevice::reply(404, "", dateHeader), deviceTime},
                    ClockCase{OnvifDevice::message("<t:GetSystemDateAndTimeResponse/>"), ownTime}));

/// A device that wants Digest authentication and accepts any response to the nonce "n1".
QByteArray wantsDigest(const OnvifQuestion &question) {
    const QByteArray login = question.header("authorization");
    const bool isRight = login.startsWith("Digest ") && login.contains("nonce=\"n1\"") &&
                         login.contains("uri=\"" + question.target + '"');
    return needsNoLogin(question) || isRight ? OnvifDevice::usualReply(question)
                                             : OnvifDevice::reply(401, "", challenge);
}

TEST_F(OnvifClientTest, AnswersADigestChallenge) {
    OnvifDevice device(wantsDigest);
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_TRUE((*result)->isLoginAccepted);
    EXPECT_THAT(device.calls(),
                ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s, u"GetServices+"_s,
                            u"GetProfiles+"_s, u"GetStreamUri+"_s, u"GetStreamUri+"_s));
    for (const OnvifQuestion &question : device.questions())
        EXPECT_EQ(question.token(), nullptr);
    // HA1 = md5(anna:r:s3cret), HA2 = md5(POST:/onvif/device_service)
    const QByteArray login = device.questions()[2].header("authorization");
    const auto md5 = [](const QByteArray &text) {
        return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
    };
    const QByteArray clientNonce = login.mid(login.indexOf("cnonce=\"") + 8).split('"').first();
    EXPECT_THAT(login.toStdString(),
                testing::HasSubstr("response=\"" +
                                   md5(md5("anna:r:s3cret") + ":n1:00000001:" + clientNonce +
                                       ":auth:" + md5("POST:/onvif/device_service"))
                                       .toStdString()));
}

TEST_F(OnvifClientTest, ARefusedDigestIsNotRepeated) {
    OnvifDevice device([](const OnvifQuestion &question) {
        return needsNoLogin(question) ? OnvifDevice::usualReply(question)
                                      : OnvifDevice::reply(401, "", challenge);
    });
    EXPECT_EQ(ask(device), failure(OnvifCause::wrongPassword));
    EXPECT_THAT(device.calls(),
                ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s, u"GetServices+"_s));
}

TEST_F(OnvifClientTest, AStaleNonceIsReplacedOnce) {
    OnvifDevice device([](const OnvifQuestion &question) {
        return needsNoLogin(question)
                   ? OnvifDevice::usualReply(question)
                   : OnvifDevice::reply(401, "",
                                        "WWW-Authenticate: Digest realm=\"r\", nonce=\"n2\", "
                                        "stale=true\r\n");
    });
    EXPECT_EQ(ask(device), failure(OnvifCause::wrongPassword));
    EXPECT_EQ(device.calls().count(u"GetServices+"_s), 2);
}

TEST_F(OnvifClientTest, NoncesMayBeGoodForOneRequestOnly) {
    int number = 0;
    OnvifDevice device([&number](const OnvifQuestion &question) {
        const QByteArray nonce = "nonce=\"" + QByteArray::number(number) + '"';
        if (needsNoLogin(question) || question.header("authorization").contains(nonce)) {
            ++number;
            return OnvifDevice::usualReply(question);
        }
        return OnvifDevice::reply(401, "",
                                  "WWW-Authenticate: Digest realm=\"r\", " + nonce + "\r\n");
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_EQ((*result)->profiles.size(), 2U);
}

TEST_F(OnvifClientTest, ThePasswordIsNeverSentInClear) {
    OnvifDevice device([](const OnvifQuestion &question) {
        return needsNoLogin(question) || hasToken(question, deviceTime)
                   ? OnvifDevice::usualReply(question)
                   : OnvifDevice::reply(401, "", "WWW-Authenticate: Basic realm=\"r\"\r\n");
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    for (const OnvifQuestion &question : device.questions())
        EXPECT_EQ(question.header("authorization"), QByteArray());
}

TEST_F(OnvifClientTest, ServicesMayWantDifferentLogins) {
    OnvifDevice device([](const OnvifQuestion &question) {
        return question.target == "/onvif/media" ? wantsDigest(question)
                                                 : wantsToken(deviceTime)(question);
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_EQ((*result)->profiles.size(), 2U);
}

TEST_F(OnvifClientTest, OldCamerasAreAskedForTheirCapabilities) {
    OnvifDevice device([](const OnvifQuestion &question) {
        return question.call == u"GetServices"_s ? OnvifDevice::message("<s:Fault/>", 500)
                                                 : OnvifDevice::usualReply(question);
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_THAT(device.calls().mid(0, 4), ElementsAre(u"GetSystemDateAndTime"_s, u"GetServices"_s,
                                                      u"GetCapabilities"_s, u"GetProfiles"_s));
}

TEST_F(OnvifClientTest, ProfilesWithoutAnAddressAreLeftOut) {
    OnvifDevice device([](const OnvifQuestion &question) {
        const XmlElement *token = question.envelope.descendant(u"ProfileToken");
        return token && token->text == u"main"_s ? OnvifDevice::message("<s:Fault/>", 500)
                                                 : OnvifDevice::usualReply(question);
    });
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    ASSERT_EQ((*result)->profiles.size(), 1U);
    EXPECT_EQ((*result)->profiles[0].token, u"sub"_s);
}

struct FailureCase {
    const char *call; ///< The call that gets the reply.
    QByteArray reply;
    OnvifCause cause;
};

class OnvifFailure : public OnvifClientTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(OnvifFailure, HasItsCause) {
    OnvifDevice device([](const OnvifQuestion &question) {
        const bool isCall = QString::fromLatin1(GetParam().call).contains(question.call);
        return isCall ? GetParam().reply : OnvifDevice::usualReply(question);
    });
    EXPECT_EQ(ask(device), failure(GetParam().cause));
}

INSTANTIATE_TEST_SUITE_P(
    Table, OnvifFailure,
    testing::Values(
        FailureCase{"GetServices GetCapabilities", OnvifDevice::reply(404, "<html/>"),
                    OnvifCause::notOnvif},
        FailureCase{"GetServices GetCapabilities", OnvifDevice::reply(200, "hello"),
                    OnvifCause::notOnvif},
        FailureCase{"GetServices GetCapabilities", OnvifDevice::message("<s:Fault/>", 500),
                    OnvifCause::notOnvif},
        FailureCase{"GetSystemDateAndTime",
                    OnvifDevice::reply(302, "", "Location: http://127.0.0.1:1/\r\n"),
                    OnvifCause::redirected},
        FailureCase{"GetServices GetCapabilities", OnvifDevice::message("<t:GetServicesResponse/>"),
                    OnvifCause::notOnvif},
        FailureCase{"GetCapabilities GetServices",
                    OnvifDevice::message("<t:GetCapabilitiesResponse/>"), OnvifCause::noStreams},
        FailureCase{"GetProfiles", OnvifDevice::message("<t:GetProfilesResponse/>"),
                    OnvifCause::noStreams},
        FailureCase{"GetProfiles", OnvifDevice::message("<s:Fault/>", 500), OnvifCause::noStreams},
        FailureCase{"GetProfiles", OnvifDevice::reply(200, QByteArray(1'100'000, ' ')),
                    OnvifCause::notOnvif},
        FailureCase{"GetStreamUri", OnvifDevice::message("<s:Fault/>", 500), OnvifCause::noStreams},
        FailureCase{"GetSystemDateAndTime", "SSH-2.0-Server\r\n\r\n", OnvifCause::noAnswer}));

TEST_F(OnvifClientTest, ALoginIsNotRepeatedWhenTheConnectionIsClosed) {
    OnvifDevice device([](const OnvifQuestion &question) {
        if (question.token() != nullptr)
            return QByteArray(OnvifDevice::closeConnection);
        return wantsToken(deviceTime)(question);
    });
    EXPECT_EQ(ask(device), failure(OnvifCause::noAnswer));
    EXPECT_EQ(device.calls().count(u"GetServices+"_s), 1);
}

TEST_F(OnvifClientTest, ASilentCameraIsGivenUpAfterFiveSeconds) {
    OnvifDevice device([](const OnvifQuestion &) { return QByteArray(); });
    client.ask(device.service(), anna);
    ASSERT_TRUE(QTest::qWaitFor([&] { return device.questions().size() == 1; }, 10'000));
    queue.advance(4.9);
    EXPECT_FALSE(outcome);
    queue.advance(0.2);
    EXPECT_EQ(outcome, failure(OnvifCause::noAnswer));
    EXPECT_FALSE(client.isAsking());
}

TEST_F(OnvifClientTest, AReplyThatNeverEndsIsGivenUp) {
    OnvifDevice device([](const OnvifQuestion &) {
        return QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n<s:Envelope");
    });
    client.ask(device.service(), anna);
    ASSERT_TRUE(QTest::qWaitFor([&] { return device.questions().size() == 1; }, 10'000));
    queue.advance(5.1);
    EXPECT_EQ(outcome, failure(OnvifCause::noAnswer));
}

TEST_F(OnvifClientTest, AddressesThatWereToldBeforeASilenceAreKept) {
    OnvifDevice device([](const OnvifQuestion &question) {
        const XmlElement *token = question.envelope.descendant(u"ProfileToken");
        return token && token->text == u"sub"_s ? QByteArray() : OnvifDevice::usualReply(question);
    });
    client.ask(device.service(), anna);
    ASSERT_TRUE(QTest::qWaitFor([&] { return device.questions().size() == 5; }, 10'000));
    queue.advance(5.1);
    ASSERT_TRUE(outcome && *outcome);
    EXPECT_EQ((*outcome)->profiles.size(), 1U);
}

TEST_F(OnvifClientTest, ARefusedConnectionIsNoAnswer) {
    QUrl service;
    {
        const OnvifDevice gone(OnvifDevice::usualReply);
        service = gone.service();
    }
    client.ask(service, anna);
    ASSERT_TRUE(finishes());
    EXPECT_EQ(outcome, failure(OnvifCause::noAnswer));
}

TEST_F(OnvifClientTest, AnAddressThatIsNoWebAddressIsRefused) {
    for (const QString &address : {u"rtsp://192.0.2.7/"_s, u""_s, u"http://camera.example/x"_s}) {
        outcome.reset();
        client.ask(QUrl(address), anna);
        EXPECT_FALSE(outcome);
        queue.runPending();
        EXPECT_EQ(outcome, failure(OnvifCause::notOnvif)) << qPrintable(address);
    }
}

TEST_F(OnvifClientTest, CanBeCancelledAndAskAgain) {
    OnvifDevice device(OnvifDevice::usualReply);
    client.ask(device.service(), anna);
    EXPECT_TRUE(client.isAsking());
    client.cancel();
    EXPECT_FALSE(client.isAsking());
    queue.advance(10);
    EXPECT_FALSE(outcome);
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
}

TEST_F(OnvifClientTest, CanAskAgainInItsSignal) {
    OnvifDevice device(wantsToken(deviceTime));
    int count = 0;
    const auto again = [&] {
        if (++count == 1) {
            outcome.reset();
            client.ask(device.service(), anna);
        }
    };
    QObject::connect(&client, &OnvifClient::finished, &client, again);
    client.ask(device.service(), {});
    ASSERT_TRUE(finishes());
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(*outcome);
}

TEST_F(OnvifClientTest, CanBeDestroyedInItsSignal) {
    OnvifDevice device(OnvifDevice::usualReply);
    auto other = std::make_unique<OnvifClient>(queue);
    QObject::connect(other.get(), &OnvifClient::finished, &client, [&](const OnvifOutcome &each) {
        outcome = each;
        other.reset();
    });
    other->ask(device.service(), {});
    ASSERT_TRUE(finishes());
    EXPECT_TRUE(*outcome);
    EXPECT_EQ(other, nullptr);
}

TEST_F(OnvifClientTest, WorksOverIpv6) {
    if (!QTcpServer().listen(QHostAddress(QHostAddress::LocalHostIPv6)))
        GTEST_SKIP() << "there is no IPv6 on the loopback interface";
    OnvifDevice device(wantsDigest, QHostAddress(QHostAddress::LocalHostIPv6));
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_EQ((*result)->profiles.at(0).address, u"rtsp://[::1]:554/main"_s);
}

TEST_F(OnvifClientTest, WorksOverIpv6WithAScope) {
    if (test::runsInOwnNetwork(u"ip link set lo up\n"
                               "ip link add net1 type veth peer name far1\n"
                               "ip link set net1 addrgenmode none\n"
                               "ip link set far1 up\n"
                               "ip link set net1 up\n"
                               "ip address add fe80::1/64 dev net1 nodad\n"_s))
        return;
    OnvifDevice device(wantsDigest, QHostAddress(u"fe80::1%net1"_s));
    EXPECT_EQ(device.service().host(), u"fe80::1%net1"_s);
    const auto result = ask(device);
    ASSERT_TRUE(result && *result);
    EXPECT_EQ((*result)->profiles.at(0).address, u"rtsp://[fe80::1%25net1]:554/main"_s);
}

} // namespace
} // namespace lumvik
