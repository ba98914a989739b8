#pragma once

#include "platform/MainQueue.h"
#include "supervision/PlaybackSupervisorState.h"

#include <optional>

namespace lumvik {

/// The watchdog's period, in seconds. A stall is therefore noticed up to two seconds after its
/// limit has passed.
inline constexpr double playbackWatchdogInterval = 2.0;
/// The longest gap between two ticks of the watchdog, in seconds. A longer gap means that the
/// process has stood still: it was stopped, or the machine slept without an announcement. Whatever
/// the camera has sent meanwhile is old.
inline constexpr double longestWatchdogGap = 6.0;
/// The longest time from a camera load to the first drawn frame, in seconds. Connecting and waiting
/// for the first key frame of a slow camera fit into it.
inline constexpr double firstFrameDeadline = 8.0;
/// The longest permitted gap between two drawn frames during playback, in seconds. The limit is
/// longer than the pauses of a busy network, because every recovery interrupts the picture.
inline constexpr double heartbeatStallThreshold = 10.0;

/// The state that the watchdog evaluates on each tick while a player instance exists.
struct PlaybackVitals {
    PlaybackSupervisorState state = PlaybackSupervisorState::stopped;
    TimeStamp now = 0;
    TimeStamp lastCameraLoad = 0;
    std::optional<TimeStamp> lastFrameRenderedAt = std::nullopt;
    bool streamHasEnded = false; ///< The engine has drawn the stream's last frame.
};

/// The watchdog's finding.
enum class PlaybackVerdict {
    healthy,          ///< Nothing to do. Includes suspended playback and a scheduled recovery.
    engineStopped,    ///< A player instance exists although the state is `stopped`.
    noFirstFrame,     ///< No frame was drawn within the deadline after the camera load.
    streamEnded,      ///< The camera ended the stream; its last frame is still on the screen.
    heartbeatStalled, ///< No frame was drawn for longer than the threshold.
};

/// Judges playback by its drawn frames alone, because a connection can hang and a decoder can wait
/// for a key frame without any report from the engine. A time that is NaN is never overdue.
[[nodiscard]] PlaybackVerdict playbackVerdict(const PlaybackVitals &vitals);

} // namespace lumvik
