#include "discovery/OnvifMessage.h"

#include "DamagedBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

const QHostAddress askedHost(u"192.0.2.7"_s);

QByteArray envelope(const QByteArray &body) {
    return "<?xml version='1.0' encoding='UTF-8'?><env:Envelope "
           "xmlns:env='http://www.w3.org/2003/05/soap-envelope' xmlns:tt='t' xmlns:trt='m' "
           "xmlns:ter='e'><env:Body>" +
           body + "</env:Body></env:Envelope>";
}

/// Returns the element in the body of a reply.
XmlElement content(OnvifCall call, const QByteArray &body) {
    const OnvifReply reply = onvifReply(call, 200, envelope(body));
    EXPECT_EQ(reply.kind, OnvifReplyKind::success);
    return reply.content;
}

QByteArray fault(const QByteArray &subcode) {
    return envelope("<env:Fault><env:Code><env:Value>env:Sender</env:Value>" + subcode +
                    "</env:Code><env:Reason><env:Text>no</env:Text></env:Reason></env:Fault>");
}

const UsernameToken token{{u"anna"_s, u"s3cret"_s},
                          QDateTime(QDate(2026, 1, 31), QTime(12, 0, 5, 7), Qt::UTC),
                          "0123456789abcdef"};

TEST(OnvifRequest, ContainsTheCallAndItsArguments) {
    const auto body = [](OnvifCall call) {
        const auto root = parsedXml(onvifRequest(call, {}, u"p<1>"_s));
        EXPECT_TRUE(root && root->child(u"Header") == nullptr);
        return root ? *root->child(u"Body") : XmlElement();
    };
    EXPECT_NE(body(OnvifCall::getSystemDateAndTime).child(u"GetSystemDateAndTime"), nullptr);
    EXPECT_EQ(body(OnvifCall::getServices).textAt({u"GetServices", u"IncludeCapability"}),
              u"false"_s);
    EXPECT_EQ(body(OnvifCall::getCapabilities).textAt({u"GetCapabilities", u"Category"}), u"All"_s);
    EXPECT_NE(body(OnvifCall::getProfiles).child(u"GetProfiles"), nullptr);
    const XmlElement stream = body(OnvifCall::getStreamUri);
    EXPECT_EQ(stream.textAt({u"GetStreamUri", u"ProfileToken"}), u"p<1>"_s);
    EXPECT_EQ(stream.textAt({u"GetStreamUri", u"StreamSetup", u"Stream"}), u"RTP-Unicast"_s);
    EXPECT_EQ(stream.textAt({u"GetStreamUri", u"StreamSetup", u"Transport", u"Protocol"}),
              u"RTSP"_s);
}

TEST(OnvifRequest, NamesItsAction) {
    EXPECT_EQ(onvifContentType(OnvifCall::getProfiles),
              "application/soap+xml; charset=utf-8; "
              "action=\"http://www.onvif.org/ver10/media/wsdl/GetProfiles\"");
}

TEST(OnvifRequest, ContainsTheTokenAndNeverThePassword) {
    const QByteArray message = onvifRequest(OnvifCall::getProfiles, token);
    EXPECT_THAT(message.toStdString(), testing::Not(testing::HasSubstr("s3cret")));
    const auto root = parsedXml(message);
    ASSERT_TRUE(root);
    const XmlElement *written = root->find({u"Header", u"Security", u"UsernameToken"});
    ASSERT_NE(written, nullptr);
    EXPECT_EQ(written->textAt({u"Username"}), u"anna"_s);
    EXPECT_EQ(written->textAt({u"Nonce"}), u"MDEyMzQ1Njc4OWFiY2RlZg=="_s);
    EXPECT_EQ(written->textAt({u"Created"}), u"2026-01-31T12:00:05.007Z"_s);
    // printf '0123456789abcdef2026-01-31T12:00:05.007Zs3cret' | openssl sha1 -binary | base64
    EXPECT_EQ(written->textAt({u"Password"}), u"1OkHzakJLqCnmbiwvxXdTmRQNFw="_s);
    EXPECT_TRUE(written->child(u"Password")
                    ->attribute(u"Type"_s)
                    .endsWith(u"username-token-profile-1.0#PasswordDigest"_s));
}

TEST(OnvifRequest, EncodesNamesInUtf8) {
    UsernameToken umlaut = token;
    umlaut.login = {u"jörg"_s, u"schlüssel"_s};
    const auto root = parsedXml(onvifRequest(OnvifCall::getProfiles, umlaut));
    ASSERT_TRUE(root);
    EXPECT_EQ(root->textAt({u"Header", u"Security", u"UsernameToken", u"Username"}), u"jörg"_s);
    // printf '0123456789abcdef2026-01-31T12:00:05.007Zschlüssel' | openssl sha1 -binary | base64
    EXPECT_EQ(passwordDigest(umlaut), "OLotcxRbU6yad3h0ljRpPY5yawI=");
}

TEST(OnvifReply, IsJudgedByStatusAndBody) {
    const QByteArray good = envelope("<trt:GetProfilesResponse/>");
    const auto kind = [](int status, const QByteArray &body) {
        return onvifReply(OnvifCall::getProfiles, status, body).kind;
    };
    EXPECT_EQ(kind(200, good), OnvifReplyKind::success);
    EXPECT_EQ(kind(500, good), OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(401, "<html/>"), OnvifReplyKind::notAuthorized);
    EXPECT_EQ(kind(401, good), OnvifReplyKind::notAuthorized);
    EXPECT_EQ(kind(403, ""), OnvifReplyKind::notAuthorized);
    EXPECT_EQ(kind(302, ""), OnvifReplyKind::redirection);
    EXPECT_EQ(kind(307, good), OnvifReplyKind::redirection);
    EXPECT_EQ(kind(404, "<html><body>404</body></html>"), OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(200, "<html><Body><GetProfilesResponse/></Body></html>"),
              OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(200, ""), OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(200, envelope("")), OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(200, envelope("<trt:GetStreamUriResponse/>")), OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(200, "<!DOCTYPE a [<!ENTITY b 'c'>]>" + good.mid(38)), OnvifReplyKind::notOnvif);
    EXPECT_EQ(kind(200, good + QByteArray(1'048'576, ' ')), OnvifReplyKind::notOnvif);
}

TEST(OnvifReply, KnowsTheFaultsThatRefuseALogin) {
    const auto kind = [](const QByteArray &body) {
        return onvifReply(OnvifCall::getProfiles, 400, body).kind;
    };
    const auto subcode = [](const QByteArray &value, const QByteArray &inner = {}) {
        return fault("<env:Subcode><env:Value>" + value + "</env:Value>" + inner +
                     "</env:Subcode>");
    };
    for (const char *value : {"ter:NotAuthorized", "wsse:FailedAuthentication",
                              "wsse:InvalidSecurityToken", "NotAuthorized"})
        EXPECT_EQ(kind(subcode(value)), OnvifReplyKind::notAuthorized) << value;
    EXPECT_EQ(kind(subcode("ter:Any", "<env:Subcode><env:Value>ter:NotAuthorized</env:Value>"
                                      "</env:Subcode>")),
              OnvifReplyKind::notAuthorized);
    EXPECT_EQ(kind(envelope("<env:Fault><faultcode>env:Client</faultcode>"
                            "<faultstring>Sender Not Authorized</faultstring></env:Fault>")),
              OnvifReplyKind::notAuthorized);
    EXPECT_EQ(kind(envelope("<env:Fault><faultcode>wsse:FailedCheck</faultcode></env:Fault>")),
              OnvifReplyKind::notAuthorized);
    EXPECT_EQ(kind(subcode("ter:ActionNotSupported")), OnvifReplyKind::fault);
    EXPECT_EQ(kind(fault("")), OnvifReplyKind::fault);
}

QByteArray dateTimeText(const QByteArray &name, const QByteArray &time, const QByteArray &date) {
    const auto element = [](const QByteArray &tag, const QByteArray &text) {
        return "<tt:" + tag + '>' + text + "</tt:" + tag + '>';
    };
    const auto times = time.split(':');
    const auto dates = date.split('-');
    return element(name,
                   element("Time", element("Hour", times[0]) + element("Minute", times[1]) +
                                       element("Second", times[2])) +
                       element("Date", element("Year", dates[0]) + element("Month", dates[1]) +
                                           element("Day", dates[2])));
}

OnvifClock clockIn(const QByteArray &times) {
    return onvifClock(content(OnvifCall::getSystemDateAndTime,
                              "<t:GetSystemDateAndTimeResponse xmlns:t='d'><t:SystemDateAndTime>" +
                                  times +
                                  "</t:SystemDateAndTime></t:GetSystemDateAndTimeResponse>"));
}

TEST(OnvifClock, IsReadWithItsLocalTime) {
    const OnvifClock clock = clockIn(dateTimeText("UTCDateTime", "23:59:60", "2026-12-31") +
                                     dateTimeText("LocalDateTime", "1:0:0", "2027-1-1"));
    EXPECT_EQ(clock.utc, QDateTime(QDate(2026, 12, 31), QTime(23, 59, 59), Qt::UTC));
    EXPECT_EQ(clock.local, QDateTime(QDate(2027, 1, 1), QTime(1, 0), Qt::UTC));
}

TEST(OnvifClock, ImpossibleTimesAreIgnored) {
    EXPECT_EQ(clockIn("").utc, std::nullopt);
    for (const char *time : {"24:0:0", "-1:0:0", "x:0:0", ":0:0"})
        EXPECT_EQ(clockIn(dateTimeText("UTCDateTime", time, "2026-1-1")).utc, std::nullopt) << time;
    for (const char *date : {"2026-2-30", "99999999999-1-1", "2026-0-1", "--"})
        EXPECT_EQ(clockIn(dateTimeText("UTCDateTime", "1:2:3", date)).utc, std::nullopt) << date;
}

TEST(HttpDate, IsRead) {
    EXPECT_EQ(httpDate("Sun, 06 Nov 1994 08:49:37 GMT"),
              QDateTime(QDate(1994, 11, 6), QTime(8, 49, 37), Qt::UTC));
    for (const char *value : {"", "yesterday", "Sun, 06 Nov 1994 08:49:37", "06 Nov 1994"})
        EXPECT_EQ(httpDate(value), std::nullopt) << value;
}

TEST(MediaService, IsFoundByItsNamespaceAndMovedToTheHost) {
    const XmlElement services = content(
        OnvifCall::getServices,
        "<GetServicesResponse><Service><Namespace>http://www.onvif.org/ver10/events/wsdl"
        "</Namespace><XAddr>http://192.0.2.7/events</XAddr></Service><Service><Namespace>\n"
        "http://www.onvif.org/ver10/media/wsdl</Namespace><XAddr>http://127.0.0.1:81/media</XAddr>"
        "</Service></GetServicesResponse>");
    EXPECT_EQ(mediaService(OnvifCall::getServices, services, askedHost),
              QUrl(u"http://192.0.2.7:81/media"_s));
    const XmlElement capabilities =
        content(OnvifCall::getCapabilities,
                "<GetCapabilitiesResponse><Capabilities><tt:Device><tt:XAddr>http://a/d</tt:XAddr>"
                "</tt:Device><tt:Media><tt:XAddr>http://a/m</tt:XAddr></tt:Media></Capabilities>"
                "</GetCapabilitiesResponse>");
    EXPECT_EQ(mediaService(OnvifCall::getCapabilities, capabilities, askedHost),
              QUrl(u"http://192.0.2.7/m"_s));
    EXPECT_EQ(mediaService(OnvifCall::getCapabilities, services, askedHost), std::nullopt);
    EXPECT_EQ(mediaService(OnvifCall::getServices, capabilities, askedHost), std::nullopt);
}

TEST(OnvifProfiles, HaveNameSizeRateAndCodec) {
    const auto profiles = onvifProfiles(
        content(OnvifCall::getProfiles,
                "<trt:GetProfilesResponse><trt:Profiles token='p1' fixed='true'><tt:Name>Main"
                "</tt:Name><tt:VideoEncoderConfiguration><tt:Encoding>H264</tt:Encoding>"
                "<tt:Resolution><tt:Width>1920</tt:Width><tt:Height>1080</tt:Height>"
                "</tt:Resolution><tt:RateControl><tt:FrameRateLimit>12.5</tt:FrameRateLimit>"
                "</tt:RateControl></tt:VideoEncoderConfiguration></trt:Profiles>"
                "<trt:Profiles token='audio'><tt:Name>Audio</tt:Name></trt:Profiles>"
                "<trt:Profiles><tt:Name>No token</tt:Name></trt:Profiles>"
                "<trt:Profiles token='h265'><tt:VideoSourceConfiguration/></trt:Profiles>"
                "<trt:Profiles token='p2'><tt:VideoEncoderConfiguration><tt:Resolution><tt:Width>"
                "-5</tt:Width><tt:Height>99999999999</tt:Height></tt:Resolution><tt:RateControl>"
                "<tt:FrameRateLimit>nan</tt:FrameRateLimit></tt:RateControl>"
                "</tt:VideoEncoderConfiguration></trt:Profiles></trt:GetProfilesResponse>"));
    ASSERT_EQ(profiles.size(), 3U);
    EXPECT_EQ(profiles[0], (OnvifProfile{.token = u"p1"_s,
                                         .name = u"Main"_s,
                                         .size = QSize(1920, 1080),
                                         .framesPerSecond = 12.5,
                                         .codec = u"H264"_s}));
    EXPECT_EQ(profiles[1], OnvifProfile{.token = u"h265"_s});
    EXPECT_EQ(profiles[2], OnvifProfile{.token = u"p2"_s});
}

TEST(OnvifProfiles, AreKeptWithoutVideoIfNoneHasAny) {
    EXPECT_EQ(onvifProfiles(content(OnvifCall::getProfiles,
                                    "<trt:GetProfilesResponse><trt:Profiles token='p'/>"
                                    "</trt:GetProfilesResponse>"))
                  .size(),
              1U);
}

TEST(OnvifProfiles, AreBounded) {
    QByteArray many;
    for (int number = 0; number < 100; ++number)
        many += "<trt:Profiles token='p" + QByteArray::number(number) + "'/>";
    EXPECT_EQ(onvifProfiles(content(OnvifCall::getProfiles, "<trt:GetProfilesResponse>" + many +
                                                                "</trt:GetProfilesResponse>"))
                  .size(),
              mostOnvifProfiles);
}

struct StreamCase {
    QByteArray uri;
    QString expected;
};

class StreamAddress : public testing::TestWithParam<StreamCase> {};

TEST_P(StreamAddress, IsOnTheHostThatReplied) {
    const XmlElement reply =
        content(OnvifCall::getStreamUri, "<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>" +
                                             GetParam().uri +
                                             "</tt:Uri></trt:MediaUri></trt:GetStreamUriResponse>");
    EXPECT_EQ(streamAddress(reply, askedHost), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StreamAddress,
    testing::Values(
        StreamCase{"rtsp://192.0.2.7/live", u"rtsp://192.0.2.7/live"_s},
        StreamCase{" rtsp://192.0.2.7:554/live?a=1&amp;b=2\n",
                   u"rtsp://192.0.2.7:554/live?a=1&b=2"_s},
        StreamCase{"rtsp://192.0.2.7/live?a=1&amp;amp;b=2", u"rtsp://192.0.2.7/live?a=1&b=2"_s},
        StreamCase{"rtsp://127.0.0.1:8554/a%20b/%2F", u"rtsp://192.0.2.7:8554/a%20b/%2F"_s},
        StreamCase{"rtsp://camera.local/user=a@b", u"rtsp://192.0.2.7/user=a@b"_s},
        StreamCase{"rtsp://[fe80::1]:554/x", u"rtsp://192.0.2.7:554/x"_s},
        StreamCase{"rtsp://anna:pw@10.0.0.1/x", u"rtsp://192.0.2.7/x"_s},
        StreamCase{"RTSPS://10.0.0.1/X", u"rtsps://192.0.2.7/X"_s},
        StreamCase{"rtsp://10.0.0.1", u"rtsp://192.0.2.7"_s},
        StreamCase{"http://10.0.0.1/x", u""_s}, StreamCase{"file:///etc/passwd", u""_s},
        StreamCase{"", u""_s}, StreamCase{"rtsp:x", u""_s}, StreamCase{"rtsp://a:99999/x", u""_s}));

TEST(StreamAddress, MayHaveAnIpv6HostWithAScope) {
    const XmlElement reply =
        content(OnvifCall::getStreamUri,
                "<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>rtsp://10.0.0.1:554/x</tt:Uri>"
                "</trt:MediaUri></trt:GetStreamUriResponse>");
    EXPECT_EQ(streamAddress(reply, QHostAddress(u"fe80::7%eth0"_s)),
              u"rtsp://[fe80::7%25eth0]:554/x"_s);
    EXPECT_EQ(streamAddress(reply, QHostAddress(u"2001:db8::7"_s)),
              u"rtsp://[2001:db8::7]:554/x"_s);
}

TEST(OnvifReply, DamageNeverPutsAnotherHostIn) {
    const QByteArray reply =
        envelope("<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>rtsp://10.0.0.1:554/x</tt:Uri>"
                 "</trt:MediaUri></trt:GetStreamUriResponse>");
    std::mt19937 random(13);
    for (int round = 0; round < 20'000; ++round) {
        const OnvifReply read =
            onvifReply(OnvifCall::getStreamUri, 200, test::damagedBytes(reply, random));
        const QString address = streamAddress(read.content, askedHost);
        ASSERT_TRUE(address.isEmpty() || QUrl(address).host() == u"192.0.2.7"_s)
            << qPrintable(address);
    }
}

} // namespace
} // namespace lumvik
