#pragma once

#include "OnvifDevice.h"
#include "discovery/OnvifClient.h"
#include "fakes/VirtualMainQueue.h"

#include <QCryptographicHash>
#include <QTest>

#include <gtest/gtest.h>

#include <optional>

namespace lumvik::test {

/// What the clock of the usual device shows.
inline const QDateTime deviceTime(QDate(2021, 2, 3), QTime(10, 20, 30), Qt::UTC);
inline const QDateTime ownTime(QDate(2026, 1, 31), QTime(12, 0), Qt::UTC);
inline const OnvifLogin anna{QStringLiteral("anna"), QStringLiteral("s3cret")};

/// Whether a question proves that the client knows Anna's password, with a token of `created`.
[[nodiscard]] inline bool hasToken(const OnvifQuestion &question, const QDateTime &created) {
    const XmlElement *token = question.token();
    if (token == nullptr)
        return false;
    const QByteArray nonce = QByteArray::fromBase64(token->textAt({u"Nonce"}).toLatin1());
    const QString text = token->textAt({u"Created"});
    const QByteArray digest =
        QCryptographicHash::hash(nonce + text.toUtf8() + "s3cret", QCryptographicHash::Sha1);
    return token->textAt({u"Username"}) == QStringLiteral("anna") && nonce.size() == 16 &&
           token->textAt({u"Password"}).toLatin1() == digest.toBase64() &&
           QDateTime::fromString(text, Qt::ISODate) == created;
}

/// Whether the call is one that a usual device answers to everybody.
[[nodiscard]] inline bool needsNoLogin(const OnvifQuestion &question) {
    return question.call == QStringLiteral("GetSystemDateAndTime");
}

/// A device that wants a token of the time `created`.
[[nodiscard]] inline OnvifDevice::Handler wantsToken(const QDateTime &created) {
    return [created](const OnvifQuestion &question) {
        return needsNoLogin(question) || hasToken(question, created)
                   ? OnvifDevice::usualReply(question)
                   : OnvifDevice::notAuthorized();
    };
}

/// A header with which a device demands Digest authentication.
inline constexpr const char *challenge =
    "WWW-Authenticate: Digest realm=\"r\", nonce=\"n1\", qop=\"auth\"\r\n";

/// A client in virtual time, and the outcome of its question.
class OnvifClientFixture : public testing::Test {
  protected:
    /// Asks a device and returns the outcome, or nothing if there is none in time.
    std::optional<OnvifOutcome> ask(const OnvifDevice &device, const OnvifLogin &login = anna) {
        outcome.reset();
        loginEvents.clear();
        client.ask(device.service(), login);
        EXPECT_FALSE(outcome);
        (void)finishes();
        return outcome;
    }
    /// Waits until there is an outcome, without moving the clock.
    [[nodiscard]] bool finishes() {
        return QTest::qWaitFor(
            [this] {
                queue.runPending();
                return outcome.has_value();
            },
            10'000);
    }
    static std::optional<OnvifOutcome> failure(OnvifCause cause) {
        return OnvifOutcome(tl::unexpected(cause));
    }

    void SetUp() override {
        QObject::connect(&client, &OnvifClient::finished, &client,
                         [this](const OnvifOutcome &each) {
                             EXPECT_FALSE(outcome) << "finished twice";
                             outcome = each;
                         });
        QObject::connect(&client, &OnvifClient::loginProgressed, &client,
                         [this](OnvifLoginEvent event) { loginEvents.push_back(event); });
    }

    test::VirtualMainQueue queue;
    OnvifClient client{queue, [] { return ownTime; }};
    std::optional<OnvifOutcome> outcome;
    std::vector<OnvifLoginEvent> loginEvents; ///< Since the last question.
};

} // namespace lumvik::test
