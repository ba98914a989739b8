#pragma once

#include <cstdint>
#include <optional>

namespace lumvik::test {

/// The latency of pictures whose clock pattern contains a position in a loop (see EncodedLoop)
/// instead of a time. The position determines the latency up to whole loops. The class chooses the
/// number of whole loops so that the latency changes as little as possible from one picture to the
/// next, and thus follows a latency that grows far beyond the loop's length. Times are in
/// milliseconds.
///
/// The first latency is taken to be shorter than the loop. Later, a change by more than half a loop
/// from one picture to the next is not recognised.
class LoopLatency {
  public:
    /// `length` is the loop's length and positive.
    explicit constexpr LoopLatency(std::int64_t length) : m_length(length) {}

    /// Returns the latency of a picture that was first seen at `now` (CLOCK_MONOTONIC) and contains
    /// the position `shown`, or nothing if the loop has no such position. The latency is negative
    /// if the previous latency was overestimated, for example because of a misread position.
    [[nodiscard]] constexpr std::optional<std::int64_t> latency(std::int64_t now,
                                                                std::uint32_t shown) {
        if (shown >= m_length)
            return std::nullopt;
        const std::int64_t shortest = remainder(now - std::int64_t{shown});
        if (!m_previous) {
            m_previous = shortest;
            return m_previous;
        }
        std::int64_t change = remainder(shortest - *m_previous);
        if (change > m_length / 2)
            change -= m_length;
        *m_previous += change;
        return m_previous;
    }

    /// Forgets the previous pictures, because the next one belongs to another stream.
    constexpr void restart() { m_previous.reset(); }

  private:
    /// Returns the remainder of a division by the length, from 0 to below the length.
    [[nodiscard]] constexpr std::int64_t remainder(std::int64_t value) const {
        return (value % m_length + m_length) % m_length;
    }

    std::int64_t m_length;
    std::optional<std::int64_t> m_previous;
};

} // namespace lumvik::test
