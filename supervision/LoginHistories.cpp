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

double toNumber(LoginTime time) {
    return static_cast<double>(time.count());
}

LoginTime toTime(const QJsonValue &value) {
    return LoginTime(static_cast<LoginTime::rep>(value.toDouble()));
}

QJsonObject encoded(const LoginHistory &history) {
    QJsonArray refusals;
    for (const LoginHistory::Refusal &refusal : history.refusals)
        refusals.append(QJsonArray{toNumber(refusal.time), refusal.counts});
    QJsonArray edits;
    for (const LoginTime &edit : history.edits)
        edits.append(toNumber(edit));
    QJsonObject object{{QStringLiteral("account"), QString::fromLatin1(history.account)},
                       {QStringLiteral("password"), QString::fromLatin1(history.password)},
                       {QStringLiteral("worked"), history.isProven}};
    if (history.isEdited)
        object.insert(QStringLiteral("edited"), true);
    if (!refusals.isEmpty())
        object.insert(QStringLiteral("refusals"), refusals);
    if (!edits.isEmpty())
        object.insert(QStringLiteral("edits"), edits);
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
    history.isEdited = object.value(QStringLiteral("edited")).toBool();
    const QJsonArray refusals = object.value(QStringLiteral("refusals")).toArray();
    for (const auto &each : refusals)
        history.refusals.push_back({toTime(each.toArray().at(0)), each.toArray().at(1).toBool()});
    const QJsonArray edits = object.value(QStringLiteral("edits")).toArray();
    for (const auto &each : edits)
        history.edits.push_back(toTime(each));
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
    return withPassword(find(document, login, now), passwordHash(login, salt(document)), now);
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
