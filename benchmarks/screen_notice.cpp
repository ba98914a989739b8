// lumvik-screen-notice X Y WIDTH HEIGHT [INTERVAL]
//
// The program watches a rectangle of the X screen that contains the viewer's window at scale 1,
// which shows the test camera's picture with its clock pattern. Every INTERVAL milliseconds
// (default: 20), it prints what a user can see:
//
//     MOMENT AGE LOOK
//
// MOMENT is the time of the look (CLOCK_MONOTONIC), and AGE is the time since the capture of the
// picture, both in milliseconds. AGE is -1 if there is no picture, and -2 if there is one whose
// clock cannot be read, for example because it is just being drawn. LOOK is one of:
//
//     plain    a picture, and nothing that says that it is not live
//     marked   a picture with a warning pill
//     dark     a darkened picture, with or without a pill
//     none     no picture
//
// The program prints "ready" when it starts to watch, and runs until it is terminated. It knows
// nothing but the pixels.

#include "benchmarks/ScreenRows.h"
#include "testcamera/ClockPattern.h"
#include "testcamera/PictureLayout.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

using namespace lumvik::benchmark;
namespace ClockPattern = lumvik::test::ClockPattern;
namespace PictureLayout = lumvik::test::PictureLayout;

/// The rows of pixels that are fetched.
enum Row : unsigned { bars, upperCells, lowerCells, pill };

/// The middle of the pill, in points above the bottom of the window.
constexpr double pillMiddle = 24;
/// The part of the pill's row that contains its dot, in points.
constexpr int dotBegin = 12;
constexpr int dotEnd = 40;
/// The least number of amber pixels that are a dot.
constexpr int smallestDot = 4;

/// The brightness of the first bar, and what is left of it in a darkened picture. Both are far from
/// black and from each other.
constexpr int leastPlainBar = 150;
constexpr int leastDarkenedBar = 45;
/// The least brightness of the brightest cell of a clock pattern.
constexpr int leastWhite = 70;

class WindowReader {
  public:
    explicit WindowReader(const ScreenArea &area)
        : m_area(area)
        , m_rows(area, {PictureLayout::bars.height / 2, 1 - ClockPattern::heightShare * 3 / 4,
                        1 - ClockPattern::heightShare * 5 / 12, 1 - pillMiddle / area.height}) {}

    [[nodiscard]] bool fetch() { return m_rows.fetch(); }

    [[nodiscard]] const char *look() const {
        const int bar = m_rows.luma(bars, m_area.width / PictureLayout::barCount / 2);
        if (bar < leastDarkenedBar)
            return "none";
        if (bar < leastPlainBar)
            return "dark";
        return hasPill() ? "marked" : "plain";
    }

    /// The time in the picture, which may be darkened, in milliseconds modulo 2^32.
    [[nodiscard]] std::optional<std::uint32_t> shownTime() const {
        int white = 0;
        for (int x = 0; x < m_area.width; ++x)
            white = std::max({white, m_rows.luma(upperCells, x), m_rows.luma(lowerCells, x)});
        if (white < leastWhite)
            return std::nullopt;
        const double middle = m_area.height * (1 - ClockPattern::heightShare / 2);
        return ClockPattern::read(m_area.width, m_area.height, [&](int x, int y) {
            return m_rows.luma(y < middle ? upperCells : lowerCells, x) * 255 / white;
        });
    }

  private:
    [[nodiscard]] bool hasPill() const {
        int amber = 0;
        for (int x = dotBegin; x < dotEnd; ++x) {
            const auto pixel = m_rows.colour(pill, x);
            amber += std::abs(pixel.red - 245) < 12 && std::abs(pixel.green - 176) < 12 &&
                             std::abs(pixel.blue - 60) < 12
                         ? 1
                         : 0;
        }
        return amber >= smallestDot;
    }

    ScreenArea m_area;
    ScreenRows m_rows;
};

} // namespace

int main(int argc, char **argv) {
    if (argc < 5 || argc > 6)
        failBenchmark("usage: lumvik-screen-notice X Y WIDTH HEIGHT [INTERVAL]");
    const ScreenArea area{static_cast<std::int16_t>(std::atoi(argv[1])),
                          static_cast<std::int16_t>(std::atoi(argv[2])),
                          static_cast<std::uint16_t>(std::atoi(argv[3])),
                          static_cast<std::uint16_t>(std::atoi(argv[4]))};
    const int interval = argc == 6 ? std::atoi(argv[5]) : 20;
    if (area.width < 160 || area.height < 160 || interval < 1)
        failBenchmark("the rectangle or the interval is too small");
    WindowReader reader(area);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::puts("ready");
    Looks looks(interval);
    while (reader.fetch()) {
        const std::int64_t now = monotonicMilliseconds();
        const char *look = reader.look();
        const auto shown = reader.shownTime();
        std::int64_t age = look[0] == 'n' ? -1 : -2;
        if (age == -2 && shown)
            age = static_cast<std::uint32_t>(now) - *shown;
        std::printf("%lld %lld %s\n", static_cast<long long>(now), static_cast<long long>(age),
                    look);
        looks.waitForNext();
    }
    failBenchmark("the X server has exited");
}
