#pragma once

namespace lumvik {

/// The state of playback.
enum class PlaybackSupervisorState {
    stopped,    ///< No player instance is running.
    starting,   ///< A player was created or a load was issued; no frame has been drawn since.
    playing,    ///< At least one frame has been drawn for the current load.
    backingOff, ///< A recovery attempt is scheduled and its delay has not elapsed.
    suspended,  ///< Waiting until the system wakes or a network path is usable.
};

} // namespace lumvik
