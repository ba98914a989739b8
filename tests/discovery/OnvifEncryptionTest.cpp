#include "OnvifDevice.h"
#include "discovery/OnvifClient.h"
#include "updates/HttpsServer.h"

#include <QTest>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

/// Replies to a call like a good camera whose services are encrypted.
test::Response encryptedReply(const test::Request &request) {
    test::OnvifQuestion question;
    const QByteArray type = request.header("Content-Type");
    question.call = QString::fromLatin1(type.sliced(type.lastIndexOf('/') + 1).chopped(1));
    question.headers["host"] = request.header("Host");
    QByteArray reply = test::OnvifDevice::usualReply(question);
    // The body follows a head that tells its length.
    const QByteArray body =
        reply.sliced(reply.indexOf("\r\n\r\n") + 4).replace("http://10.0.0.1", "https://10.0.0.1");
    return test::responseWith(200, body);
}

TEST(OnvifEncryption, NeedsNoCertificateThatAnAuthorityHasSigned) {
    const test::TestAuthority authority;
    const test::HttpsServer server(
        authority.selfSignedCredentials(QStringLiteral("camera.example")), encryptedReply);
    QtMainQueue queue;
    OnvifClient client(queue);
    std::optional<OnvifOutcome> outcome;
    QObject::connect(&client, &OnvifClient::finished, &client,
                     [&outcome](const OnvifOutcome &each) { outcome = each; });
    client.ask(QUrl(QStringLiteral("https://127.0.0.1:%1/onvif/device_service").arg(server.port())),
               {});
    ASSERT_TRUE(QTest::qWaitFor([&] { return outcome.has_value(); }, 30'000));
    ASSERT_TRUE(*outcome) << static_cast<int>(outcome->error());
    EXPECT_EQ((*outcome)->profiles.size(), 2U);
}

} // namespace
} // namespace lumvik
