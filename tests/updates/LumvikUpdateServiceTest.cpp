#include "updates/LumvikUpdateService.h"

#include "UpdateServiceFixture.h"

#include <QNetworkProxy>
#include <QTcpServer>

#include <gmock/gmock.h>

namespace lumvik::test {
namespace {

using UpdateServiceTest = UpdateServiceFixture;

using testing::UnorderedElementsAre;

// ---- Outcomes ----

TEST_F(UpdateServiceTest, ALaterVersionIsAvailable) {
    serve(answerWith(200, goodManifest()));
    const LumvikUpdateCheckOutcome result = outcome();
    ASSERT_TRUE(result) << qPrintable(result.error().message);
    ASSERT_TRUE(result->available);
    EXPECT_EQ(*result->available,
              (LumvikUpdateManifest{u"1.6"_s, 8, u"https://updates.example/lumvik"_s}));
}

TEST_F(UpdateServiceTest, TheInstalledVersionIsCurrent) {
    serve(answerWith(200, goodManifest("1.5", "7")));
    const LumvikUpdateCheckOutcome result = outcome();
    ASSERT_TRUE(result) << qPrintable(result.error().message);
    EXPECT_TRUE(result->isCurrent());
}

TEST_F(UpdateServiceTest, LogsTheBeginningAndTheBuilds) {
    const CapturedLog log;
    serve(answerWith(200, goodManifest()));
    EXPECT_EQ(told(), "1.6");
    const QList<LoggedLine> expected = {
        {LogLevel::info, u"updates"_s, u"Checking the official Lumvik update manifest."_s},
        {LogLevel::info, u"updates"_s,
         u"Validated update manifest build 8 against installed build 7."_s}};
    EXPECT_EQ(log.lines(u"updates"_s), expected);
}

TEST_F(UpdateServiceTest, LogsNoBuildsOfAManifestThatIsRefused) {
    const CapturedLog log;
    serve(answerWith(200, goodManifest("1.6", "0")));
    EXPECT_EQ(told(), invalidAddress);
    EXPECT_EQ(log.lines(u"updates"_s).size(), 1);
}

TEST_F(UpdateServiceTest, AHostThatIsNoneHasNoAddress) {
    for (const QString &host : {u""_s, u"two words"_s, u"host/path"_s, u"a@b"_s}) {
        LumvikUpdateSettings odd = settings();
        odd.webHost = host;
        LumvikUpdateService service(mainQueue, odd);
        EXPECT_EQ(inWords(outcome(service)), "Lumvik’s update address is invalid.")
            << qPrintable(host);
    }
}

class RefusedManifest : public UpdateServiceFixture,
                        public testing::WithParamInterface<std::pair<QByteArray, std::string>> {};

TEST_P(RefusedManifest, GivesItsMessage) {
    serve(answerWith(200, GetParam().first));
    EXPECT_EQ(told(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, RefusedManifest,
    testing::Values(
        std::pair{QByteArray(), noJson}, std::pair{QByteArray("<html>"), noJson},
        std::pair{QByteArray("[]"), std::string("The update information is not a JSON object.")},
        std::pair{QByteArray("{}"),
                  std::string("The update information has no readable value for “version”.")},
        std::pair{goodManifest("2"), invalidAddress},
        std::pair{goodManifest("1.2.3.4.5"), invalidAddress},
        std::pair{goodManifest("1.6", "0"), invalidAddress},
        std::pair{goodManifest().replace("https:", "http:"), invalidAddress},
        std::pair{goodManifest().replace("updates.example", "other.example"), invalidAddress},
        std::pair{goodManifest().replace("/lumvik", "/lumvik/more"), invalidAddress}));

// ---- Statuses ----

class GoodStatus : public UpdateServiceFixture, public testing::WithParamInterface<int> {};
class BadStatus : public UpdateServiceFixture, public testing::WithParamInterface<int> {};

TEST_P(GoodStatus, IsTaken) {
    serve(answerWith(GetParam(), goodManifest()));
    EXPECT_EQ(told(), "1.6");
}

TEST_P(BadStatus, MeansThatTheServerIsUnavailable) {
    serve(answerWith(GetParam(), goodManifest()));
    EXPECT_EQ(told(), unavailable);
    EXPECT_EQ(server->requests().size(), 1);
}

INSTANTIATE_TEST_SUITE_P(Statuses, GoodStatus, testing::Values(200, 201, 203, 206, 299));
INSTANTIATE_TEST_SUITE_P(Statuses, BadStatus,
                         testing::Values(300, 304, 305, 400, 401, 403, 404, 407, 410, 429, 500, 502,
                                         503, 599));

TEST_F(UpdateServiceTest, NoContentIsNoManifest) {
    serve(Answer{.bytes = "HTTP/1.1 204 No Content\r\n\r\n"});
    EXPECT_EQ(told(), noJson);
}

TEST_F(UpdateServiceTest, AnInterimResponseIsPassedOver) {
    Answer answer = answerWith(200, goodManifest());
    answer.bytes.prepend("HTTP/1.1 100 Continue\r\n\r\n");
    serve(answer);
    EXPECT_EQ(told(), "1.6");
}

TEST_F(UpdateServiceTest, NotModifiedWithoutALengthIsUnavailable) {
    serve(Answer{.bytes = "HTTP/1.1 304 Not Modified\r\n\r\n", .then = Answer::Then::wait});
    EXPECT_EQ(told(), unavailable);
}

TEST_F(UpdateServiceTest, ABadStatusIsToldBeforeItsBodyHasCome) {
    serve(Answer{.bytes = "HTTP/1.1 404 Not Found\r\nContent-Length: 100\r\n\r\nNot",
                 .then = Answer::Then::wait});
    EXPECT_EQ(told(), unavailable);
}

TEST_F(UpdateServiceTest, AChallengeIsNotAnswered) {
    serve(answerWith(401, "", {R"(WWW-Authenticate: Basic realm="x")"}));
    EXPECT_EQ(told(), unavailable);
    ASSERT_EQ(server->requests().size(), 1);
    EXPECT_TRUE(server->requests().front().header("Authorization").isNull());
}

TEST_F(UpdateServiceTest, WhatIsNoHttpIsUnavailable) {
    for (const auto then : {Answer::Then::close, Answer::Then::wait}) {
        serve(Answer{.bytes = "220 mail.example ready\r\n\r\n", .then = then});
        EXPECT_EQ(told(), unavailable);
    }
}

// ---- Sizes ----

TEST_F(UpdateServiceTest, TheLargestBodyIsDecoded) {
    serve(answerWith(200, paddedManifest(65'536)));
    EXPECT_EQ(told(), "1.6");
}

TEST_F(UpdateServiceTest, AByteMoreIsAnInvalidResponse) {
    serve(answerWith(200, paddedManifest(65'537)));
    EXPECT_EQ(told(), invalidResponse);
}

Answer endlessAnswer(const QByteArray &body) {
    return {.bytes = "HTTP/1.1 200 OK\r\n\r\n" + body};
}

TEST_F(UpdateServiceTest, TheSizesHoldForABodyWithoutALength) {
    serve(endlessAnswer(paddedManifest(65'536)));
    EXPECT_EQ(told(), "1.6");
    serve(endlessAnswer(paddedManifest(65'537)));
    EXPECT_EQ(told(), invalidResponse);
}

Answer chunkedAnswer(const QByteArray &body, qsizetype chunk) {
    QByteArray bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (qsizetype at = 0; at < body.size(); at += chunk) {
        const QByteArray piece = body.mid(at, chunk);
        bytes += QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n";
    }
    return {.bytes = bytes + "0\r\n\r\n"};
}

TEST_F(UpdateServiceTest, TheSizesHoldForABodyInChunks) {
    serve(chunkedAnswer(paddedManifest(65'536), 1000));
    EXPECT_EQ(told(), "1.6");
    serve(chunkedAnswer(paddedManifest(65'537), 1000));
    EXPECT_EQ(told(), invalidResponse);
}

TEST_F(UpdateServiceTest, ABodyThatIsTooLongIsNotWaitedFor) {
    serve(Answer{.bytes =
                     "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n" + paddedManifest(65'537),
                 .then = Answer::Then::wait});
    EXPECT_EQ(told(), invalidResponse);
}

TEST_F(UpdateServiceTest, ALengthAloneIsNoReasonToStop) {
    // The bytes that come are counted, not those that are announced.
    timeLimit = std::chrono::milliseconds(500);
    serve(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n" + goodManifest(),
                 .then = Answer::Then::wait});
    EXPECT_EQ(told(), late);
}

TEST_F(UpdateServiceTest, ABodyWithoutEndIsBrokenOff) {
    serve(endlessAnswer(QByteArray(10'000'000, ' ')));
    EXPECT_EQ(told(), invalidResponse);
}

TEST_F(UpdateServiceTest, ACompressedBodyIsAnInvalidResponse) {
    for (const QByteArray encoding : {"gzip", "deflate", "br", "GZIP", "gzip, identity"}) {
        serve(answerWith(200, goodManifest(), {"Content-Encoding: " + encoding}));
        EXPECT_EQ(told(), invalidResponse) << encoding.constData();
    }
}

TEST_F(UpdateServiceTest, ABodyThatSaysItIsNotCompressedIsTaken) {
    serve(answerWith(200, goodManifest(), {"Content-Encoding: identity"}));
    EXPECT_EQ(told(), "1.6");
}

TEST_F(UpdateServiceTest, TheTypeOfTheBodyDoesNotMatter) {
    serve(answerWith(200, goodManifest(), {"Content-Type: text/html; charset=utf-16"}));
    EXPECT_EQ(told(), "1.6");
}

// ---- The request ----

TEST_F(UpdateServiceTest, TheRequestTellsNothingOfTheMachine) {
    serve(answerWith(200, goodManifest()));
    EXPECT_EQ(told(), "1.6");
    ASSERT_EQ(server->requests().size(), 1);
    const Request request = server->requests().front();
    EXPECT_EQ(request.line, "GET /lumvik/version.json HTTP/1.1");
    EXPECT_THAT(request.headers,
                UnorderedElementsAre("host: updates.example:" + QByteArray::number(server->port()),
                                     "accept-encoding: identity", "accept-language: en",
                                     "cache-control: no-cache", "pragma: no-cache",
                                     "connection: Keep-Alive", "user-agent: Mozilla/5.0"));
}

TEST_F(UpdateServiceTest, NothingIsKeptBetweenChecks) {
    serve(answerWith(200, goodManifest(),
                     {"Set-Cookie: a=b; Path=/", "ETag: \"x\"", "Cache-Control: max-age=86400",
                      "Last-Modified: Sat, 01 Jan 2022 00:00:00 GMT"}));
    LumvikUpdateService service(mainQueue, settings());
    EXPECT_EQ(inWords(outcome(service)), "1.6");
    EXPECT_EQ(inWords(outcome(service)), "1.6");
    ASSERT_EQ(server->requests().size(), 2);
    const Request second = server->requests().back();
    EXPECT_EQ(second.headers, server->requests().front().headers);
    EXPECT_TRUE(second.header("Cookie").isNull());
    EXPECT_TRUE(second.header("If-None-Match").isNull());
}

TEST_F(UpdateServiceTest, TheConnectionIsClosedAfterTheCheck) {
    Answer answer = answerWith(200, goodManifest());
    answer.then = Answer::Then::wait;
    serve(answer);
    LumvikUpdateService service(mainQueue, settings());
    EXPECT_EQ(inWords(outcome(service)), "1.6");
    EXPECT_TRUE(mainQueue.runUntil([&] { return server->openConnections() == 0; }, patience));
}

TEST_F(UpdateServiceTest, AFailureIsFollowedByASuccess) {
    std::atomic_int count = 0;
    serve([&](const Request &) {
        return ++count == 1 ? answerWith(500, "") : answerWith(200, goodManifest());
    });
    LumvikUpdateService service(mainQueue, settings());
    EXPECT_EQ(inWords(outcome(service)), unavailable);
    EXPECT_EQ(inWords(outcome(service)), "1.6");
}

TEST_F(UpdateServiceTest, AProxyOfTheProgramIsNotAsked) {
    const QNetworkProxy before = QNetworkProxy::applicationProxy();
    QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, u"127.0.0.1"_s, 1});
    serve(answerWith(200, goodManifest()));
    EXPECT_EQ(told(), "1.6");
    QNetworkProxy::setApplicationProxy(before);
}

} // namespace
} // namespace lumvik::test
