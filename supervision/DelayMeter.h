#pragma once

#include "platform/MainQueue.h"

#include <deque>
#include <optional>

namespace lumvik {

/// Measures how long it takes from the arrival of a picture to its frame on the screen.
///
/// Arrivals are reported some time after the frames that they have become, so both are kept and
/// matched later: a picture becomes the first frame that is shown after its arrival. A decoder that
/// holds pictures back makes the result too small by their intervals.
///
/// A plain value.
class DelayMeter {
  public:
    /// Must be called in the order of time, like `frameWasShown`.
    void pictureArrived(TimeStamp time);
    void frameWasShown(TimeStamp time);
    /// Returns the median of the last seconds, in seconds, or nothing if too little is known.
    [[nodiscard]] std::optional<double> median() const;

  private:
    std::deque<TimeStamp> m_arrivals;
    std::deque<TimeStamp> m_frames;
};

} // namespace lumvik
