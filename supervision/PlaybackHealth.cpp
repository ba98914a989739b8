#include "supervision/PlaybackHealth.h"

namespace lumvik {

PlaybackVerdict playbackVerdict(const PlaybackVitals &vitals) {
    switch (vitals.state) {
    case PlaybackSupervisorState::stopped:
        return PlaybackVerdict::engineStopped;
    case PlaybackSupervisorState::starting:
        return vitals.now - vitals.lastCameraLoad >= firstFrameDeadline
                   ? PlaybackVerdict::noFirstFrame
                   : PlaybackVerdict::healthy;
    case PlaybackSupervisorState::playing:
        if (vitals.streamHasEnded)
            return PlaybackVerdict::streamEnded;
        return vitals.lastFrameRenderedAt &&
                       vitals.now - *vitals.lastFrameRenderedAt >= heartbeatStallThreshold
                   ? PlaybackVerdict::heartbeatStalled
                   : PlaybackVerdict::healthy;
    case PlaybackSupervisorState::backingOff:
    case PlaybackSupervisorState::suspended:
        break;
    }
    return PlaybackVerdict::healthy;
}

} // namespace lumvik
