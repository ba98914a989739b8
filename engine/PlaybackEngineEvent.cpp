#include "engine/PlaybackEngineEvent.h"

#include <QtGlobal>

#include <cstring>

namespace lumvik {

namespace {

/// The number in a field whose type is an enumeration of the library's. Copied as bytes: a library
/// newer than its header sends numbers that the enumeration does not have, and to read one as such
/// is undefined.
template<typename Enumeration>
std::int32_t numberIn(const Enumeration &field) {
    static_assert(sizeof(Enumeration) == sizeof(std::int32_t));
    std::int32_t number = 0;
    std::memcpy(&number, &field, sizeof number);
    return number;
}

PlaybackEngineEvents::EndFile endFile(const mpv_event &event) {
    const auto *data = static_cast<const mpv_event_end_file *>(event.data);
    if (data == nullptr)
        return {};
    const std::int32_t reason = numberIn(data->reason);
    if (reason < 0)
        qFatal("The engine sent the end-file reason %d.", reason);
    return {static_cast<std::uint32_t>(reason), data->error};
}

} // namespace

std::optional<PlaybackEngineEvent> playbackEngineEvent(const mpv_event &event) {
    switch (numberIn(event.event_id)) {
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
