#pragma once

#include "supervision/LoginBudget.h"

#include <QByteArray>
#include <QString>

namespace lumvik {

class UserDefaults;

/// Keeps the histories of logins in the user's preferences, so that neither a restart nor another
/// viewer sends a refused password again. The preferences contain no host, no user name and no
/// password, only salted hashes: the whole hash of an account, and so little of a password's hash
/// that it recognises an edit but fits too many passwords to give one away.
///
/// The histories are read before each use and written at once, because several processes use them.
/// A text that cannot be read counts as empty. Owned by the controller's LoginSupervisor. Main
/// thread only.
class LoginHistories {
  public:
    /// The histories that changed longest ago are forgotten first, those without refusals before
    /// the others.
    static constexpr int mostAccounts = 100;

    /// A user's password for a camera.
    struct Login {
        QString host;
        int port = 0;
        QByteArray user;
        QByteArray password;

        friend bool operator==(const Login &, const Login &) = default;
    };

    /// `userDefaults` must outlive the histories.
    explicit LoginHistories(UserDefaults &userDefaults) : m_userDefaults(userDefaults) {}
    LoginHistories(const LoginHistories &) = delete;
    LoginHistories &operator=(const LoginHistories &) = delete;
    ~LoginHistories() = default;

    /// Returns the history of the account of `login`, without times in the future.
    [[nodiscard]] LoginHistory history(const Login &login, LoginTime now) const;
    /// The same, for a login with the password of `login` at `now`.
    [[nodiscard]] LoginHistory historyWithPassword(const Login &login, LoginTime now) const;
    /// Replaces the stored history of the same account. Does nothing if nothing has changed.
    void store(const LoginHistory &history, LoginTime now);

  private:
    struct Document {
        QByteArray salt = {};
        std::vector<LoginHistory> histories = {}; // the last change last
    };

    [[nodiscard]] Document read() const;
    [[nodiscard]] LoginHistory find(const Document &document, const Login &login,
                                    LoginTime now) const;
    void write(const Document &document);
    [[nodiscard]] const QByteArray &salt(const Document &document) const;

    UserDefaults &m_userDefaults;
    mutable QByteArray m_newSalt; // used until a salt is stored
};

} // namespace lumvik
