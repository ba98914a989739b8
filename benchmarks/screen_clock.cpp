// lumvik-screen-clock X Y WIDTH HEIGHT [INTERVAL [LOOP]]
//
// The program watches a rectangle of the X screen that shows the test camera's picture with its
// clock pattern. It prints a line for every new frame, recognised by the frame's capture time:
//
//     MOMENT DELAY INK
//
// MOMENT is the time at which the program saw the frame (CLOCK_MONOTONIC), and DELAY is the frame's
// latency, the time since its capture. MOMENT and DELAY are in milliseconds. INK is the share of
// bright pixels in a row through the camera's name, in thousandths. INK distinguishes a camera with
// a long name from a camera with a short name.
//
// LOOP is the length of the camera's loop in milliseconds, if the camera repeats pictures that were
// encoded ahead. DELAY is then determined continuously and can be longer than the loop. After the
// picture has been away for a moment, a new stream is assumed, whose first frame is younger than
// the loop.
//
// The program prints "ready" when it starts to watch, and runs until it is terminated. The screen
// is read every INTERVAL milliseconds (default: 2), so a MOMENT can be late by one interval. Only
// three rows of pixels are read, through shared memory, because lumvik-screen-clock shares the
// processor with the programs that are being measured.

#include "benchmarks/ScreenRows.h"
#include "testcamera/ClockPattern.h"
#include "testcamera/LoopLatency.h"
#include "testcamera/PictureLayout.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

using namespace lumvik::benchmark;
namespace ClockPattern = lumvik::test::ClockPattern;
namespace PictureLayout = lumvik::test::PictureLayout;

/// The rows of pixels that are fetched.
enum Row : unsigned { upperCells, lowerCells, cameraName };
/// Their positions. The row of the lower cells is above their middle, where the viewer's notice is.
const std::vector<double> rowTops{1 - ClockPattern::heightShare * 3 / 4,
                                  1 - ClockPattern::heightShare * 5 / 12,
                                  PictureLayout::name.top + PictureLayout::name.height / 2};

/// The longest plausible latency, in milliseconds. A longer latency means that the screen shows
/// another picture whose checksum happens to match.
constexpr std::int64_t longestDelay = 60'000;

/// The time without a readable picture after which a new stream is assumed, in milliseconds. A
/// frame that is being drawn is unreadable for a shorter time.
constexpr std::int64_t longestUnreadable = 300;

struct Arguments {
    ScreenArea area;
    int interval = 2;
    int loop = 0; // 0 if the pictures are not repeated
};

std::optional<std::uint32_t> shownTime(const ScreenRows &rows, const ScreenArea &area) {
    const double middle = area.height * (1 - ClockPattern::heightShare / 2);
    return ClockPattern::read(area.width, area.height, [&](int x, int y) {
        return rows.luma(y < middle ? upperCells : lowerCells, x);
    });
}

/// Returns the share of bright pixels in the row through the camera's name, in thousandths.
int ink(const ScreenRows &rows, const ScreenArea &area) {
    const int width = static_cast<int>(area.width * PictureLayout::name.width);
    int bright = 0;
    for (int x = 0; x < width; ++x)
        bright += rows.luma(cameraName, x) > 127 ? 1 : 0;
    return bright * 1000 / width;
}

Arguments parseArguments(int argc, char **argv) {
    if (argc < 5 || argc > 7)
        failBenchmark("usage: lumvik-screen-clock X Y WIDTH HEIGHT [INTERVAL [LOOP]]");
    Arguments arguments;
    arguments.area.x = static_cast<std::int16_t>(std::atoi(argv[1]));
    arguments.area.y = static_cast<std::int16_t>(std::atoi(argv[2]));
    arguments.area.width = static_cast<std::uint16_t>(std::atoi(argv[3]));
    arguments.area.height = static_cast<std::uint16_t>(std::atoi(argv[4]));
    if (argc >= 6)
        arguments.interval = std::atoi(argv[5]);
    if (argc == 7)
        arguments.loop = std::atoi(argv[6]);
    if (arguments.area.width < 40 || arguments.area.height < 40 || arguments.interval < 1 ||
        arguments.loop < 0)
        failBenchmark("the rectangle, the interval or the loop is too small");
    return arguments;
}

/// Computes the latencies of successive pictures.
class Latencies {
  public:
    /// `loop` is as in Arguments.
    explicit Latencies(int loop) {
        if (loop > 0)
            m_loop.emplace(loop);
    }

    /// Returns the latency of a picture that is first seen at `now` and contains the time `shown`,
    /// or nothing if the picture cannot be one of the camera's.
    [[nodiscard]] std::optional<std::int64_t> latency(std::int64_t now, std::uint32_t shown) {
        if (m_loop)
            return m_loop->latency(now, shown);
        // The pattern contains the time in milliseconds modulo 2^32.
        const auto delay = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) - shown);
        if (delay < 0 || delay >= longestDelay)
            return std::nullopt;
        return delay;
    }

    /// Forgets the previous pictures, because the next one belongs to another stream.
    void restart() {
        if (m_loop)
            m_loop->restart();
    }

  private:
    std::optional<lumvik::test::LoopLatency> m_loop;
};

} // namespace

int main(int argc, char **argv) {
    const Arguments arguments = parseArguments(argc, argv);
    ScreenRows rows(arguments.area, rowTops);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::puts("ready");

    Latencies latencies(arguments.loop);
    std::optional<std::uint32_t> last;
    std::int64_t lastReadable = 0;
    Looks looks(arguments.interval);
    while (rows.fetch()) {
        const std::int64_t now = monotonicMilliseconds();
        const auto shown = shownTime(rows, arguments.area);
        if (shown)
            lastReadable = now;
        else if (now - lastReadable >= longestUnreadable)
            latencies.restart();
        if (shown && shown != last) {
            if (const auto delay = latencies.latency(now, *shown)) {
                last = shown;
                std::printf("%lld %lld %d\n", static_cast<long long>(now),
                            static_cast<long long>(*delay), ink(rows, arguments.area));
            }
        }
        looks.waitForNext();
    }
    failBenchmark("the X server has exited");
}
