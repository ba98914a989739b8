#include "OnvifClientFixture.h"
#include "OwnNetwork.h"

#include <gmock/gmock.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;
using test::anna;
using test::challenge;
using test::deviceTime;
using test::hasToken;
using test::needsNoLogin;
using test::OnvifDevice;
using test::OnvifQuestion;
using test::ownTime;
using test::wantsToken;
using testing::ElementsAre;
using OnvifClientTest = test::OnvifClientFixture;

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

TEST_F(OnvifClientTest, TellsWhatBecomesOfALogin) {
    using enum OnvifLoginEvent;
    OnvifDevice open(
        [](const OnvifQuestion &question) { return OnvifDevice::usualReply(question); });
    EXPECT_TRUE(ask(open));
    EXPECT_THAT(loginEvents, ElementsAre());
    OnvifDevice strict(wantsToken(deviceTime));
    EXPECT_TRUE(ask(strict));
    EXPECT_THAT(loginEvents, ElementsAre(sent, accepted));
    EXPECT_TRUE(ask(strict, {u"anna"_s, u"wrong"_s}));
    EXPECT_THAT(loginEvents, ElementsAre(sent, refused, sent, refused));
    OnvifDevice closing([](const OnvifQuestion &question) -> QByteArray {
        if (question.token() != nullptr)
            return OnvifDevice::closeConnection;
        return needsNoLogin(question) ? OnvifDevice::usualReply(question)
                                      : OnvifDevice::notAuthorized();
    });
    EXPECT_TRUE(ask(closing));
    EXPECT_THAT(loginEvents, ElementsAre(sent)) << "without an answer";
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
    using enum OnvifLoginEvent;
    EXPECT_THAT(loginEvents, ElementsAre(sent, refused)) << "a nonce is not a password";
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
