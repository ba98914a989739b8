#pragma once

#include "platform/MainQueue.h"

#include <limits>
#include <optional>

namespace lumvik {

/// Decides which of the frames that the engine announces are worth drawing.
///
/// In the ordinary course all are. After a standstill (of the network, of this program, of the
/// machine) the engine holds a backlog of frames and announces each as soon as the one before was
/// shown. Drawing takes far longer than decoding, so that a viewer that draws them all stays late
/// for many times the standstill. While it catches up, frames that come without a pause are taken
/// and dropped, except for one now and then, which lets the user see the picture run. It catches up
/// for at most as long as the standstill lasted, in which a camera of any rate can be caught up
/// with, and ends earlier once frames come with pauses again.
///
/// A plain value with times in seconds on any one clock.
class VideoFramePacing {
  public:
    enum class Verdict { draw, skip };

    /// From this pause on frames are expected to have piled up.
    static constexpr double standstill = 0.3;
    /// A frame that comes sooner than this after the last one was shown had been waiting.
    static constexpr double pause = 0.008;
    /// How often a frame is drawn while catching up.
    static constexpr double drawingInterval = 0.05;
    /// The longest time of catching up, however long the standstill was.
    static constexpr double longestCatchUp = 5.0;
    /// This many frames with pauses before them end the catching up.
    static constexpr int pausesUntilCaughtUp = 3;

    /// What to do with a new frame that is announced at `now`.
    [[nodiscard]] Verdict frameAnnounced(TimeStamp now);
    /// The frame was shown, or taken and dropped, at `now`.
    void frameWasShown(TimeStamp now) { m_lastShown = now; }
    /// A drawing was finished at `now`.
    void frameWasDrawn(TimeStamp now) { m_lastDrawn = now; }

  private:
    std::optional<TimeStamp> m_lastShown;
    TimeStamp m_lastDrawn = -std::numeric_limits<TimeStamp>::infinity();
    TimeStamp m_catchUpEnd = -std::numeric_limits<TimeStamp>::infinity();
    int m_pauses = 0;
};

} // namespace lumvik
