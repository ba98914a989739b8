#include "supervision/LoginHistories.h"

#include "platform/PreferenceKeysAndDefaults.h"
#include "platform/UserDefaults.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPasswordDigestor>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <utility>

namespace lumvik {

namespace {

constexpr int accountHashSize = 16; // bytes
constexpr int passwordHashSize = 3; // bytes; fits one of 17 million passwords
constexpr int passwordHashRounds = 1000;
constexpr int saltWords = 4;

QByteArray randomSalt() {
    std::array<quint32, saltWords> words{};
    QRandomGenerator::system()->fillRange(words.data(), saltWords);
    return QByteArray(reinterpret_cast<const char *>(words.data()), sizeof words).toHex();
}

QByteArray accountHash(const LoginHistories::Login &login, const QByteArray &salt) {
    // A host contains no line break, and the port no letter: no two accounts give the same text.
    const QByteArray text =
        login.host.toLower().toUtf8() + '\n' + QByteArray::number(login.port) + '\n' + login.user;
    return QCryptographicHash::hash(salt + text, QCryptographicHash::Sha256)
        .first(accountHashSize)
        .toHex();
}

QByteArray passwordHash(const LoginHistories::Login &login, const QByteArray &salt) {
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, login.password,
                                              salt + accountHash(login, salt), passwordHashRounds,
                                              passwordHashSize)
        .toHex();
}

qint64 toNumber(LoginTime time) {
    return time.count();
}

LoginTime toTime(const QJsonValue &value) {
    return LoginTime(value.toInteger()); // 0 if it is no integer
}

QJsonObject encoded(const LoginHistory &history) {
    QJsonArray refusals;
    for (const LoginHistory::Refusal &refusal : history.refusals)
        refusals.append(QJsonArray{toNumber(refusal.time), refusal.counts, refusal.isAnswered,
                                   QString::fromLatin1(refusal.password)});
    QJsonObject object{{QStringLiteral("account"), QString::fromLatin1(history.account)},
                       {QStringLiteral("password"), QString::fromLatin1(history.password)},
                       {QStringLiteral("worked"), history.isProven}};
    if (!refusals.isEmpty())
        object.insert(QStringLiteral("refusals"), refusals);
    if (history.pending)
        object.insert(QStringLiteral("pending"),
                      QJsonArray{toNumber(history.pending->since), history.pending->viewer});
    return object;
}

LoginHistory decoded(const QJsonObject &object) {
    LoginHistory history;
    history.account = object.value(QStringLiteral("account")).toString().toLatin1();
    history.password = object.value(QStringLiteral("password")).toString().toLatin1();
    history.isProven = object.value(QStringLiteral("worked")).toBool();
    const QJsonArray refusals = object.value(QStringLiteral("refusals")).toArray();
    for (const auto &value : refusals) {
        const QJsonArray each = value.toArray();
        history = withRefusal(std::move(history), {.time = toTime(each.at(0)),
                                                   .counts = each.at(1).toBool(),
                                                   .isAnswered = each.at(2).toBool(),
                                                   .password = each.at(3).toString().toLatin1()});
    }
    const QJsonArray pending = object.value(QStringLiteral("pending")).toArray();
    if (!pending.isEmpty())
        history.pending = LoginHistory::Pending{toTime(pending.at(0)), pending.at(1).toString()};
    return history;
}

} // namespace

LoginHistory LoginHistories::history(const Login &login, LoginTime now) const {
    return find(read(), login, now);
}

LoginHistory LoginHistories::historyWithPassword(const Login &login, LoginTime now) const {
    const Document document = read();
    return withPassword(find(document, login, now), passwordHash(login, salt(document)));
}

LoginHistory LoginHistories::find(const Document &document, const Login &login,
                                  LoginTime now) const {
    LoginHistory history{.account = accountHash(login, salt(document))};
    for (const LoginHistory &each : document.histories) {
        if (each.account == history.account)
            history = each;
    }
    return withoutFuture(std::move(history), now);
}

void LoginHistories::store(const LoginHistory &history, LoginTime now) {
    Document document = read();
    document.salt = salt(document);
    auto &histories = document.histories;
    const auto known =
        std::find_if(histories.begin(), histories.end(), [&history](const LoginHistory &each) {
            return each.account == history.account;
        });
    if (known != histories.end()) {
        if (*known == history)
            return;
        histories.erase(known);
    }
    histories.push_back(history);
    while (histories.size() > mostAccounts) {
        const auto dispensable =
            std::find_if(histories.begin(), histories.end(), [now](const LoginHistory &each) {
                return each.refusals.empty() ||
                       each.refusals.back().time <= now - loginPolicy.window;
            });
        histories.erase(dispensable == histories.end() ? histories.begin() : dispensable);
    }
    write(document);
}

LoginHistories::Document LoginHistories::read() const {
    m_userDefaults.refresh();
    const QJsonObject root =
        QJsonDocument::fromJson(m_userDefaults.string(PreferenceKeys::loginHistories).toUtf8())
            .object();
    Document document{.salt = root.value(QStringLiteral("salt")).toString().toLatin1()};
    const QJsonArray accounts = root.value(QStringLiteral("accounts")).toArray();
    for (const auto &each : accounts)
        document.histories.push_back(decoded(each.toObject()));
    return document;
}

void LoginHistories::write(const Document &document) {
    QJsonArray accounts;
    for (const LoginHistory &each : document.histories)
        accounts.append(encoded(each));
    const QJsonObject root{{QStringLiteral("salt"), QString::fromLatin1(document.salt)},
                           {QStringLiteral("accounts"), accounts}};
    m_userDefaults.set(PreferenceKeys::loginHistories,
                       QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Compact)));
    m_userDefaults.synchronize();
}

const QByteArray &LoginHistories::salt(const Document &document) const {
    if (!document.salt.isEmpty())
        return document.salt;
    if (m_newSalt.isEmpty())
        m_newSalt = randomSalt();
    return m_newSalt;
}

} // namespace lumvik
