#pragma once

#include "platform/MainQueue.h"
#include "supervision/PlaybackSupervisorState.h"

#include <optional>

namespace lumvik {

/// Seconds from one look at the playback's health to the next.
inline constexpr double playbackWatchdogInterval = 2.0;
/// The longest wait from a camera load to the first drawn frame, in seconds.
inline constexpr double firstFrameDeadline = 8.0;
/// The longest gap between two drawn frames while playing, in seconds.
inline constexpr double heartbeatStallThreshold = 10.0;

/// What the watchdog looks at, at one moment, while a player instance exists.
struct PlaybackVitals {
    PlaybackSupervisorState state = PlaybackSupervisorState::stopped;
    TimeStamp now = 0;
    TimeStamp lastCameraLoad = 0;
    std::optional<TimeStamp> lastFrameRenderedAt = std::nullopt;
    bool streamHasEnded = false; ///< The engine has shown the stream's last frame.
};

/// What is wrong with the playback, if anything.
enum class PlaybackVerdict {
    healthy,          ///< Or nobody's concern: parked, or waiting for a recovery attempt.
    engineStopped,    ///< A player instance exists though the state says that none runs.
    noFirstFrame,     ///< The camera was loaded and no frame came in time.
    streamEnded,      ///< The camera ended the stream, and its last frame stands.
    heartbeatStalled, ///< Frames have stopped coming.
};

/// Only frames that were drawn count as life: connections hang and decoders wait for key frames
/// without the engine ever saying so. A time that is not a number is never overdue.
[[nodiscard]] PlaybackVerdict playbackVerdict(const PlaybackVitals &vitals);

} // namespace lumvik
