#pragma once

#include "HttpsServer.h"
#include "TestAuthority.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/VirtualMainQueue.h"
#include "updates/LumvikUpdateService.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace lumvik::test {

using namespace Qt::StringLiterals;

inline const QString webHost = u"updates.example"_s;

inline const std::string unavailable = "The update server is unavailable.";
inline const std::string invalidResponse = "The update server returned an invalid response.";
inline const std::string invalidAddress = "The update server returned an invalid download address.";
inline const std::string noJson = "The update information is not valid JSON.";
inline const std::string late = "The update server did not answer in time.";
inline const std::string lost = "The connection to the update server was lost.";

/// How long a slow machine may take for what takes milliseconds.
inline constexpr std::chrono::seconds patience{30};

/// A manifest that offers more than the installed version of the tests' settings, which is 1.5
/// build 7.
inline QByteArray goodManifest(const QByteArray &version = "1.6", const QByteArray &build = "8") {
    return R"({"version": ")" + version + R"(", "build": )" + build +
           R"(, "downloadPage": "https://updates.example/lumvik"})";
}

/// The good manifest with spaces behind it, `size` bytes in all.
inline QByteArray paddedManifest(qsizetype size) {
    return goodManifest().leftJustified(size, ' ');
}

inline NameResolver resolverTo(const QStringList &addresses) {
    return [addresses](const std::string &, std::uint16_t port) -> LookupResult {
        std::vector<SocketAddress> found;
        for (const QString &address : addresses)
            found.push_back(numericalAddresses(address, port).front());
        return found;
    };
}

/// Runs checks against a server of the test's own, which has a certificate of the test's own
/// authority for `webHost`; that name leads to 127.0.0.1.
class UpdateServiceFixture : public testing::Test {
  protected:
    void serve(HttpsServer::Handler handler) {
        serveAs(authority.credentials(webHost), std::move(handler));
    }
    void serve(const Answer &answer) {
        serve([answer](const Request &) { return answer; });
    }
    void serveAs(const Credentials &credentials, HttpsServer::Handler handler) {
        server = std::make_unique<HttpsServer>(credentials, std::move(handler));
        ASSERT_NE(server->port(), 0);
    }

    [[nodiscard]] LumvikUpdateSettings settings() const {
        return {.webHost = webHost,
                .port = server ? server->port() : port,
                .installed = {u"1.5"_s, u"7"_s},
                .authorities = QList{authority.certificate()},
                .timeLimit = timeLimit,
                .resolver = resolver};
    }

    /// The outcome of one check by a service of its own.
    LumvikUpdateCheckOutcome outcome() {
        LumvikUpdateService service(mainQueue, settings());
        return outcome(service);
    }

    LumvikUpdateCheckOutcome outcome(LumvikUpdateService &service) {
        std::optional<LumvikUpdateCheckOutcome> result;
        const auto check =
            service.check([&](const LumvikUpdateCheckOutcome &answer) { result = answer; });
        if (!mainQueue.runUntil([&] { return result.has_value(); }, patience))
            return tl::unexpected(LumvikUpdateCheckError{u"(nothing was delivered)"_s});
        return *result;
    }

    /// The error's message, or the offered version, or "current".
    std::string told() { return inWords(outcome()); }

    static std::string inWords(const LumvikUpdateCheckOutcome &answer) {
        if (!answer)
            return answer.error().message.toStdString();
        return answer->available ? answer->available->version.toStdString() : "current";
    }

    VirtualMainQueue mainQueue;
    TestAuthority authority;
    std::unique_ptr<HttpsServer> server;
    std::uint16_t port = 443; ///< Where there is no server.
    std::chrono::milliseconds timeLimit = patience;
    NameResolver resolver = resolverTo({u"127.0.0.1"_s});
};

} // namespace lumvik::test
