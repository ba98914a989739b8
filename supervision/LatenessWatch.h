#pragma once

#include "platform/MainQueue.h"

#include <limits>
#include <optional>

namespace lumvik {

/// Decides when a connection is replaced because its pictures are too late. What has piled up in
/// the camera and on the way is dropped with the connection. A plain value without a clock.
class LatenessWatch {
  public:
    /// A picture that is later than this is of little use, in seconds.
    static constexpr double tooLate = 5;
    /// How long the picture must be too late, in seconds. A network that has only paused catches up
    /// by itself.
    static constexpr double patience = 10;
    /// The shortest time between two replacements, in seconds. A network that is too slow for the
    /// camera stays too slow, and each replacement interrupts the picture.
    static constexpr double shortestInterval = 60;

    /// Takes a measurement of the current connection. Returns true if the connection must be
    /// replaced now, and then waits for at least `shortestInterval`.
    [[nodiscard]] bool takeLateness(double lateness, TimeStamp now);
    /// A new connection is being made.
    void connectionWasReplaced() { m_tooLateSince.reset(); }

  private:
    std::optional<TimeStamp> m_tooLateSince;
    TimeStamp m_lastReplacement = -std::numeric_limits<TimeStamp>::infinity();
};

} // namespace lumvik
