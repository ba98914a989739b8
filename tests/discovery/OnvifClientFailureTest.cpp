#include "OnvifClientFixture.h"

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;
using test::anna;
using test::deviceTime;
using test::OnvifDevice;
using test::OnvifQuestion;
using test::wantsToken;
using OnvifClientFailure = test::OnvifClientFixture;

struct FailureCase {
    const char *call; ///< The call that gets the reply.
    QByteArray reply;
    OnvifCause cause;
};

class OnvifFailure : public OnvifClientFailure, public testing::WithParamInterface<FailureCase> {};

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

TEST_F(OnvifClientFailure, ALoginIsNotRepeatedWhenTheConnectionIsClosed) {
    OnvifDevice device([](const OnvifQuestion &question) {
        if (question.token() != nullptr)
            return QByteArray(OnvifDevice::closeConnection);
        return wantsToken(deviceTime)(question);
    });
    EXPECT_EQ(ask(device), failure(OnvifCause::noAnswer));
    EXPECT_EQ(device.calls().count(u"GetServices+"_s), 1);
}

TEST_F(OnvifClientFailure, ASilentCameraIsGivenUpAfterFiveSeconds) {
    OnvifDevice device([](const OnvifQuestion &) { return QByteArray(); });
    client.ask(device.service(), anna);
    ASSERT_TRUE(QTest::qWaitFor([&] { return device.questions().size() == 1; }, 10'000));
    queue.advance(4.9);
    EXPECT_FALSE(outcome);
    queue.advance(0.2);
    EXPECT_EQ(outcome, failure(OnvifCause::noAnswer));
    EXPECT_FALSE(client.isAsking());
}

TEST_F(OnvifClientFailure, AReplyThatNeverEndsIsGivenUp) {
    OnvifDevice device([](const OnvifQuestion &) {
        return QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n<s:Envelope");
    });
    client.ask(device.service(), anna);
    ASSERT_TRUE(QTest::qWaitFor([&] { return device.questions().size() == 1; }, 10'000));
    queue.advance(5.1);
    EXPECT_EQ(outcome, failure(OnvifCause::noAnswer));
}

TEST_F(OnvifClientFailure, AddressesThatWereToldBeforeASilenceAreKept) {
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

TEST_F(OnvifClientFailure, ARefusedConnectionIsNoAnswer) {
    QUrl service;
    {
        const OnvifDevice gone(OnvifDevice::usualReply);
        service = gone.service();
    }
    client.ask(service, anna);
    ASSERT_TRUE(finishes());
    EXPECT_EQ(outcome, failure(OnvifCause::noAnswer));
}

TEST_F(OnvifClientFailure, AnAddressThatIsNoWebAddressIsRefused) {
    for (const QString &address : {u"rtsp://192.0.2.7/"_s, u""_s, u"http://camera.example/x"_s}) {
        outcome.reset();
        client.ask(QUrl(address), anna);
        EXPECT_FALSE(outcome);
        queue.runPending();
        EXPECT_EQ(outcome, failure(OnvifCause::notOnvif)) << qPrintable(address);
    }
}

TEST_F(OnvifClientFailure, CanBeCancelledAndAskAgain) {
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

TEST_F(OnvifClientFailure, CanAskAgainInItsSignal) {
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

TEST_F(OnvifClientFailure, CanBeDestroyedInItsSignal) {
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

} // namespace
} // namespace lumvik
