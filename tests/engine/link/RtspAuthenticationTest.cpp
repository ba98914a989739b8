#include "engine/link/RtspAuthentication.h"

#include <gtest/gtest.h>

using namespace lumvik;

namespace {

RtspAuthentication authentication(const RtspCredentials &credentials,
                                  const QByteArray &clientNonce = "0a4f113b") {
    return RtspAuthentication(credentials, [clientNonce] { return clientNonce; });
}

/// The value of a field in an Authorization header, without quotes.
QByteArray field(const QByteArray &authorization, const char *name) {
    const auto challenges = rtspChallenges({authorization});
    return challenges.empty() ? QByteArray() : challenges[0].parameter(name);
}

} // namespace

// The response is the one in RFC 2617, 3.5.
TEST(RtspAuthenticationTest, DigestWithQopMatchesThePublishedExample) {
    auto login = authentication({"Mufasa", "Circle Of Life"});
    ASSERT_TRUE(login.take({R"(Digest realm="testrealm@host.com", qop="auth,auth-int", )"
                            R"(nonce="dcd98b7102dd2f0e8b11d0f600bfb0c093", )"
                            R"(opaque="5ccc069c403ebaf9f0171e9517f40e41")"}));
    const QByteArray header = login.authorization("GET", "/dir/index.html");
    EXPECT_EQ(field(header, "response"), "6629fae49393a05397450978507c4ef1");
    EXPECT_EQ(field(header, "opaque"), "5ccc069c403ebaf9f0171e9517f40e41");
    EXPECT_EQ(field(header, "nc"), "00000001");
    EXPECT_EQ(field(header, "qop"), "auth");
}

// The responses are those in RFC 7616, 3.9.1.
TEST(RtspAuthenticationTest, StrongestOfSeveralDigestsIsUsed) {
    const QByteArray nonce = "7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v";
    const QByteArray common = R"( realm="http-auth@example.org", qop="auth, auth-int", nonce=")" +
                              nonce + R"(", opaque="FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS")";
    const QByteArray md5 = "Digest" + common + ", algorithm=MD5";
    const QByteArray sha256 = "Digest" + common + ", algorithm=SHA-256";
    const QByteArray clientNonce = "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ";
    for (const QByteArrayList &offers :
         {QByteArrayList{sha256, md5}, QByteArrayList{md5 + ", " + sha256},
          QByteArrayList{"Basic realm=\"x\"", md5, sha256}}) {
        auto login = authentication({"Mufasa", "Circle of Life"}, clientNonce);
        ASSERT_TRUE(login.take(offers));
        const QByteArray header = login.authorization("GET", "/dir/index.html");
        EXPECT_EQ(field(header, "response"),
                  "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1");
        EXPECT_EQ(field(header, "algorithm"), "SHA-256");
    }
    auto login = authentication({"Mufasa", "Circle of Life"}, clientNonce);
    ASSERT_TRUE(login.take({md5}));
    EXPECT_EQ(field(login.authorization("GET", "/dir/index.html"), "response"),
              "8ca523f5e9506fed4657c9700eebdbec");
}

// The response was calculated with md5sum, from the formula in RFC 2069.
TEST(RtspAuthenticationTest, DigestWithoutQopUsesTheOlderForm) {
    auto login = authentication({"admin", "12345"});
    ASSERT_TRUE(login.take({R"(Digest realm="IP Camera", nonce="abc")"}));
    const QByteArray header = login.authorization("DESCRIBE", "rtsp://camera/live");
    EXPECT_EQ(field(header, "response"), "aabaca47d1fab396c8e4c47b91cb80ed");
    EXPECT_EQ(field(header, "uri"), "rtsp://camera/live");
    EXPECT_FALSE(header.contains("qop"));
    EXPECT_FALSE(header.contains("cnonce"));
    EXPECT_FALSE(header.contains("algorithm"));
}

TEST(RtspAuthenticationTest, BasicIsUsedOnlyIfNothingElseIsOffered) {
    auto login = authentication({"Aladdin", "open sesame"});
    ASSERT_TRUE(login.take({R"(Basic realm="WallyWorld")"}));
    EXPECT_EQ(login.authorization("DESCRIBE", "rtsp://a"), "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
    ASSERT_TRUE(login.take({R"(Basic realm="WallyWorld", Digest realm="r", nonce="n")"}));
    EXPECT_TRUE(login.authorization("DESCRIBE", "rtsp://a").startsWith("Digest "));
}

TEST(RtspAuthenticationTest, ChallengesThatCannotBeAnsweredAreRefused) {
    for (const char *challenge :
         {"", "Negotiate", "Digest realm=\"r\"",
          R"(Digest realm="r", nonce="n", algorithm=SHA-512)",
          R"(Digest realm="r", nonce="n", qop="auth-int")", "=,\"", "\"", ",,,"}) {
        auto login = authentication({"u", "p"});
        EXPECT_FALSE(login.take({challenge})) << challenge;
        EXPECT_EQ(login.authorization("OPTIONS", "rtsp://a"), "") << challenge;
    }
}

TEST(RtspAuthenticationTest, UsesOfANonceAreCounted) {
    auto login = authentication({"u", "p"});
    const QByteArray challenge = R"(Digest realm="r", nonce="first", qop="auth")";
    ASSERT_TRUE(login.take({challenge}));
    EXPECT_EQ(field(login.authorization("OPTIONS", "a"), "nc"), "00000001");
    EXPECT_EQ(field(login.authorization("DESCRIBE", "a"), "nc"), "00000002");
    ASSERT_TRUE(login.take({challenge}));
    EXPECT_EQ(field(login.authorization("SETUP", "a"), "nc"), "00000003");
    ASSERT_TRUE(login.take({R"(Digest realm="r", nonce="second", qop="auth", stale=TRUE)"}));
    EXPECT_TRUE(login.isStale());
    EXPECT_EQ(field(login.authorization("PLAY", "a"), "nc"), "00000001");
}

TEST(RtspAuthenticationTest, SessionAlgorithmHashesTheNoncesIntoTheSecret) {
    auto login = authentication({"u", "p"}, "c");
    ASSERT_TRUE(login.take({R"(Digest realm="r", nonce="n", qop="auth", algorithm=MD5-sess)"}));
    const auto md5 = [](const QByteArray &text) {
        return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
    };
    const QByteArray secret = md5(md5("u:r:p") + ":n:c");
    EXPECT_EQ(field(login.authorization("PLAY", "a"), "response"),
              md5(secret + ":n:00000001:c:auth:" + md5("PLAY:a")));
}

TEST(RtspAuthenticationTest, SessionAlgorithmKeepsItsClientNonceWithTheNonce) {
    int nonces = 0;
    RtspAuthentication login({"u", "p"}, [&] { return QByteArray::number(++nonces); });
    const auto clientNonce = [&] { return field(login.authorization("PLAY", "a"), "cnonce"); };
    const QByteArray challenge = R"(Digest realm="r", nonce="n", qop="auth", algorithm=MD5-sess)";
    ASSERT_TRUE(login.take({challenge}));
    EXPECT_EQ(clientNonce(), "1");
    EXPECT_EQ(clientNonce(), "1");
    ASSERT_TRUE(login.take({challenge}));
    EXPECT_EQ(clientNonce(), "1");
    ASSERT_TRUE(login.take({QByteArray(challenge).replace("\"n\"", "\"new\"")}));
    EXPECT_EQ(clientNonce(), "2");
}

TEST(RtspAuthenticationTest, UnquotedAndOddlySpacedParametersAreRead) {
    const auto challenges =
        rtspChallenges({R"(digest Realm = "a, b=c" ,nonce=YWJj==,Algorithm=MD5,  basic realm=x)"});
    ASSERT_EQ(challenges.size(), 2U);
    EXPECT_EQ(challenges[0].scheme, "digest");
    EXPECT_EQ(challenges[0].parameter("realm"), "a, b=c");
    EXPECT_EQ(challenges[0].parameter("nonce"), "YWJj==");
    EXPECT_EQ(challenges[0].parameter("algorithm"), "MD5");
    EXPECT_EQ(challenges[1].scheme, "basic");
}

TEST(RtspAuthenticationTest, UserNameCannotForgeAHeader) {
    auto login = authentication({"a\r\nEvil: \"x\\", "p"});
    ASSERT_TRUE(login.take({R"(Digest realm="r", nonce="n")"}));
    const QByteArray header = login.authorization("PLAY", "a");
    EXPECT_FALSE(header.contains('\r'));
    EXPECT_FALSE(header.contains('\n'));
    EXPECT_TRUE(header.contains(R"(username="aEvil: \"x\\")")) << header.toStdString();
}

TEST(RtspAuthenticationTest, NoncesAreRandom) {
    EXPECT_EQ(RtspAuthentication::randomNonce().size(), 32);
    EXPECT_NE(RtspAuthentication::randomNonce(), RtspAuthentication::randomNonce());
}
