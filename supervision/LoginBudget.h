#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace lumvik {

/// A moment in milliseconds since 1970 in UTC, by the wall clock, because it must be comparable
/// after a restart.
using LoginTime = std::chrono::milliseconds;

/// How often a camera may refuse a password before the program waits. Cameras lock an account after
/// five to seven wrong passwords, usually for half an hour, and some of them anew with each further
/// attempt.
struct LoginPolicy {
    /// The time in which refusals are counted: longer than cameras count and lock.
    std::chrono::minutes window;
    /// How many refusals of a password that has never worked there may be within the window.
    int mostUnproven;
    /// The same for a password that has worked, including those that do not count.
    int mostProven;
    /// The wait after the first refusal, after the second, and after each later one.
    std::chrono::minutes waits[3];
    /// A camera that starts refuses everybody for a while. For this long after a camera can be
    /// reached again, the refusal of a password that has worked says nothing about the password.
    std::chrono::minutes startUp;
    /// How long a login of another viewer holds up this one if its result does not become known.
    std::chrono::seconds longestLogin;
};

inline constexpr LoginPolicy loginPolicy{
    .window = std::chrono::minutes(35),
    .mostUnproven = 2,
    .mostProven = 4,
    .waits = {std::chrono::minutes(1), std::chrono::minutes(5), std::chrono::minutes(35)},
    .startUp = std::chrono::minutes(3),
    .longestLogin = std::chrono::seconds(10),
};

/// What is known of the logins to one account: a host, a port and a user name. A plain value
/// without names: `account` and `password` are salted hashes.
struct LoginHistory {
    /// More refusals are not remembered; the oldest are forgotten first.
    static constexpr std::size_t mostRemembered = 16;

    struct Refusal {
        LoginTime time{};
        /// Whether the password that was refused may be wrong (see LoginPolicy::startUp).
        bool counts = true;
        /// False if the connection was closed before the camera had answered. The camera may have
        /// counted the login nevertheless.
        bool isAnswered = true;
        QByteArray password = {}; ///< The hash of the password that was refused.

        friend bool operator==(const Refusal &, const Refusal &) = default;
    };

    /// A login whose result is not known yet.
    struct Pending {
        LoginTime since{};
        QString viewer; ///< Identifies the process.

        friend bool operator==(const Pending &, const Pending &) = default;
    };

    QByteArray account = {};
    QByteArray password = {};
    /// Whether the password has worked.
    bool isProven = false;
    std::vector<Refusal> refusals = {}; ///< Since the last login that worked; in order of time.
    std::optional<Pending> pending = {};

    friend bool operator==(const LoginHistory &, const LoginHistory &) = default;
};

/// Returns the time before which `viewer` must not log in, or nothing if it may log in now.
[[nodiscard]] std::optional<LoginTime> earliestLogin(const LoginHistory &history, LoginTime now,
                                                     const QString &viewer);

/// Returns `history` without times in the future, which exist after the clock was set back: they
/// become `now`, so that no wait is longer than the policy demands.
[[nodiscard]] LoginHistory withoutFuture(LoginHistory history, LoginTime now);

/// Returns `history` with the password that is used from now on. An edit, that is, a password that
/// was not refused within the window, permits one more login. A list that contains two wrong
/// passwords for the same account therefore permits no more logins, however often the user chooses
/// one camera after the other.
[[nodiscard]] LoginHistory withPassword(LoginHistory history, const QByteArray &password);

/// Returns `history` with another refusal.
[[nodiscard]] LoginHistory withRefusal(LoginHistory history, LoginHistory::Refusal refusal);

/// Returns `history` after the camera has refused the last unanswered login with `password`.
[[nodiscard]] LoginHistory withAnswer(LoginHistory history, const QByteArray &password);

/// Returns `history` without the last unanswered login with `password`, because the camera has not
/// refused it.
[[nodiscard]] LoginHistory withoutUnanswered(LoginHistory history, const QByteArray &password);

/// Returns `history` without the refusals of `password`, or of all passwords if that is the one
/// that is used.
[[nodiscard]] LoginHistory withoutRefusals(LoginHistory history, const QByteArray &password);

/// Returns `history` after a login that has worked.
[[nodiscard]] LoginHistory withProof(LoginHistory history);

} // namespace lumvik
