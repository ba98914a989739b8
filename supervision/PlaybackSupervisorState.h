#pragma once

namespace lumvik {

/// What the video engine is doing.
enum class PlaybackSupervisorState {
    stopped,    ///< No player instance is running.
    starting,   ///< A player was created or a load was issued; no frame has been drawn since.
    playing,    ///< At least one frame has been drawn for the current load.
    backingOff, ///< A recovery attempt is scheduled and waits for its delay.
    suspended,  ///< Parked, because the system sleeps or no network path is usable.
};

/// The state's name, as written above.
[[nodiscard]] constexpr const char *rawValue(PlaybackSupervisorState state) {
    switch (state) {
    case PlaybackSupervisorState::stopped:
        return "stopped";
    case PlaybackSupervisorState::starting:
        return "starting";
    case PlaybackSupervisorState::playing:
        return "playing";
    case PlaybackSupervisorState::backingOff:
        return "backingOff";
    case PlaybackSupervisorState::suspended:
        return "suspended";
    }
    return "";
}

} // namespace lumvik
