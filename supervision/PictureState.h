#pragma once

#include "platform/MainQueue.h"

#include <optional>

namespace lumvik {

/// How far the picture in the window can be trusted.
enum class PictureCondition {
    none,     ///< There is no camera, and no picture is expected.
    starting, ///< A camera was chosen and has not shown a picture yet. The window is black.
    live,     ///< Frames arrive as usual.
    late,     ///< Frames arrive, but they are old.
    stale,    ///< The last frame stands still.
    lost,     ///< There is no picture. The window is black.
};

/// What the state of the picture depends on. Times are in seconds.
struct PictureVitals {
    bool hasCamera = false;
    TimeStamp now = 0;
    TimeStamp chosenAt = 0; ///< When the camera was chosen.
    /// When the last new frame of the chosen camera was shown. Empty until the first one.
    std::optional<TimeStamp> lastFrameAt = std::nullopt;
    double usualInterval = 0;     ///< Between two frames; 0 if unknown.
    double lateness = 0;          ///< How much older than usual the frames are.
    double suspectedLateness = 0; ///< How much older they may be.
    bool wasLate = false;         ///< Whether the previous state was `late`.
    bool hasFailed = false;       ///< Whether an attempt to show the chosen camera has failed.
};

/// The state of the picture, for the user.
struct PictureState {
    PictureCondition condition = PictureCondition::none;
    /// Whole seconds: since the choice of the camera (`starting`), since the last frame (`stale`),
    /// or how late the picture is (`late`). 0 otherwise.
    int seconds = 0;
    /// Whether the last frame has stood still for so long that it is darkened.
    bool isDarkened = false;
    /// When the state changes if nothing else happens. Empty if it does not.
    std::optional<TimeStamp> changesAt = std::nullopt;

    friend bool operator==(const PictureState &, const PictureState &) = default;
};

/// The thresholds of the state, in seconds.
struct PictureThresholds {
    /// A picture is stale after this time. Shorter pauses are common on a busy wireless network,
    /// and nobody acts on them.
    double stale;
    /// A picture of a slow camera is stale after this number of its usual intervals.
    double staleIntervals;
    /// A picture is darkened after this time, because a small text in a corner is easily missed.
    double darkened;
    /// A picture that may be late is stale earlier, by its suspected lateness, but by no more than
    /// this time.
    double earlierByLateness;
    /// Lateness begins and ends at different values, so that the text does not flicker.
    double lateBegins;
    double lateEnds;
    /// Less lateness than this is jitter, and says nothing about a frame that is overdue.
    double noticeableLateness;
    /// The text for a start appears after this time. Most cameras show a picture earlier.
    double announcedStart;
};

inline constexpr PictureThresholds pictureThresholds{
    .stale = 1.5,
    .staleIntervals = 3,
    .darkened = 4,
    .earlierByLateness = 1,
    .lateBegins = 1.5,
    .lateEnds = 1,
    .noticeableLateness = 0.25,
    .announcedStart = 1,
};

/// Returns the state of the picture. A picture is lost at `heartbeatStallThreshold`. A camera that
/// has not shown a picture yet is lost at the same time after it was chosen, or as soon as an
/// attempt has failed, because there is no picture to wait for.
[[nodiscard]] PictureState pictureState(const PictureVitals &vitals);

} // namespace lumvik
