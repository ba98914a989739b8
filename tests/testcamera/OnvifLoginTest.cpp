#include "testcamera/OnvifLogin.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using Verdict = OnvifLogin::Verdict;

const QDateTime utcTime(QDate(2026, 1, 31), QTime(12, 0, 5), Qt::UTC);

CameraOptions optionsWith(const QSet<OnvifFault> &faults = {}) {
    CameraOptions options;
    options.user = QStringLiteral("anna");
    options.password = QStringLiteral("s3cret");
    options.onvif.faults = faults;
    return options;
}

/// A token whose digest was computed by another program:
/// printf '0123456789abcdef2026-01-31T12:00:05.007Zs3cret' | openssl sha1 -binary | base64
SoapRequest requestWithToken() {
    SoapRequest request;
    request.texts = {{QStringLiteral("Username"), QStringLiteral("anna")},
                     {QStringLiteral("Password"), QStringLiteral("1OkHzakJLqCnmbiwvxXdTmRQNFw=")},
                     {QStringLiteral("Nonce"), QStringLiteral("MDEyMzQ1Njc4OWFiY2RlZg==")},
                     {QStringLiteral("Created"), QStringLiteral("2026-01-31T12:00:05.007Z")}};
    return request;
}

Verdict judge(OnvifLogin &login, const SoapRequest &request, const QDateTime &now = utcTime,
              const QByteArray &authorization = {}) {
    return login.judge(request, authorization, "/onvif/device_service", now, 100);
}

TEST(OnvifLoginTest, AcceptsTheRightToken) {
    LoginLock lock({});
    OnvifLogin login(optionsWith(), lock);
    EXPECT_EQ(judge(login, requestWithToken()), Verdict::Accepted);
    EXPECT_EQ(judge(login, {}), Verdict::Missing);
    EXPECT_EQ(lock.refusals(), 0);
}

TEST(OnvifLoginTest, RefusesEveryOtherToken) {
    LoginLock lock({});
    OnvifLogin login(optionsWith(), lock);
    int refusals = 0;
    for (const char *name : {"Username", "Password", "Nonce", "Created"}) {
        SoapRequest request = requestWithToken();
        request.texts[QLatin1String(name)] += QLatin1Char('A');
        EXPECT_EQ(judge(login, request), Verdict::Refused) << name;
        EXPECT_EQ(lock.refusals(), ++refusals);
    }
}

TEST(OnvifLoginTest, ComparesTheTimeWithTheCamerasClock) {
    const auto verdict = [](const QSet<OnvifFault> &faults, int seconds) {
        LoginLock lock({});
        OnvifLogin login(optionsWith(faults), lock);
        return judge(login, requestWithToken(), utcTime.addSecs(seconds));
    };
    EXPECT_EQ(verdict({}, 9), Verdict::Accepted);
    EXPECT_EQ(verdict({}, -9), Verdict::Accepted);
    EXPECT_EQ(verdict({}, 12), Verdict::Refused);
    EXPECT_EQ(verdict({}, -12), Verdict::Refused);
    EXPECT_EQ(verdict({OnvifFault::ClockHourOff}, 0), Verdict::Refused);
    EXPECT_EQ(verdict({OnvifFault::ClockHourOff}, -3600), Verdict::Accepted);
    EXPECT_EQ(verdict({OnvifFault::LocalTime}, 0), Verdict::Refused);
    EXPECT_EQ(verdict({OnvifFault::LocalTime}, -7200), Verdict::Accepted);
}

TEST(OnvifLoginTest, ALockedCameraRefusesTheRightToken) {
    LoginLock lock({.lockAfter = 1, .lockTime = 60});
    OnvifLogin login(optionsWith(), lock);
    SoapRequest wrong = requestWithToken();
    wrong.texts[QStringLiteral("Username")].clear();
    EXPECT_EQ(judge(login, wrong), Verdict::Refused);
    EXPECT_EQ(judge(login, requestWithToken()), Verdict::Refused);
}

TEST(OnvifLoginTest, WithHttpDigestTokensDoNotCount) {
    LoginLock lock({});
    OnvifLogin login(optionsWith({OnvifFault::HttpDigest}), lock);
    EXPECT_TRUE(login.challenge().startsWith("WWW-Authenticate: Digest "));
    EXPECT_EQ(judge(login, requestWithToken()), Verdict::Missing);
    // md5(md5("anna:Test Camera:s3cret") + ":6b1a2f0c9d8e7f65:00000001:c:auth:" +
    //     md5("POST:/onvif/device_service")), computed by another program.
    const QByteArray fields = "Digest username=\"anna\", realm=\"Test Camera\", "
                              "nonce=\"6b1a2f0c9d8e7f65\", uri=\"/onvif/device_service\", "
                              "qop=auth, nc=00000001, cnonce=\"c\", response=\"";
    EXPECT_EQ(judge(login, {}, utcTime, fields + "10c6c2d4b04fc55d8cab5d35f4372254\""),
              Verdict::Accepted);
    EXPECT_EQ(judge(login, {}, utcTime, fields + "00\""), Verdict::Refused);
    EXPECT_EQ(lock.refusals(), 1);
}

TEST(OnvifLoginTest, WithoutAPasswordEverybodyIsAccepted) {
    LoginLock lock({});
    OnvifLogin login(CameraOptions(), lock);
    EXPECT_EQ(judge(login, {}), Verdict::Accepted);
    EXPECT_EQ(login.challenge(), QByteArray());
}

} // namespace
} // namespace lumvik::test
