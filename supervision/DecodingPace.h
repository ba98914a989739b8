#pragma once

#include "platform/MainQueue.h"
#include "platform/ThreadTimes.h"

#include <array>
#include <deque>
#include <optional>

namespace lumvik {

/// The state of the decoder at one moment, while frames are drawn.
struct DecodingVitals {
    TimeStamp now = 0;
    /// The length of the video that has been received and not yet decoded, in seconds.
    double queued = 0;
    /// The times of the decoding thread so far.
    ThreadTimes thread = {};
    /// The time stamp of the frame on the screen, in seconds.
    double position = 0;
    /// How often old pictures of the stream were left out so far, because the decoder was behind.
    int omissions = 0;
};

/// Recognises a stream that is too much for a single decoding thread.
///
/// The pace is judged from successive vitals, which the watchdog takes. One thread is too slow if
/// all of the following hold for some time:
///  - Received video waits in the queue. A slow network leaves the queue empty.
///  - The decoding thread runs nearly all the time, or it runs much of the time and would run
///    nearly all the time if a core were free for it. The second case needs a longer time, so that
///    a machine that is busy with something else for a few seconds is not mistaken for a slow one.
///  - The time stamps of the drawn frames do not advance faster than the clock. After a network
///    stall, the queue is full and the thread is busy, too, but the picture catches up. Jumps over
///    pictures that were left out do not count.
/// A value type without a clock or an engine of its own.
class DecodingPace {
  public:
    /// The shortest queue that counts as waiting video, in seconds. The engine reads a little more
    /// than this ahead ("demuxer-readahead-secs"), and an engine that keeps up leaves less than a
    /// frame in the queue.
    static constexpr double shortestQueue = 0.5;
    /// The least share of the time for which the thread runs or waits for a core, if it does
    /// nothing but decode. A thread that waits for the drawing of frames does neither.
    static constexpr double leastWantedShare = 0.85;
    /// The highest speed, in seconds of video per second, that counts as too slow. A thread with
    /// less than two per cent in reserve never catches up with a stall.
    static constexpr double highestSlowSpeed = 1.02;
    /// The highest speed between two successive vitals. Over such a short time, the speed is known
    /// to a frame only.
    static constexpr double highestMomentarySpeed = 1.12;

    /// How long the decoder must have been too slow, in seconds, if its thread has run for at least
    /// the given share of this time.
    struct Proof {
        double time;
        double leastRunningShare;
    };
    static constexpr std::array proofs{Proof{6, 0.85}, Proof{30, 0.5}};

    /// Adds `vitals`, which must be newer than the vitals before. If one thread has proved to be
    /// too slow, returns the speed of this thread while it runs, in seconds of video per second.
    [[nodiscard]] std::optional<double> slowSpeed(const DecodingVitals &vitals);
    /// Forgets all vitals. Call this function when another stream is loaded or no frames are drawn.
    void restart() {
        m_history.clear();
        m_omitted = 0;
    }

  private:
    [[nodiscard]] std::optional<double> speedProvedBy(const Proof &proof) const;

    /// The vitals since the decoder has been busy without interruption, oldest first.
    std::deque<DecodingVitals> m_history;
    double m_omitted = 0; ///< The length of the video that was left out, in seconds.
};

/// Returns the number of threads for a stream of which one thread decodes `speed` seconds per
/// second, on a machine with `cores` processor cores. The number is as small as possible, because
/// each further thread holds back a frame, but at least 2, unless there is a single core. See
/// benchmarks/README.md for measurements.
[[nodiscard]] int decodingThreadsFor(double speed, int cores);

} // namespace lumvik
