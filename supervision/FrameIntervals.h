#pragma once

#include "platform/MainQueue.h"

#include <array>
#include <cstddef>
#include <optional>

namespace lumvik {

/// The intervals between the frames of one camera. A camera that sends one picture a second is
/// alive between two pictures, while one that sends 25 is not. A plain value without a clock.
class FrameIntervals {
  public:
    /// The number of intervals that the median is taken of. A few dozen follow a change of the
    /// frame rate within seconds, and are not affected by single pauses.
    static constexpr std::size_t capacity = 30;

    /// Must be called for each new frame.
    void frameWasShown(TimeStamp now);
    /// The next frame begins a new stream of the same camera, so the time until that frame is no
    /// interval.
    void streamHasEnded() { m_lastFrame.reset(); }

    /// Returns the median of the last intervals, in seconds, or 0 while there are fewer than three.
    [[nodiscard]] double usual() const;

  private:
    std::array<double, capacity> m_intervals{};
    std::size_t m_count = 0; // of intervals in the array
    std::size_t m_next = 0;  // the place of the next interval
    std::optional<TimeStamp> m_lastFrame;
};

} // namespace lumvik
