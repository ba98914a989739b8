#pragma once

namespace lumvik::test {

/// Decides whether the camera refuses all logins, like many real cameras: for a while after a
/// start, and after several wrong passwords in a row. A plain value without a clock; times are in
/// seconds since the camera was started.
class LoginLock {
  public:
    struct Rules {
        /// How many wrong passwords in a row lock the camera. 0 never locks.
        int lockAfter = 0;
        /// For how long the camera is then locked, in seconds.
        double lockTime = 0;
        /// For how long a camera that was started refuses everybody, in seconds.
        double refuseFirst = 0;
    };

    explicit LoginLock(Rules rules) : m_rules(rules) {}

    /// Takes a login at the time `now`. Returns whether the camera accepts the login.
    [[nodiscard]] bool accepts(bool isRight, double now);
    /// Whether the camera refuses all logins because of wrong passwords.
    [[nodiscard]] bool isLocked(double now) const { return now < m_lockedUntil; }
    /// The number of logins that were refused so far.
    [[nodiscard]] int refusals() const { return m_refusals; }

  private:
    Rules m_rules;
    int m_refusals = 0;
    int m_wrong = 0; // in a row
    double m_lockedUntil = 0;
};

} // namespace lumvik::test
