#include "engine/link/RtspAuthentication.h"

#include <QRandomGenerator>

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

bool isSpaceOrComma(char c) {
    return c == ' ' || c == '\t' || c == ',';
}

/// Reads the tokens of a WWW-Authenticate header.
class ChallengeReader {
  public:
    explicit ChallengeReader(const QByteArray &text) : m_text(text) {}

    /// Returns the next challenge, or nothing at the end.
    std::optional<RtspChallenge> next() {
        skipSeparators();
        const QByteArray scheme = token();
        if (scheme.isEmpty())
            return std::nullopt;
        RtspChallenge challenge{scheme.toLower(), {}};
        while (readParameter(challenge)) {
        }
        return challenge;
    }

  private:
    /// Reads "name=value". Returns false, without consuming anything, if the next token is not
    /// followed by "=", because it is then the scheme of the next challenge.
    bool readParameter(RtspChallenge &challenge) {
        const qsizetype begin = m_position;
        skipSeparators();
        const QByteArray name = token();
        skipSpaces();
        if (name.isEmpty() || m_position >= m_text.size() || m_text[m_position] != '=') {
            m_position = begin;
            return false;
        }
        ++m_position;
        skipSpaces();
        challenge.parameters[name.toLower()] = value();
        return true;
    }

    QByteArray value() {
        if (m_position >= m_text.size() || m_text[m_position] != '"')
            return token();
        // Escaped characters stay as they are: the hash covers the text between the quotes.
        const qsizetype begin = ++m_position;
        while (m_position < m_text.size() && m_text[m_position] != '"')
            m_position += m_text[m_position] == '\\' ? 2 : 1;
        m_position = std::min(m_position, m_text.size());
        QByteArray quoted = m_text.sliced(begin, m_position - begin);
        m_position = std::min(m_position + 1, m_text.size());
        return quoted;
    }

    QByteArray token() {
        const qsizetype begin = m_position;
        while (m_position < m_text.size() && !isSpaceOrComma(m_text[m_position]) &&
               m_text[m_position] != '=' && m_text[m_position] != '"')
            ++m_position;
        // Some values that should be in quotes contain "=", such as a nonce in Base64.
        if (begin > 0 && m_text[begin - 1] == '=') {
            while (m_position < m_text.size() && !isSpaceOrComma(m_text[m_position]))
                ++m_position;
        }
        return m_text.sliced(begin, m_position - begin);
    }

    void skipSeparators() {
        while (m_position < m_text.size() && isSpaceOrComma(m_text[m_position]))
            ++m_position;
    }
    void skipSpaces() {
        while (m_position < m_text.size() &&
               (m_text[m_position] == ' ' || m_text[m_position] == '\t'))
            ++m_position;
    }

    const QByteArray m_text;
    qsizetype m_position = 0;
};

/// The digest algorithm that a challenge names.
struct Algorithm {
    QCryptographicHash::Algorithm hash = QCryptographicHash::Md5;
    bool isSession = false;
};

/// Returns nothing for an algorithm that is not supported.
std::optional<Algorithm> algorithmNamed(const QByteArray &name) {
    const QByteArray lower = name.toLower();
    if (lower.isEmpty() || lower == "md5")
        return Algorithm{QCryptographicHash::Md5, false};
    if (lower == "md5-sess")
        return Algorithm{QCryptographicHash::Md5, true};
    if (lower == "sha-256")
        return Algorithm{QCryptographicHash::Sha256, false};
    if (lower == "sha-256-sess")
        return Algorithm{QCryptographicHash::Sha256, true};
    return std::nullopt;
}

/// Whether the protection of requests alone is offered. Without "qop" the older form is used.
bool isUsableQop(const QByteArray &qop) {
    if (qop.trimmed().isEmpty())
        return true;
    const QByteArrayList offered = qop.toLower().split(',');
    return std::any_of(offered.begin(), offered.end(),
                       [](const QByteArray &each) { return each.trimmed() == "auth"; });
}

/// How strong a challenge is: 0 for one that cannot be answered.
int strength(const RtspChallenge &challenge) {
    if (challenge.scheme == "basic")
        return 1;
    if (challenge.scheme != "digest" || challenge.parameter("nonce").isEmpty() ||
        !isUsableQop(challenge.parameter("qop")))
        return 0;
    const auto algorithm = algorithmNamed(challenge.parameter("algorithm"));
    if (!algorithm)
        return 0;
    return algorithm->hash == QCryptographicHash::Sha256 ? 3 : 2;
}

QByteArray quoted(const QByteArray &text) {
    return '"' + text + '"';
}

/// A user name as it may stand between quotes. A line break could forge a header.
QByteArray quotable(QByteArray text) {
    text.replace('\\', "\\\\").replace('"', "\\\"");
    text.replace('\r', "").replace('\n', "");
    return text;
}

} // namespace

QByteArray RtspChallenge::parameter(const char *name) const {
    const auto found = parameters.find(name);
    return found == parameters.end() ? QByteArray() : found->second;
}

std::vector<RtspChallenge> rtspChallenges(const QByteArrayList &values) {
    std::vector<RtspChallenge> challenges;
    for (const QByteArray &value : values) {
        ChallengeReader reader(value);
        while (auto challenge = reader.next())
            challenges.push_back(std::move(*challenge));
    }
    return challenges;
}

QByteArray RtspAuthentication::randomNonce() {
    quint32 words[4] = {};
    QRandomGenerator::system()->fillRange(words);
    return QByteArray(reinterpret_cast<const char *>(words), sizeof words).toHex();
}

RtspAuthentication::RtspAuthentication(RtspCredentials credentials, NonceMaker makeNonce)
    : m_credentials(std::move(credentials))
    , m_makeNonce(std::move(makeNonce)) {}

bool RtspAuthentication::take(const QByteArrayList &values) {
    const std::vector<RtspChallenge> challenges = rtspChallenges(values);
    const auto strongest =
        std::max_element(challenges.begin(), challenges.end(),
                         [](const auto &a, const auto &b) { return strength(a) < strength(b); });
    if (strongest == challenges.end() || strength(*strongest) == 0)
        return false;
    use(*strongest, strongest->scheme == "basic" ? Scheme::Basic : Scheme::Digest);
    return true;
}

void RtspAuthentication::use(const RtspChallenge &challenge, Scheme scheme) {
    const Algorithm algorithm =
        algorithmNamed(challenge.parameter("algorithm")).value_or(Algorithm());
    m_scheme = scheme;
    m_algorithm = algorithm.hash;
    m_isSession = algorithm.isSession;
    m_algorithmName = challenge.parameter("algorithm");
    m_hasQop = !challenge.parameter("qop").trimmed().isEmpty();
    m_isStale = challenge.parameter("stale").toLower() == "true";
    m_realm = challenge.parameter("realm");
    m_opaque.reset();
    if (challenge.parameters.count("opaque") > 0)
        m_opaque = challenge.parameter("opaque");
    if (m_nonce != challenge.parameter("nonce")) {
        m_useCount = 0;
        m_sessionClientNonce.clear();
    }
    m_nonce = challenge.parameter("nonce");
}

QByteArray RtspAuthentication::authorization(const QByteArray &method, const QByteArray &uri) {
    switch (m_scheme) {
    case Scheme::None:
        return {};
    case Scheme::Basic:
        return "Basic " + (m_credentials.user + ':' + m_credentials.password).toBase64();
    case Scheme::Digest:
        return digest(method, uri);
    }
    return {};
}

QByteArray RtspAuthentication::digest(const QByteArray &method, const QByteArray &uri) {
    // A session's key is computed from the first client nonce, which the server may remember
    // (RFC 7616, 3.4.2).
    if (m_isSession && m_sessionClientNonce.isEmpty())
        m_sessionClientNonce = m_makeNonce();
    const QByteArray clientNonce =
        m_isSession ? m_sessionClientNonce : (m_hasQop ? m_makeNonce() : QByteArray());
    const QByteArray count = QByteArray::number(++m_useCount, 16).rightJustified(8, '0');
    QByteArray secret = hash({m_credentials.user, m_realm, m_credentials.password});
    if (m_isSession)
        secret = hash({secret, m_nonce, clientNonce});
    const QByteArray request = hash({method, uri});
    const QByteArray response = m_hasQop
                                    ? hash({secret, m_nonce, count, clientNonce, "auth", request})
                                    : hash({secret, m_nonce, request});
    QByteArrayList fields{"username=" + quoted(quotable(m_credentials.user)),
                          "realm=" + quoted(m_realm), "nonce=" + quoted(m_nonce),
                          "uri=" + quoted(uri), "response=" + quoted(response)};
    if (!m_algorithmName.isEmpty())
        fields.append("algorithm=" + m_algorithmName);
    if (m_opaque)
        fields.append("opaque=" + quoted(*m_opaque));
    if (m_hasQop)
        fields.append({"qop=auth", "nc=" + count});
    if (!clientNonce.isEmpty())
        fields.append("cnonce=" + quoted(clientNonce));
    return "Digest " + fields.join(", ");
}

QByteArray RtspAuthentication::hash(const QByteArrayList &parts) const {
    return QCryptographicHash::hash(parts.join(':'), m_algorithm).toHex();
}

void RtspAuthentication::forgetChallenge() {
    m_scheme = Scheme::None;
    m_isStale = false;
    m_nonce.clear();
    m_opaque.reset();
    m_useCount = 0;
    m_sessionClientNonce.clear();
}

} // namespace lumvik
