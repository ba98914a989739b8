#include "supervision/LoginHistories.h"

#include "platform/PreferenceKeysAndDefaults.h"
#include "platform/UserDefaults.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

constexpr LoginTime someTime = 1'780'000'000'123ms;

class LoginHistoriesTest : public testing::Test {
  protected:
    [[nodiscard]] QString path() const { return folder.filePath(u"lumvik.conf"_s); }
    /// Stores a history with a refusal of `login`.
    void refuse(const LoginHistories::Login &refused, LoginTime time = someTime) {
        LoginHistory history = histories.historyWithPassword(refused, time);
        const LoginHistory::Refusal refusal{.time = time, .password = history.password};
        histories.store(withRefusal(std::move(history), refusal), time);
    }

    const QTemporaryDir folder;
    UserDefaults userDefaults{path()};
    LoginHistories histories{userDefaults};
    const LoginHistories::Login login{u"camera.example"_s, 554, "viewer", "s3cret"};
};

TEST_F(LoginHistoriesTest, SurvivesARestart) {
    LoginHistory history = histories.historyWithPassword(login, someTime);
    history = withRefusal(history, {someTime - 3s, false, true, "0a"});
    history = withRefusal(history, {someTime - 2s, true, false, "0b"});
    history = withRefusal(history, {someTime - 1s});
    history.isProven = true;
    history.pending = {{someTime, u"a viewer"_s}};
    histories.store(history, someTime);

    UserDefaults restarted(path());
    EXPECT_EQ(LoginHistories(restarted).history(login, someTime), history);
    EXPECT_EQ(LoginHistories(restarted).historyWithPassword(login, someTime), history);
}

TEST_F(LoginHistoriesTest, OtherProcessIsNoticedAtOnce) {
    UserDefaults another(path());
    LoginHistories others(another);
    refuse(login);
    EXPECT_EQ(others.history(login, someTime).refusals.size(), 1U);
    others.store(withProof(others.history(login, someTime)), someTime);
    EXPECT_TRUE(histories.history(login, someTime).refusals.empty());
}

TEST_F(LoginHistoriesTest, EachHostPortAndUserNameHasAHistoryOfItsOwn) {
    refuse(login);
    const auto refusals = [this](const LoginHistories::Login &each) {
        return histories.history(each, someTime).refusals.size();
    };
    EXPECT_EQ(refusals({u"CAMERA.example"_s, 554, "viewer", "s3cret"}), 1U);
    EXPECT_EQ(refusals({u"camera.example"_s, 554, "viewer", "another"}), 1U);
    EXPECT_EQ(refusals({u"camera2.example"_s, 554, "viewer", "s3cret"}), 0U);
    EXPECT_EQ(refusals({u"camera.example"_s, 8554, "viewer", "s3cret"}), 0U);
    EXPECT_EQ(refusals({u"camera.example"_s, 554, "admin", "s3cret"}), 0U);
}

TEST_F(LoginHistoriesTest, EditIsRecognisedAfterARestart) {
    refuse(login);
    UserDefaults restarted(path());
    const LoginHistories reread(restarted);
    const auto mayLogIn = [&reread](const LoginHistories::Login &each) {
        return !earliestLogin(reread.historyWithPassword(each, someTime), someTime, {});
    };
    EXPECT_FALSE(mayLogIn(login));
    LoginHistories::Login edited = login;
    edited.password = "s3cret2";
    EXPECT_TRUE(mayLogIn(edited));
}

// The folder of the preferences is backed up and synchronised without much thought.
TEST_F(LoginHistoriesTest, PreferencesContainNoHostOrUserName) {
    refuse(login);
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray contents = file.readAll();
    for (const char *secret : {"camera.example", "viewer", "s3cret"})
        EXPECT_FALSE(contents.contains(secret)) << contents.constData();

    // The same account has other hashes elsewhere, so that tables of hashes do not help.
    const QTemporaryDir elsewhere;
    UserDefaults othersDefaults(elsewhere.filePath(u"lumvik.conf"_s));
    const LoginHistories others(othersDefaults);
    const LoginHistory here = histories.historyWithPassword(login, someTime);
    const LoginHistory there = others.historyWithPassword(login, someTime);
    EXPECT_NE(here.account, there.account);
    EXPECT_NE(here.password, there.password);
}

// A password could be found by trying all of them, if its whole hash were known.
TEST_F(LoginHistoriesTest, HashOfAPasswordFitsManyPasswords) {
    EXPECT_LE(histories.historyWithPassword(login, someTime).password.size(), 6);
}

TEST_F(LoginHistoriesTest, DamagedTextCountsAsEmpty) {
    for (const char *text : {"", "{", "[]", "{\"accounts\": 5}", "{\"accounts\": [7, {}, []]}",
                             "{\"accounts\": [{\"refusals\": [7, [1e300, 2], [[]]]}]}"}) {
        userDefaults.set(PreferenceKeys::loginHistories, QString::fromLatin1(text));
        EXPECT_TRUE(histories.history(login, someTime).refusals.empty()) << text;
        refuse(login);
        EXPECT_EQ(histories.history(login, someTime).refusals.size(), 1U) << text;
    }
}

TEST_F(LoginHistoriesTest, NumberOfAccountsIsBounded) {
    const auto account = [this](int n) {
        LoginHistories::Login each = login;
        each.port = 1000 + n;
        return each;
    };
    refuse(account(0));
    for (int n = 1; n <= LoginHistories::mostAccounts; ++n)
        histories.store(withProof(histories.historyWithPassword(account(n), someTime)), someTime);
    EXPECT_EQ(histories.history(account(0), someTime).refusals.size(), 1U)
        << "A refusal is more important than a login that has worked.";
    EXPECT_FALSE(histories.history(account(1), someTime).isProven);
    EXPECT_TRUE(histories.history(account(2), someTime).isProven);
    EXPECT_LT(userDefaults.string(PreferenceKeys::loginHistories).size(), 15000);
}

TEST_F(LoginHistoriesTest, TimesInTheFutureBecomeNow) {
    refuse(login, someTime + 24h);
    EXPECT_EQ(histories.history(login, someTime).refusals.at(0).time, someTime);
}

} // namespace
} // namespace lumvik::test
