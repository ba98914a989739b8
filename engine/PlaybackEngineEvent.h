#pragma once

#include <mpv/client.h>

#include <cstdint>
#include <optional>
#include <variant>

namespace lumvik {

/// The events of a player that the program acts on. The libmpv events that the program ignores have
/// no types here.
namespace PlaybackEngineEvents {

/// A stream ended. The reason and the error code are libmpv's numbers.
struct EndFile {
    /// The value of `reason` for an end event that carries no data. All bits are set, so that the
    /// value differs from every reason that libmpv defines.
    static constexpr std::uint32_t unknownReason = 0xFFFFFFFFU;

    std::uint32_t reason = unknownReason;
    std::int32_t error = 0;

    friend bool operator==(const EndFile &, const EndFile &) = default;
};

struct StartFile {
    friend bool operator==(const StartFile &, const StartFile &) = default;
};
struct FileLoaded {
    friend bool operator==(const FileLoaded &, const FileLoaded &) = default;
};
struct PlaybackRestart {
    friend bool operator==(const PlaybackRestart &, const PlaybackRestart &) = default;
};
struct Shutdown {
    friend bool operator==(const Shutdown &, const Shutdown &) = default;
};
struct QueueOverflow {
    friend bool operator==(const QueueOverflow &, const QueueOverflow &) = default;
};

} // namespace PlaybackEngineEvents

using PlaybackEngineEvent =
    std::variant<PlaybackEngineEvents::EndFile, PlaybackEngineEvents::StartFile,
                 PlaybackEngineEvents::FileLoaded, PlaybackEngineEvents::PlaybackRestart,
                 PlaybackEngineEvents::Shutdown, PlaybackEngineEvents::QueueOverflow>;

/// Converts a libmpv event. Returns nothing for events that the program does not act on. A negative
/// end-file reason, which libmpv never sends, terminates the process.
[[nodiscard]] std::optional<PlaybackEngineEvent> playbackEngineEvent(const mpv_event &event);

} // namespace lumvik
