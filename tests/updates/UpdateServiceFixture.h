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
inline const std::string invalidJson = "The update information is not valid JSON.";
inline const std::string timedOut = "The update server did not answer in time.";
inline const std::string connectionLost = "The connection to the update server was lost.";

/// The time limit for operations that normally take milliseconds. Generous, because the machine may
/// be busy.
inline constexpr std::chrono::seconds patience{30};

/// Returns a valid manifest. By default it offers a later version than the installed one, which is
/// 1.5 (build 7) in these tests.
inline QByteArray goodManifest(const QByteArray &version = "1.6", const QByteArray &build = "8") {
    return R"({"version": ")" + version + R"(", "build": )" + build +
           R"(, "downloadPage": "https://updates.example/lumvik"})";
}

/// Returns the valid manifest, padded with spaces to a size of `size` bytes.
inline QByteArray paddedManifest(qsizetype size) {
    return goodManifest().leftJustified(size, ' ');
}

/// Returns a resolver that resolves every name to `addresses`.
inline NameResolver resolverTo(const QStringList &addresses) {
    return [addresses](const std::string &, std::uint16_t port) -> LookupResult {
        std::vector<SocketAddress> found;
        for (const QString &address : addresses)
            found.push_back(numericalAddresses(address, port).front());
        return found;
    };
}

/// Runs update checks against a local server. The server has a certificate for `webHost` from a
/// test authority, and every name resolves to 127.0.0.1.
class UpdateServiceFixture : public testing::Test {
  protected:
    void serve(HttpsServer::Handler handler) {
        serveAs(authority.credentials(webHost), std::move(handler));
    }
    void serve(const Response &response) {
        serve([response](const Request &) { return response; });
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

    /// Runs one check with a new service and returns its outcome.
    LumvikUpdateCheckOutcome runCheck() {
        LumvikUpdateService service(mainQueue, settings());
        return runCheck(service);
    }

    LumvikUpdateCheckOutcome runCheck(LumvikUpdateService &service) {
        std::optional<LumvikUpdateCheckOutcome> result;
        const auto check =
            service.check([&](const LumvikUpdateCheckOutcome &outcome) { result = outcome; });
        if (!mainQueue.runUntil([&] { return result.has_value(); }, patience))
            return tl::unexpected(LumvikUpdateCheckError{u"(nothing was delivered)"_s});
        return *result;
    }

    /// Runs one check with a new service and returns `textOf` its outcome.
    std::string resultText() { return textOf(runCheck()); }

    /// Returns the message of an error, the version of an available update, or "current".
    static std::string textOf(const LumvikUpdateCheckOutcome &outcome) {
        if (!outcome)
            return outcome.error().message.toStdString();
        return outcome->available ? outcome->available->version.toStdString() : "current";
    }

    VirtualMainQueue mainQueue;
    TestAuthority authority;
    std::unique_ptr<HttpsServer> server;
    std::uint16_t port = httpsPort; ///< The port to use when `server` is null.
    std::chrono::milliseconds timeLimit = patience;
    NameResolver resolver = resolverTo({u"127.0.0.1"_s});
};

} // namespace lumvik::test
