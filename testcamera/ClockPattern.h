#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

namespace lumvik::test {

/// The capture time as a pattern of black and white cells that survives video coding and scaling.
/// The pattern is used to measure the latency from capture to screen.
///
/// The pattern covers the bottom fifth of the picture: two rows of twenty equal cells, read left to
/// right, top to bottom. Cell n is white when bit n (most significant first) of a 40-bit word is
/// set: 32 bits of time in milliseconds (CLOCK_MONOTONIC modulo 2^32, which all processes of a
/// machine share), followed by 8 bits of a checksum, which excludes torn and blended pictures.
namespace ClockPattern {

inline constexpr int columns = 20;
inline constexpr int rows = 2;
/// The height of the pattern, as a fraction of the picture's height.
inline constexpr double heightShare = 0.2;

using Cells = std::array<bool, static_cast<std::size_t>(columns) * rows>;

/// The position of a cell in `Cells`.
[[nodiscard]] constexpr std::size_t cellIndex(int row, int column) {
    return static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column);
}

[[nodiscard]] constexpr std::uint8_t checksum(std::uint32_t milliseconds) {
    const auto folded = (milliseconds >> 24U) ^ (milliseconds >> 16U) ^ (milliseconds >> 8U) ^
                        milliseconds ^ 0xA5U ^ (milliseconds * 0x9E3779B1U >> 24U);
    return static_cast<std::uint8_t>(folded & 0xFFU);
}

/// Returns the cells that represent a time. True is white.
[[nodiscard]] constexpr Cells encode(std::uint32_t milliseconds) {
    const std::uint64_t word = (std::uint64_t{milliseconds} << 8U) | checksum(milliseconds);
    Cells cells{};
    for (std::size_t n = 0; n < cells.size(); ++n)
        cells[n] = ((word >> (cells.size() - 1 - n)) & 1U) != 0;
    return cells;
}

/// Returns the time that the cells represent, or nothing if the checksum does not match.
[[nodiscard]] constexpr std::optional<std::uint32_t> decode(const Cells &cells) {
    std::uint64_t word = 0;
    for (const bool cell : cells)
        word = (word << 1U) | (cell ? 1U : 0U);
    const auto milliseconds = static_cast<std::uint32_t>(word >> 8U);
    if (checksum(milliseconds) != (word & 0xFFU))
        return std::nullopt;
    return milliseconds;
}

/// Reads the time from the pattern in a picture of `width` by `height` pixels. `luma(x, y)` returns
/// the brightness of a pixel from 0 to 255. A cell counts as white if the mean of nine samples
/// around its centre is above 127.
template<typename Luma>
[[nodiscard]] std::optional<std::uint32_t> read(int width, int height, Luma luma) {
    const double cellWidth = static_cast<double>(width) / columns;
    const double cellHeight = height * heightShare / rows;
    const double top = height - height * heightShare;
    Cells cells{};
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            int sum = 0;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int x = static_cast<int>((column + 0.5 + dx * 0.15) * cellWidth);
                    const int y = static_cast<int>(top + (row + 0.5 + dy * 0.15) * cellHeight);
                    sum += luma(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1));
                }
            }
            cells[cellIndex(row, column)] = sum > 9 * 127;
        }
    }
    return decode(cells);
}

} // namespace ClockPattern

} // namespace lumvik::test
