#include "engine/PlaybackEngineEvent.h"

#include <QtGlobal>

#include <cstring>

namespace lumvik {

namespace {

/// Returns the numerical value of a field whose type is an enumeration of libmpv. The value is
/// copied as bytes: a library that is newer than the header may send values that the enumeration
/// lacks, and reading such a value as the enumeration is undefined behaviour.
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
