#include "UpdateServiceFixture.h"

#include <QElapsedTimer>
#include <QTcpServer>

#include <gmock/gmock.h>

#include <condition_variable>

namespace lumvik::test {
namespace {

using UpdateServiceTest = UpdateServiceFixture;

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char *insecure = "No secure connection to the update server could be made. ";

/// Returns a port that nothing listens on.
std::uint16_t closedPort() {
    QTcpServer server;
    EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
    return server.serverPort();
}

Response redirection(const QByteArray &location, int status = 302) {
    return responseWith(status, "moved", {"Location: " + location});
}

// ---- Certificates ----

TEST_F(UpdateServiceTest, CertificateOfAnUnknownAuthorityIsRefused) {
    serveAs(TestAuthority().credentials(webHost),
            [](const Request &) { return responseWith(200, goodManifest()); });
    EXPECT_THAT(resultText(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, TestAuthorityIsUnknownToTheSystem) {
    serve(responseWith(200, goodManifest()));
    LumvikUpdateSettings usual = settings();
    usual.authorities = std::nullopt;
    LumvikUpdateService service(mainQueue, usual);
    EXPECT_THAT(textOf(runCheck(service)), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, CertificateForAnotherNameIsRefused) {
    serveAs(authority.credentials(u"other.example"_s),
            [](const Request &) { return responseWith(200, goodManifest()); });
    EXPECT_THAT(resultText(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, CertificateForTheNumericalAddressIsRefused) {
    // Qt connects to the numerical address, but the certificate must name the host.
    serveAs(authority.credentials(u"127.0.0.1"_s),
            [](const Request &) { return responseWith(200, goodManifest()); });
    EXPECT_THAT(resultText(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, ExpiredCertificateIsRefused) {
    const Credentials expired = authority.expiredCredentials(webHost);
    ASSERT_LT(expired.certificate.expiryDate(), QDateTime::currentDateTime());
    serveAs(expired, [](const Request &) { return responseWith(200, goodManifest()); });
    EXPECT_THAT(resultText(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, SelfSignedCertificateIsRefused) {
    serveAs(authority.selfSignedCredentials(webHost),
            [](const Request &) { return responseWith(200, goodManifest()); });
    EXPECT_THAT(resultText(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

// ---- Redirections ----

class RedirectionStatus : public UpdateServiceFixture, public testing::WithParamInterface<int> {};

TEST_P(RedirectionStatus, IsFollowedOnTheSameServer) {
    serve([](const Request &request) {
        return request.path() == "/elsewhere?a=b" ? responseWith(200, goodManifest())
                                                  : redirection("/elsewhere?a=b", GetParam());
    });
    EXPECT_EQ(resultText(), "1.6");
    EXPECT_EQ(server->requests().size(), 2);
}

INSTANTIATE_TEST_SUITE_P(Statuses, RedirectionStatus, testing::Values(301, 302, 303, 307, 308));

TEST_F(UpdateServiceTest, RedirectionToAnotherHostChecksTheCertificateOfThatHost) {
    const HttpsServer other(authority.credentials(u"other.example"_s),
                            [](const Request &) { return responseWith(200, goodManifest()); });
    const QByteArray target = "other.example:" + QByteArray::number(other.port());
    serve(redirection("https://user:secret@" + target + "/there#part"));
    EXPECT_EQ(resultText(), "1.6");
    ASSERT_EQ(other.requests().size(), 1);
    const Request request = other.requests().front();
    EXPECT_EQ(request.line, "GET /there HTTP/1.1");
    EXPECT_EQ(request.header("Host"), target);
    EXPECT_TRUE(request.header("Authorization").isNull());
    EXPECT_TRUE(request.header("Referer").isNull());
}

TEST_F(UpdateServiceTest, RedirectionToAHostThatTheCertificateDoesNotNameFails) {
    // The redirection leads to the same server and address, but under a name that its certificate
    // does not contain. The open connection must not be reused for that name.
    serve([this](const Request &request) {
        if (request.path() == "/there")
            return responseWith(200, goodManifest());
        Response response =
            redirection("https://other.example:" + QByteArray::number(server->port()) + "/there");
        response.then = Response::Then::wait;
        return response;
    });
    EXPECT_THAT(resultText(), StartsWith(insecure));
    EXPECT_EQ(server->requests().size(), 1);
}

TEST_F(UpdateServiceTest, RedirectionToAnythingButHttpsFails) {
    for (const QByteArray location :
         {"http://updates.example/lumvik/version.json", "HTTP://updates.example/",
          "ftp://a.example/", "file:///etc/passwd", "data:application/json,{}",
          "https:", "https:///path"}) {
        serve(redirection(location));
        const std::string text = resultText();
        EXPECT_TRUE(text == "The update server redirected to an address that is not secure." ||
                    text == unavailable)
            << location.constData() << ": " << text;
        EXPECT_EQ(server->requests().size(), 1);
    }
    serve(redirection("http://updates.example/"));
    EXPECT_EQ(resultText(), "The update server redirected to an address that is not secure.");
}

TEST_F(UpdateServiceTest, RedirectionWithoutAValidAddressMeansUnavailable) {
    serve(responseWith(302, "moved"));
    EXPECT_EQ(resultText(), unavailable);
    serve(redirection("https://two words/"));
    EXPECT_EQ(resultText(), unavailable);
}

TEST_F(UpdateServiceTest, TenRedirectionsAreFollowedButNotEleven) {
    std::atomic_int redirections = 10;
    std::atomic_int left = 0;
    serve([&](const Request &) {
        return left-- > 0 ? redirection("/again") : responseWith(200, goodManifest());
    });
    left = redirections.load();
    EXPECT_EQ(resultText(), "1.6");
    left = redirections + 1;
    EXPECT_EQ(resultText(), "The update server redirected too many times.");
}

TEST_F(UpdateServiceTest, RedirectionLoopEnds) {
    serve(redirection("/lumvik/version.json"));
    EXPECT_EQ(resultText(), "The update server redirected too many times.");
    EXPECT_EQ(server->requests().size(), 11);
}

// ---- Bodies that are cut short ----

TEST_F(UpdateServiceTest, BodyShorterThanItsLengthIsAnError) {
    for (const auto then : {Response::Then::close, Response::Then::abort}) {
        serve(Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: " +
                                QByteArray::number(goodManifest().size() + 1) + "\r\n\r\n" +
                                goodManifest(),
                       .then = then});
        EXPECT_EQ(resultText(), connectionLost);
    }
}

TEST_F(UpdateServiceTest, ChunkedBodyWithoutTheLastChunkIsAnError) {
    const QByteArray size = QByteArray::number(goodManifest().size(), 16);
    const QByteArray whole = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + size +
                             "\r\n" + goodManifest() + "\r\n";
    for (const auto then : {Response::Then::close, Response::Then::abort}) {
        serve(Response{.bytes = whole, .then = then});
        EXPECT_EQ(resultText(), connectionLost);
        serve(Response{.bytes = whole.chopped(10), .then = then});
        EXPECT_EQ(resultText(), connectionLost);
    }
}

TEST_F(UpdateServiceTest, TruncatedBodyWithoutALengthIsInvalidJson) {
    serve(Response{.bytes = "HTTP/1.1 200 OK\r\n\r\n" + goodManifest().chopped(1),
                   .then = Response::Then::abort});
    EXPECT_EQ(resultText(), invalidJson);
}

TEST_F(UpdateServiceTest, TruncatedHeadMeansUnavailable) {
    serve(Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Le"});
    EXPECT_EQ(resultText(), unavailable);
}

TEST_F(UpdateServiceTest, ConnectionClosedWithoutAResponseMeansUnavailable) {
    for (const auto then : {Response::Then::close, Response::Then::abort}) {
        serve(Response{.bytes = "", .then = then});
        EXPECT_EQ(resultText(), unavailable);
    }
}

// ---- Names and addresses ----

TEST_F(UpdateServiceTest, RefusedConnectionIsAnError) {
    port = closedPort();
    EXPECT_EQ(resultText(), "The update server refused the connection.");
}

TEST_F(UpdateServiceTest, UnknownHostNameIsAnError) {
    resolver = [](const std::string &, std::uint16_t) -> LookupResult {
        return tl::unexpected(LookupError::noSuchName);
    };
    EXPECT_EQ(resultText(), "The update server was not found.");
    resolver = resolverTo({});
    EXPECT_EQ(resultText(), "The update server was not found.");
}

TEST_F(UpdateServiceTest, MissingNameServerIsReported) {
    resolver = [](const std::string &, std::uint16_t) -> LookupResult {
        return tl::unexpected(LookupError::temporary);
    };
    EXPECT_EQ(resultText(), "The name of the update server could not be looked up.");
}

TEST_F(UpdateServiceTest, NextAddressIsTriedWhenOneRefuses) {
    serve(responseWith(200, goodManifest()));
    resolver = resolverTo({u"127.0.0.2"_s, u"::1"_s, u"127.0.0.1"_s});
    EXPECT_EQ(resultText(), "1.6");
}

TEST_F(UpdateServiceTest, NextAddressIsTriedWhenOneIsUnresponsive) {
    serve(responseWith(200, goodManifest()));
    QTcpServer unresponsiveServer;
    ASSERT_TRUE(unresponsiveServer.listen(QHostAddress(u"127.0.0.2"_s), server->port()));
    resolver = resolverTo({u"127.0.0.2"_s, u"127.0.0.1"_s});
    EXPECT_EQ(resultText(), "1.6");
}

TEST_F(UpdateServiceTest, NextAddressIsNotTriedAfterABadCertificate) {
    serve(responseWith(200, goodManifest()));
    resolver = resolverTo({u"127.0.0.1"_s, u"127.0.0.2"_s});
    LumvikUpdateSettings strict = settings();
    strict.authorities = QList{TestAuthority().certificate()};
    LumvikUpdateService service(mainQueue, strict);
    EXPECT_THAT(textOf(runCheck(service)), StartsWith(insecure));
}

TEST_F(UpdateServiceTest, NumericalHostIsNotLookedUp) {
    resolver = [](const std::string &, std::uint16_t) -> LookupResult {
        ADD_FAILURE() << "a numerical host must not be looked up";
        return {};
    };
    LumvikUpdateSettings numerical = settings();
    numerical.webHost = u"127.0.0.1"_s;
    numerical.port = closedPort();
    LumvikUpdateService service(mainQueue, numerical);
    EXPECT_EQ(textOf(runCheck(service)), "The update server refused the connection.");
}

// ---- The time limit ----

class UpdateTimeLimitTest : public UpdateServiceFixture {
  protected:
    UpdateTimeLimitTest() { timeLimit = std::chrono::seconds(1); }

    /// Expects that a check fails because of the time limit, and not before the limit.
    void expectTimeout() {
        QElapsedTimer elapsed;
        elapsed.start();
        EXPECT_EQ(resultText(), timedOut);
        EXPECT_GE(elapsed.elapsed(), timeLimit.count());
    }
};

TEST_F(UpdateTimeLimitTest, AppliesToAnUnansweredLookup) {
    std::mutex mutex;
    std::condition_variable changed;
    bool isLetGo = false;
    bool isOver = false;
    resolver = [&](const std::string &, std::uint16_t) -> LookupResult {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return isLetGo; });
        isOver = true;
        changed.notify_all();
        return {};
    };
    expectTimeout();
    std::unique_lock lock(mutex);
    isLetGo = true;
    changed.notify_all();
    EXPECT_TRUE(changed.wait_for(lock, patience, [&] { return isOver; }));
}

TEST_F(UpdateTimeLimitTest, AppliesToAServerThatDoesNotAcceptTls) {
    QTcpServer unresponsiveServer;
    ASSERT_TRUE(unresponsiveServer.listen(QHostAddress::LocalHost));
    port = unresponsiveServer.serverPort();
    expectTimeout();
}

TEST_F(UpdateTimeLimitTest, AppliesToAServerThatDoesNotRespond) {
    serve(Response{.bytes = "", .then = Response::Then::wait});
    expectTimeout();
}

TEST_F(UpdateTimeLimitTest, AppliesToEndlessHeaders) {
    serve(Response{.bytes = "HTTP/1.1 200 OK\r\nX: x", .then = Response::Then::drip});
    expectTimeout();
}

TEST_F(UpdateTimeLimitTest, AppliesToABodyThatStops) {
    serve(Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + goodManifest(),
                   .then = Response::Then::wait});
    expectTimeout();
}

TEST_F(UpdateTimeLimitTest, AppliesToABodyThatArrivesByteByByte) {
    serve(
        Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 60000\r\n\r\n" + goodManifest() + " ",
                 .then = Response::Then::drip});
    expectTimeout();
}

TEST_F(UpdateTimeLimitTest, AppliesToAllRedirectionsTogether) {
    // The first two requests are redirected within the limit; the third gets no response.
    std::atomic_int count = 0;
    serve([&](const Request &) {
        return ++count < 3 ? redirection("/again") : Response{.then = Response::Then::wait};
    });
    expectTimeout();
    EXPECT_EQ(count, 3);
}

TEST_F(UpdateTimeLimitTest, AppliesToAllAddressesTogether) {
    QTcpServer unresponsiveServer;
    ASSERT_TRUE(unresponsiveServer.listen(QHostAddress(u"0.0.0.0"_s)));
    port = unresponsiveServer.serverPort();
    resolver = resolverTo({u"127.0.0.1"_s, u"127.0.0.2"_s, u"127.0.0.3"_s});
    expectTimeout();
}

} // namespace
} // namespace lumvik::test
