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

/// A port on which nothing listens.
std::uint16_t closedPort() {
    QTcpServer server;
    EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
    return server.serverPort();
}

Answer redirection(const QByteArray &location, int status = 302) {
    return answerWith(status, "moved", {"Location: " + location});
}

// ---- Certificates ----

TEST_F(UpdateServiceTest, AnUnknownAuthorityIsRefused) {
    serveAs(TestAuthority().credentials(webHost),
            [](const Request &) { return answerWith(200, goodManifest()); });
    EXPECT_THAT(told(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, TheSystemsAuthoritiesDoNotKnowTheTestsOwn) {
    serve(answerWith(200, goodManifest()));
    LumvikUpdateSettings usual = settings();
    usual.authorities = std::nullopt;
    LumvikUpdateService service(mainQueue, usual);
    EXPECT_THAT(inWords(outcome(service)), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, ACertificateForAnotherNameIsRefused) {
    serveAs(authority.credentials(u"other.example"_s),
            [](const Request &) { return answerWith(200, goodManifest()); });
    EXPECT_THAT(told(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, ACertificateForTheNumericalAddressAloneIsRefused) {
    // The toolkit is given the address; what counts is the name.
    serveAs(authority.credentials(u"127.0.0.1"_s),
            [](const Request &) { return answerWith(200, goodManifest()); });
    EXPECT_THAT(told(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, ACertificateThatHasExpiredIsRefused) {
    const Credentials expired = authority.expiredCredentials(webHost);
    ASSERT_LT(expired.certificate.expiryDate(), QDateTime::currentDateTime());
    serveAs(expired, [](const Request &) { return answerWith(200, goodManifest()); });
    EXPECT_THAT(told(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

TEST_F(UpdateServiceTest, ACertificateThatVouchesForItselfIsRefused) {
    serveAs(authority.selfSignedCredentials(webHost),
            [](const Request &) { return answerWith(200, goodManifest()); });
    EXPECT_THAT(told(), StartsWith(insecure));
    EXPECT_TRUE(server->requests().isEmpty());
}

// ---- Redirections ----

class Redirection : public UpdateServiceFixture, public testing::WithParamInterface<int> {};

TEST_P(Redirection, IsFollowedOnTheSameServer) {
    serve([](const Request &request) {
        return request.path() == "/elsewhere?a=b" ? answerWith(200, goodManifest())
                                                  : redirection("/elsewhere?a=b", GetParam());
    });
    EXPECT_EQ(told(), "1.6");
    EXPECT_EQ(server->requests().size(), 2);
}

INSTANTIATE_TEST_SUITE_P(Statuses, Redirection, testing::Values(301, 302, 303, 307, 308));

TEST_F(UpdateServiceTest, ARedirectionToAnotherHostAsksForThatOnesCertificate) {
    const HttpsServer other(authority.credentials(u"other.example"_s),
                            [](const Request &) { return answerWith(200, goodManifest()); });
    const QByteArray target = "other.example:" + QByteArray::number(other.port());
    serve(redirection("https://user:secret@" + target + "/there#part"));
    EXPECT_EQ(told(), "1.6");
    ASSERT_EQ(other.requests().size(), 1);
    const Request request = other.requests().front();
    EXPECT_EQ(request.line, "GET /there HTTP/1.1");
    EXPECT_EQ(request.header("Host"), target);
    EXPECT_TRUE(request.header("Authorization").isNull());
    EXPECT_TRUE(request.header("Referer").isNull());
}

TEST_F(UpdateServiceTest, ARedirectionToAHostWithAnotherCertificateFails) {
    // The same server and address, by a name that its certificate does not bear. The connection
    // that is open already must not be used for it.
    serve([this](const Request &request) {
        if (request.path() == "/there")
            return answerWith(200, goodManifest());
        Answer answer =
            redirection("https://other.example:" + QByteArray::number(server->port()) + "/there");
        answer.then = Answer::Then::wait;
        return answer;
    });
    EXPECT_THAT(told(), StartsWith(insecure));
    EXPECT_EQ(server->requests().size(), 1);
}

TEST_F(UpdateServiceTest, ARedirectionFromHttpsToAnythingElseFails) {
    for (const QByteArray location :
         {"http://updates.example/lumvik/version.json", "HTTP://updates.example/",
          "ftp://a.example/", "file:///etc/passwd", "data:application/json,{}",
          "https:", "https:///path"}) {
        serve(redirection(location));
        const std::string answer = told();
        EXPECT_TRUE(answer == "The update server redirected to an address that is not secure." ||
                    answer == unavailable)
            << location.constData() << ": " << answer;
        EXPECT_EQ(server->requests().size(), 1);
    }
    serve(redirection("http://updates.example/"));
    EXPECT_EQ(told(), "The update server redirected to an address that is not secure.");
}

TEST_F(UpdateServiceTest, ARedirectionToNowhereIsUnavailable) {
    serve(answerWith(302, "moved"));
    EXPECT_EQ(told(), unavailable);
    serve(redirection("https://two words/"));
    EXPECT_EQ(told(), unavailable);
}

TEST_F(UpdateServiceTest, TenRedirectionsAreFollowedAndNoMore) {
    std::atomic_int redirections = 10;
    std::atomic_int left = 0;
    serve([&](const Request &) {
        return left-- > 0 ? redirection("/again") : answerWith(200, goodManifest());
    });
    left = redirections.load();
    EXPECT_EQ(told(), "1.6");
    left = redirections + 1;
    EXPECT_EQ(told(), "The update server redirected too many times.");
}

TEST_F(UpdateServiceTest, ALoopOfRedirectionsEnds) {
    serve(redirection("/lumvik/version.json"));
    EXPECT_EQ(told(), "The update server redirected too many times.");
    EXPECT_EQ(server->requests().size(), 11);
}

// ---- Bodies that are cut short ----

TEST_F(UpdateServiceTest, ABodyShorterThanItsLengthIsAnError) {
    for (const auto then : {Answer::Then::close, Answer::Then::breakOff}) {
        serve(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: " +
                              QByteArray::number(goodManifest().size() + 1) + "\r\n\r\n" +
                              goodManifest(),
                     .then = then});
        EXPECT_EQ(told(), lost);
    }
}

TEST_F(UpdateServiceTest, ABodyInChunksWithoutTheLastOneIsAnError) {
    const QByteArray size = QByteArray::number(goodManifest().size(), 16);
    const QByteArray whole = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + size +
                             "\r\n" + goodManifest() + "\r\n";
    for (const auto then : {Answer::Then::close, Answer::Then::breakOff}) {
        serve(Answer{.bytes = whole, .then = then});
        EXPECT_EQ(told(), lost);
        serve(Answer{.bytes = whole.chopped(10), .then = then});
        EXPECT_EQ(told(), lost);
    }
}

TEST_F(UpdateServiceTest, ABodyWithoutALengthThatIsCutShortIsNoManifest) {
    serve(Answer{.bytes = "HTTP/1.1 200 OK\r\n\r\n" + goodManifest().chopped(1),
                 .then = Answer::Then::breakOff});
    EXPECT_EQ(told(), noJson);
}

TEST_F(UpdateServiceTest, AHeadThatIsCutShortIsNoResponse) {
    serve(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Le"});
    EXPECT_EQ(told(), unavailable);
}

TEST_F(UpdateServiceTest, AConnectionThatIsClosedWithoutAnAnswerIsNoResponse) {
    for (const auto then : {Answer::Then::close, Answer::Then::breakOff}) {
        serve(Answer{.bytes = "", .then = then});
        EXPECT_EQ(told(), unavailable);
    }
}

// ---- Names and addresses ----

TEST_F(UpdateServiceTest, AConnectionThatIsRefusedIsAnError) {
    port = closedPort();
    EXPECT_EQ(told(), "The update server refused the connection.");
}

TEST_F(UpdateServiceTest, ANameThatIsNotFoundIsAnError) {
    resolver = [](const std::string &, std::uint16_t) -> LookupResult {
        return tl::unexpected(LookupError::noSuchName);
    };
    EXPECT_EQ(told(), "The update server was not found.");
    resolver = resolverTo({});
    EXPECT_EQ(told(), "The update server was not found.");
}

TEST_F(UpdateServiceTest, AMachineWithoutANameServerIsToldSo) {
    resolver = [](const std::string &, std::uint16_t) -> LookupResult {
        return tl::unexpected(LookupError::notNow);
    };
    EXPECT_EQ(told(), "The name of the update server could not be looked up.");
}

TEST_F(UpdateServiceTest, TheNextAddressIsTriedWhenOneRefuses) {
    serve(answerWith(200, goodManifest()));
    resolver = resolverTo({u"127.0.0.2"_s, u"::1"_s, u"127.0.0.1"_s});
    EXPECT_EQ(told(), "1.6");
}

TEST_F(UpdateServiceTest, TheNextAddressIsTriedWhenOneDoesNotAnswer) {
    serve(answerWith(200, goodManifest()));
    QTcpServer mute;
    ASSERT_TRUE(mute.listen(QHostAddress(u"127.0.0.2"_s), server->port()));
    resolver = resolverTo({u"127.0.0.2"_s, u"127.0.0.1"_s});
    EXPECT_EQ(told(), "1.6");
}

TEST_F(UpdateServiceTest, ABadCertificateIsNotPassedOver) {
    serve(answerWith(200, goodManifest()));
    resolver = resolverTo({u"127.0.0.1"_s, u"127.0.0.2"_s});
    LumvikUpdateSettings strict = settings();
    strict.authorities = QList{TestAuthority().certificate()};
    LumvikUpdateService service(mainQueue, strict);
    EXPECT_THAT(inWords(outcome(service)), StartsWith(insecure));
}

TEST_F(UpdateServiceTest, ANumericalHostIsNotLookedUp) {
    resolver = [](const std::string &, std::uint16_t) -> LookupResult {
        ADD_FAILURE() << "looked up";
        return {};
    };
    LumvikUpdateSettings numerical = settings();
    numerical.webHost = u"127.0.0.1"_s;
    numerical.port = closedPort();
    LumvikUpdateService service(mainQueue, numerical);
    EXPECT_EQ(inWords(outcome(service)), "The update server refused the connection.");
}

// ---- The time limit ----

class TimeLimitTest : public UpdateServiceFixture {
  protected:
    TimeLimitTest() { timeLimit = std::chrono::seconds(1); }

    /// The check must fail by the limit, and not much before it either.
    void expectLate() {
        QElapsedTimer elapsed;
        elapsed.start();
        EXPECT_EQ(told(), late);
        EXPECT_GE(elapsed.elapsed(), timeLimit.count());
    }
};

TEST_F(TimeLimitTest, HoldsForALookupThatHangs) {
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
    expectLate();
    std::unique_lock lock(mutex);
    isLetGo = true;
    changed.notify_all();
    EXPECT_TRUE(changed.wait_for(lock, patience, [&] { return isOver; }));
}

TEST_F(TimeLimitTest, HoldsForAServerThatSaysNothingAtAll) {
    QTcpServer mute;
    ASSERT_TRUE(mute.listen(QHostAddress::LocalHost));
    port = mute.serverPort();
    expectLate();
}

TEST_F(TimeLimitTest, HoldsForAServerThatDoesNotAnswer) {
    serve(Answer{.bytes = "", .then = Answer::Then::wait});
    expectLate();
}

TEST_F(TimeLimitTest, HoldsForHeadersThatNeverEnd) {
    serve(Answer{.bytes = "HTTP/1.1 200 OK\r\nX: x", .then = Answer::Then::drip});
    expectLate();
}

TEST_F(TimeLimitTest, HoldsForABodyThatStops) {
    serve(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + goodManifest(),
                 .then = Answer::Then::wait});
    expectLate();
}

TEST_F(TimeLimitTest, HoldsForABodyThatComesByteByByte) {
    serve(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 60000\r\n\r\n" + goodManifest() + " ",
                 .then = Answer::Then::drip});
    expectLate();
}

TEST_F(TimeLimitTest, HoldsForAllRedirectionsTogether) {
    // The first two hosts answer within the limit, the third not at all.
    std::atomic_int count = 0;
    serve([&](const Request &) {
        return ++count < 3 ? redirection("/again") : Answer{.then = Answer::Then::wait};
    });
    expectLate();
    EXPECT_EQ(count, 3);
}

TEST_F(TimeLimitTest, HoldsForAllAddressesTogether) {
    QTcpServer mute;
    ASSERT_TRUE(mute.listen(QHostAddress(u"0.0.0.0"_s)));
    port = mute.serverPort();
    resolver = resolverTo({u"127.0.0.1"_s, u"127.0.0.2"_s, u"127.0.0.3"_s});
    expectLate();
}

} // namespace
} // namespace lumvik::test
