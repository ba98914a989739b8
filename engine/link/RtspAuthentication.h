#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QCryptographicHash>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace lumvik {

/// A user name and password, decoded.
struct RtspCredentials {
    QByteArray user;
    QByteArray password;
};

/// One challenge of a WWW-Authenticate header.
struct RtspChallenge {
    QByteArray scheme;                           ///< In lower case: "digest" or "basic".
    std::map<QByteArray, QByteArray> parameters; ///< Names in lower case; values without quotes.

    [[nodiscard]] QByteArray parameter(const char *name) const;
};

/// Returns the challenges in the values of WWW-Authenticate headers. A value may contain several.
[[nodiscard]] std::vector<RtspChallenge> rtspChallenges(const QByteArrayList &values);

/// Proves to a camera that the user knows the password, by Digest (RFC 2617 and 7616: MD5 and
/// SHA-256, with and without "qop") or, only if the camera offers nothing else, by Basic.
///
/// A plain value without I/O. One object serves all requests of one link; the count of uses that
/// Digest requires continues from request to request.
class RtspAuthentication {
  public:
    /// Returns a random text for each request.
    using NonceMaker = std::function<QByteArray()>;
    static QByteArray randomNonce();

    explicit RtspAuthentication(RtspCredentials credentials, NonceMaker makeNonce = randomNonce);

    /// Chooses the strongest of the challenges of a refused request. Returns false if none can be
    /// answered; the earlier challenge then stays in use.
    [[nodiscard]] bool take(const QByteArrayList &challenges);

    /// Returns the value of the Authorization header for a request, or an empty text as long as
    /// there is no challenge. `uri` must be the text in the request's start line.
    [[nodiscard]] QByteArray authorization(const QByteArray &method, const QByteArray &uri);

    /// The nonce that `authorization` uses, or an empty text with Basic or without a challenge.
    [[nodiscard]] QByteArray nonce() const { return m_nonce; }
    /// Whether the camera said that the last nonce was too old, and not that the password is wrong.
    [[nodiscard]] bool isStale() const { return m_isStale; }
    [[nodiscard]] QByteArray realm() const { return m_realm; }

    /// Forgets the challenge, because another server process may answer on a new connection.
    void forgetChallenge();

  private:
    enum class Scheme { None, Basic, Digest };

    void use(const RtspChallenge &challenge, Scheme scheme);
    [[nodiscard]] QByteArray digest(const QByteArray &method, const QByteArray &uri);
    [[nodiscard]] QByteArray hash(const QByteArrayList &parts) const;

    RtspCredentials m_credentials;
    NonceMaker m_makeNonce;
    Scheme m_scheme = Scheme::None;
    QCryptographicHash::Algorithm m_algorithm = QCryptographicHash::Md5;
    QByteArray m_algorithmName; ///< As the camera spells it; empty if it names none.
    bool m_isSession = false;   ///< Whether the algorithm is one of the "-sess" kind.
    bool m_hasQop = false;
    bool m_isStale = false;
    QByteArray m_realm;
    QByteArray m_nonce;
    std::optional<QByteArray> m_opaque;
    unsigned m_useCount = 0;         ///< How often the nonce has been used.
    QByteArray m_sessionClientNonce; ///< The first one with the nonce; only for a session's key.
};

} // namespace lumvik
