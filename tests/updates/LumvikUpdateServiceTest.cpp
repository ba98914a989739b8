#include "updates/LumvikUpdateService.h"

#include "UpdateServiceFixture.h"

#include <QNetworkProxy>
#include <QTcpServer>

#include <gmock/gmock.h>

#include <ostream>

namespace lumvik::test {
namespace {

using UpdateServiceTest = UpdateServiceFixture;

using testing::UnorderedElementsAre;

// ---- Outcomes ----

TEST_F(UpdateServiceTest, LaterVersionIsAvailable) {
    serve(responseWith(200, goodManifest()));
    const LumvikUpdateCheckOutcome result = runCheck();
    ASSERT_TRUE(result) << qPrintable(result.error().message);
    ASSERT_TRUE(result->available);
    EXPECT_EQ(*result->available,
              (LumvikUpdateManifest{u"1.6"_s, 8, u"https://updates.example/lumvik"_s}));
}

TEST_F(UpdateServiceTest, InstalledVersionIsCurrent) {
    serve(responseWith(200, goodManifest("1.5", "7")));
    const LumvikUpdateCheckOutcome result = runCheck();
    ASSERT_TRUE(result) << qPrintable(result.error().message);
    EXPECT_FALSE(result->available);
}

TEST_F(UpdateServiceTest, LogsTheStartOfTheCheckAndBothBuilds) {
    const CapturedLog log;
    serve(responseWith(200, goodManifest()));
    EXPECT_EQ(resultText(), "1.6");
    const QList<LoggedLine> expected = {
        {LogLevel::info, u"updates"_s, u"Checking the official Lumvik update manifest."_s},
        {LogLevel::info, u"updates"_s,
         u"Validated update manifest build 8 against installed build 7."_s}};
    EXPECT_EQ(log.lines(u"updates"_s), expected);
}

TEST_F(UpdateServiceTest, DoesNotLogTheBuildsOfAnInvalidManifest) {
    const CapturedLog log;
    serve(responseWith(200, goodManifest("1.6", "0")));
    EXPECT_EQ(resultText(), invalidAddress);
    EXPECT_EQ(log.lines(u"updates"_s).size(), 1);
}

TEST_F(UpdateServiceTest, InvalidHostYieldsAnError) {
    for (const QString &host : {u""_s, u"two words"_s, u"host/path"_s, u"a@b"_s}) {
        LumvikUpdateSettings odd = settings();
        odd.webHost = host;
        LumvikUpdateService service(mainQueue, odd);
        EXPECT_EQ(textOf(runCheck(service)), "Lumvik’s update address is invalid.")
            << qPrintable(host);
    }
}

struct BodyAndMessage {
    QByteArray body;
    std::string message;

    friend void PrintTo(const BodyAndMessage &parameter, std::ostream *stream) {
        *stream << testing::PrintToString(parameter.body.toStdString());
    }
};

class InvalidManifest : public UpdateServiceFixture,
                        public testing::WithParamInterface<BodyAndMessage> {};

TEST_P(InvalidManifest, YieldsItsErrorMessage) {
    serve(responseWith(200, GetParam().body));
    EXPECT_EQ(resultText(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, InvalidManifest,
    testing::Values(
        BodyAndMessage{QByteArray(), invalidJson},
        BodyAndMessage{QByteArray("<html>"), invalidJson},
        BodyAndMessage{QByteArray("[]"),
                       std::string("The update information is not a JSON object.")},
        BodyAndMessage{QByteArray("{}"),
                       std::string("The update information has no readable value for “version”.")},
        BodyAndMessage{goodManifest("2"), invalidAddress},
        BodyAndMessage{goodManifest("1.2.3.4.5"), invalidAddress},
        BodyAndMessage{goodManifest("1.6", "0"), invalidAddress},
        BodyAndMessage{goodManifest().replace("https:", "http:"), invalidAddress},
        BodyAndMessage{goodManifest().replace("updates.example", "other.example"), invalidAddress},
        BodyAndMessage{goodManifest().replace("/lumvik", "/lumvik/more"), invalidAddress}));

// ---- Statuses ----

class SuccessStatus : public UpdateServiceFixture, public testing::WithParamInterface<int> {};
class OtherStatus : public UpdateServiceFixture, public testing::WithParamInterface<int> {};

TEST_P(SuccessStatus, IsAccepted) {
    serve(responseWith(GetParam(), goodManifest()));
    EXPECT_EQ(resultText(), "1.6");
}

TEST_P(OtherStatus, MeansThatTheServerIsUnavailable) {
    serve(responseWith(GetParam(), goodManifest()));
    EXPECT_EQ(resultText(), unavailable);
    EXPECT_EQ(server->requests().size(), 1);
}

INSTANTIATE_TEST_SUITE_P(Statuses, SuccessStatus, testing::Values(200, 201, 203, 206, 299));
INSTANTIATE_TEST_SUITE_P(Statuses, OtherStatus,
                         testing::Values(300, 304, 305, 400, 401, 403, 404, 407, 410, 429, 500, 502,
                                         503, 599));

TEST_F(UpdateServiceTest, NoContentIsInvalidJson) {
    serve(Response{.bytes = "HTTP/1.1 204 No Content\r\n\r\n"});
    EXPECT_EQ(resultText(), invalidJson);
}

TEST_F(UpdateServiceTest, InterimResponseIsIgnored) {
    Response response = responseWith(200, goodManifest());
    response.bytes.prepend("HTTP/1.1 100 Continue\r\n\r\n");
    serve(response);
    EXPECT_EQ(resultText(), "1.6");
}

TEST_F(UpdateServiceTest, NotModifiedWithoutALengthMeansUnavailable) {
    serve(Response{.bytes = "HTTP/1.1 304 Not Modified\r\n\r\n", .then = Response::Then::wait});
    EXPECT_EQ(resultText(), unavailable);
}

TEST_F(UpdateServiceTest, ErrorStatusIsReportedBeforeTheBodyArrives) {
    serve(Response{.bytes = "HTTP/1.1 404 Not Found\r\nContent-Length: 100\r\n\r\nNot",
                   .then = Response::Then::wait});
    EXPECT_EQ(resultText(), unavailable);
}

TEST_F(UpdateServiceTest, AuthenticationChallengeIsNotAnswered) {
    serve(responseWith(401, "", {R"(WWW-Authenticate: Basic realm="x")"}));
    EXPECT_EQ(resultText(), unavailable);
    ASSERT_EQ(server->requests().size(), 1);
    EXPECT_TRUE(server->requests().front().header("Authorization").isNull());
}

TEST_F(UpdateServiceTest, ResponseThatIsNotHttpMeansUnavailable) {
    for (const auto then : {Response::Then::close, Response::Then::wait}) {
        serve(Response{.bytes = "220 mail.example ready\r\n\r\n", .then = then});
        EXPECT_EQ(resultText(), unavailable);
    }
}

// ---- Sizes ----

TEST_F(UpdateServiceTest, BodyOfMaximumSizeIsDecoded) {
    serve(responseWith(200, paddedManifest(65'536)));
    EXPECT_EQ(resultText(), "1.6");
}

TEST_F(UpdateServiceTest, BodyOneByteTooLongIsAnInvalidResponse) {
    serve(responseWith(200, paddedManifest(65'537)));
    EXPECT_EQ(resultText(), invalidResponse);
}

Response responseWithoutLength(const QByteArray &body) {
    return {.bytes = "HTTP/1.1 200 OK\r\n\r\n" + body};
}

TEST_F(UpdateServiceTest, SizeLimitAppliesToBodiesWithoutALength) {
    serve(responseWithoutLength(paddedManifest(65'536)));
    EXPECT_EQ(resultText(), "1.6");
    serve(responseWithoutLength(paddedManifest(65'537)));
    EXPECT_EQ(resultText(), invalidResponse);
}

Response chunkedResponse(const QByteArray &body, qsizetype chunk) {
    QByteArray bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (qsizetype at = 0; at < body.size(); at += chunk) {
        const QByteArray piece = body.mid(at, chunk);
        bytes += QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n";
    }
    return {.bytes = bytes + "0\r\n\r\n"};
}

TEST_F(UpdateServiceTest, SizeLimitAppliesToChunkedBodies) {
    serve(chunkedResponse(paddedManifest(65'536), 1000));
    EXPECT_EQ(resultText(), "1.6");
    serve(chunkedResponse(paddedManifest(65'537), 1000));
    EXPECT_EQ(resultText(), invalidResponse);
}

TEST_F(UpdateServiceTest, TooLongBodyIsRefusedBeforeItEnds) {
    serve(Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n" +
                            paddedManifest(65'537),
                   .then = Response::Then::wait});
    EXPECT_EQ(resultText(), invalidResponse);
}

TEST_F(UpdateServiceTest, AnnouncedLengthAloneDoesNotEndTheCheck) {
    // The limit applies to the received bytes, not to the announced length.
    timeLimit = std::chrono::milliseconds(500);
    serve(Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n" + goodManifest(),
                   .then = Response::Then::wait});
    EXPECT_EQ(resultText(), timedOut);
}

TEST_F(UpdateServiceTest, EndlessBodyIsAborted) {
    serve(responseWithoutLength(QByteArray(10'000'000, ' ')));
    EXPECT_EQ(resultText(), invalidResponse);
}

TEST_F(UpdateServiceTest, CompressedBodyIsAnInvalidResponse) {
    for (const QByteArray encoding : {"gzip", "deflate", "br", "GZIP", "gzip, identity"}) {
        serve(responseWith(200, goodManifest(), {"Content-Encoding: " + encoding}));
        EXPECT_EQ(resultText(), invalidResponse) << encoding.constData();
    }
}

TEST_F(UpdateServiceTest, IdentityContentEncodingIsAccepted) {
    serve(responseWith(200, goodManifest(), {"Content-Encoding: identity"}));
    EXPECT_EQ(resultText(), "1.6");
}

TEST_F(UpdateServiceTest, ContentTypeIsIgnored) {
    serve(responseWith(200, goodManifest(), {"Content-Type: text/html; charset=utf-16"}));
    EXPECT_EQ(resultText(), "1.6");
}

// ---- The request ----

TEST_F(UpdateServiceTest, RequestRevealsNothingAboutTheMachine) {
    serve(responseWith(200, goodManifest()));
    EXPECT_EQ(resultText(), "1.6");
    ASSERT_EQ(server->requests().size(), 1);
    const Request request = server->requests().front();
    EXPECT_EQ(request.line, "GET /lumvik/version.json HTTP/1.1");
    EXPECT_THAT(request.headers,
                UnorderedElementsAre("host: updates.example:" + QByteArray::number(server->port()),
                                     "accept-encoding: identity", "accept-language: en",
                                     "cache-control: no-cache", "pragma: no-cache",
                                     "connection: Keep-Alive", "user-agent: Mozilla/5.0"));
}

TEST_F(UpdateServiceTest, ServiceKeepsNothingBetweenChecks) {
    serve(responseWith(200, goodManifest(),
                       {"Set-Cookie: a=b; Path=/", "ETag: \"x\"", "Cache-Control: max-age=86400",
                        "Last-Modified: Sat, 01 Jan 2022 00:00:00 GMT"}));
    LumvikUpdateService service(mainQueue, settings());
    EXPECT_EQ(textOf(runCheck(service)), "1.6");
    EXPECT_EQ(textOf(runCheck(service)), "1.6");
    ASSERT_EQ(server->requests().size(), 2);
    const Request second = server->requests().back();
    EXPECT_EQ(second.headers, server->requests().front().headers);
    EXPECT_TRUE(second.header("Cookie").isNull());
    EXPECT_TRUE(second.header("If-None-Match").isNull());
}

TEST_F(UpdateServiceTest, ConnectionIsClosedAfterTheCheck) {
    Response response = responseWith(200, goodManifest());
    response.then = Response::Then::wait;
    serve(response);
    LumvikUpdateService service(mainQueue, settings());
    EXPECT_EQ(textOf(runCheck(service)), "1.6");
    EXPECT_TRUE(mainQueue.runUntil([&] { return server->openConnections() == 0; }, patience));
}

TEST_F(UpdateServiceTest, CheckCanSucceedAfterAFailedOne) {
    std::atomic_int count = 0;
    serve([&](const Request &) {
        return ++count == 1 ? responseWith(500, "") : responseWith(200, goodManifest());
    });
    LumvikUpdateService service(mainQueue, settings());
    EXPECT_EQ(textOf(runCheck(service)), unavailable);
    EXPECT_EQ(textOf(runCheck(service)), "1.6");
}

TEST_F(UpdateServiceTest, ApplicationProxyIsNotUsed) {
    const QNetworkProxy before = QNetworkProxy::applicationProxy();
    QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, u"127.0.0.1"_s, 1});
    serve(responseWith(200, goodManifest()));
    EXPECT_EQ(resultText(), "1.6");
    QNetworkProxy::setApplicationProxy(before);
}

} // namespace
} // namespace lumvik::test
