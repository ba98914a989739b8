#pragma once

#include <mpv/client.h>

#include <cstdint>
#include <optional>
#include <variant>

namespace lumvik {

/// What the engine reports of a player instance. Only the reports that somebody acts on exist here.
namespace PlaybackEngineEvents {

/// A stream ended, for a reason and with an error code as libmpv counts them.
struct EndFile {
    /// The reason of an end that came without any data: all bits set, a value outside every reason
    /// that libmpv knows.
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

/// The report that `event` stands for, or nothing for the events that nobody acts on. A negative
/// end-file reason, which libmpv never sends, ends the process.
[[nodiscard]] std::optional<PlaybackEngineEvent> playbackEngineEvent(const mpv_event &event);

} // namespace lumvik
