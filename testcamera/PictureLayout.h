#pragma once

#include <array>

namespace lumvik::test {

/// The layout and the colours of the test camera's picture, for tests that read the picture back
/// from a decoder or from the screen.
///
/// From top to bottom: seven vertical colour bars; a black band with the camera's name on the left
/// and the wall clock on the right; a dark strip through which a light block sweeps; and at the
/// bottom, the clock pattern (see ClockPattern.h) with --clock, or otherwise a static ramp from
/// black to white. The layout is the same with and without --clock, and for every picture size.
namespace PictureLayout {

/// A part of the picture, as fractions of its width and height. The origin is at the top left.
struct Region {
    double left = 0;
    double top = 0;
    double width = 1;
    double height = 1;
};

/// An 8-bit R'G'B' colour as a player shows it. The stream is marked as BT.709 with limited range.
struct Colour {
    int red = 0;
    int green = 0;
    int blue = 0;
};

/// The bars have an amplitude of 75 %, so that no channel is clipped. Decoded values differ from
/// these values by at most 4.
inline constexpr int barCount = 7;
inline constexpr std::array<Colour, barCount> barColours{{
    {191, 191, 191}, // white
    {191, 191, 0},   // yellow
    {0, 191, 191},   // cyan
    {0, 191, 0},     // green
    {191, 0, 191},   // magenta
    {191, 0, 0},     // red
    {0, 0, 191},     // blue
}};

/// The region of all bars, which never changes.
inline constexpr Region bars{0, 0, 1, 0.5};
inline constexpr Region name{0, 0.5, 0.5, 0.2};
inline constexpr Region wallClock{0.5, 0.5, 0.5, 0.2};
/// The strip with the moving block, which crosses the strip once in `sweepMilliseconds`.
inline constexpr Region motion{0, 0.7, 1, 0.1};
inline constexpr double blockShare = 1.0 / 16;
inline constexpr int sweepMilliseconds = 4000;
/// The clock pattern with --clock, otherwise a static ramp.
inline constexpr Region pattern{0, 0.8, 1, 0.2};

/// Returns the region of the bar `index`, counted from 0 at the left. Sample a bar near its middle,
/// because chroma subsampling and scaling blur its edges.
[[nodiscard]] constexpr Region bar(int index) {
    return {bars.width * index / barCount, bars.top, bars.width / barCount, bars.height};
}

} // namespace PictureLayout

} // namespace lumvik::test
