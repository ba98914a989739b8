#include "engine/PlaybackEngineEvent.h"

#include <QtGlobal>

namespace lumvik {

namespace {

PlaybackEngineEvents::EndFile endFile(const mpv_event &event) {
    const auto *data = static_cast<const mpv_event_end_file *>(event.data);
    if (data == nullptr)
        return {};
    const auto reason = static_cast<std::int32_t>(data->reason);
    if (reason < 0)
        qFatal("The engine sent the end-file reason %d.", reason);
    return {static_cast<std::uint32_t>(reason), data->error};
}

} // namespace

std::optional<PlaybackEngineEvent> playbackEngineEvent(const mpv_event &event) {
    // Compared as numbers, since the library may be newer than its header and send others.
    switch (static_cast<int>(event.event_id)) {
    case MPV_EVENT_END_FILE:
        return endFile(event);
    case MPV_EVENT_START_FILE:
        return PlaybackEngineEvents::StartFile{};
    case MPV_EVENT_FILE_LOADED:
        return PlaybackEngineEvents::FileLoaded{};
    case MPV_EVENT_PLAYBACK_RESTART:
        return PlaybackEngineEvents::PlaybackRestart{};
    case MPV_EVENT_SHUTDOWN:
        return PlaybackEngineEvents::Shutdown{};
    case MPV_EVENT_QUEUE_OVERFLOW:
        return PlaybackEngineEvents::QueueOverflow{};
    default:
        return std::nullopt;
    }
}

} // namespace lumvik
