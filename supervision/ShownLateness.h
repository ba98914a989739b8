#pragma once

#include "platform/MainQueue.h"

#include <optional>

namespace lumvik {

/// How late the picture on the screen is. Pictures are measured when they arrive, but an earlier
/// picture stays on the screen for a moment, or, after the connection was replaced, until the new
/// one shows a frame. After a pause of the network, many pictures arrive together and the first one
/// is drawn before the others are skipped (VideoFramePacing).
///
/// A plain value without a clock. All values are in seconds.
class ShownLateness {
  public:
    /// How long pictures that arrive together take to be shown: longer than the interval at which
    /// frames are drawn while catching up.
    static constexpr double catchUpTime = 0.15;
    /// Smaller differences are jitter.
    static constexpr double noticeableDifference = 0.25;

    /// The newest picture is late by `newest`. `largest` is the largest lateness of those that have
    /// arrived since the last call.
    void measured(double newest, double largest, TimeStamp now);
    void frameWasShown(TimeStamp now);
    void connectionWasReplaced();

    [[nodiscard]] double value() const;
    /// When the value changes if nothing else happens. `timeHasPassed` must then be called.
    [[nodiscard]] std::optional<TimeStamp> changesAt() const;
    void timeHasPassed(TimeStamp now);

  private:
    double m_newest = 0;
    double m_earlier = 0; // of the picture that may still be on the screen; 0 if there is none
    TimeStamp m_earlierUntil = 0;
    bool m_frameSince = false; // whether a frame was shown since `m_earlier` was set
};

} // namespace lumvik
