#pragma once

#include "platform/MainQueue.h"

#include <limits>
#include <optional>

namespace lumvik {

/// Decides which of the frames that the engine announces should be drawn.
///
/// Normally every frame is drawn. After a stall of the network, the program or the machine, the
/// engine holds a backlog of frames and announces each as soon as the previous one was shown.
/// Drawing takes far longer than decoding. If every frame were drawn, the picture would stay late
/// for many times the duration of the stall.
///
/// While catching up, frames that follow each other without a pause are dropped. One frame every
/// `drawingInterval` is still drawn, so that the user sees the picture move. Catching up lasts at
/// most as long as the stall did, within the limits below. As much time as the stall took is enough
/// for cameras of any frame rate. Catching up ends earlier once frames arrive with pauses again.
///
/// VideoFramePacing is a plain value type. All times are in seconds and must come from the same
/// clock.
class VideoFramePacing {
  public:
    enum class Verdict { draw, skip };

    /// After this many seconds without a frame, a backlog is assumed.
    static constexpr double shortestStall = 0.3;
    /// A frame announced less than this many seconds after the previous frame was shown comes from
    /// the backlog. Live frames arrive further apart.
    static constexpr double shortestPause = 0.008;
    /// The interval in seconds at which frames are drawn while catching up.
    static constexpr double drawingInterval = 0.05;
    /// The limits of the time allowed for catching up, in seconds, however short or long the stall
    /// was.
    static constexpr double shortestCatchUp = 1.0;
    static constexpr double longestCatchUp = 5.0;
    /// Catching up ends early after this many consecutive frames that each followed a pause.
    static constexpr int pausesUntilCaughtUp = 3;

    /// Returns what to do with a new frame that is announced at `now`.
    [[nodiscard]] Verdict frameAnnounced(TimeStamp now);
    /// Call when a frame was shown or dropped.
    void frameWasShown(TimeStamp now) { m_lastShown = now; }
    /// Call when drawing a frame has finished.
    void frameWasDrawn(TimeStamp now) { m_lastDrawn = now; }

  private:
    std::optional<TimeStamp> m_lastShown;
    TimeStamp m_lastDrawn = -std::numeric_limits<TimeStamp>::infinity();
    TimeStamp m_catchUpEnd = -std::numeric_limits<TimeStamp>::infinity();
    int m_consecutivePauses = 0;
};

} // namespace lumvik
