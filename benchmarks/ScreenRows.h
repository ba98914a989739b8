#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <vector>

namespace lumvik::benchmark {

/// A rectangle of the X screen, in pixels.
struct ScreenArea {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

/// The current time in milliseconds (CLOCK_MONOTONIC), like the test camera's clock.
[[nodiscard]] std::int64_t monotonicMilliseconds();

/// Fetches single rows of pixels of a rectangle through shared memory, because the reader shares
/// the processor with the programs that are being measured.
class ScreenRows {
  public:
    /// `tops` are the vertical positions of the rows within `area`, from 0 (top) to 1 (bottom).
    /// If the screen cannot be read, the process exits with a message.
    ScreenRows(const ScreenArea &area, const std::vector<double> &tops);

    /// Fetches the rows. Returns false if the X server has exited or refuses the request.
    [[nodiscard]] bool fetch();

    struct Colour {
        int red = 0;
        int green = 0;
        int blue = 0;
    };
    /// Returns a pixel of the row with this index, as of the last `fetch`.
    [[nodiscard]] Colour colour(std::size_t row, int x) const;
    /// Returns the brightness of a grey pixel, from 0 to 255.
    [[nodiscard]] int luma(std::size_t row, int x) const;

  private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };

    void share();

    ScreenArea m_area;
    std::vector<std::int16_t> m_rows; // the vertical positions on the screen
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    xcb_window_t m_root = 0;
    xcb_shm_seg_t m_segment = 0;
    const unsigned char *m_pixels = nullptr;
};

/// Sleeps until the next multiple of an interval, without accumulating delays.
class Looks {
  public:
    explicit Looks(int milliseconds);
    void waitForNext();

  private:
    int m_interval;
    timespec m_next{};
};

/// Prints `reason` and exits.
[[noreturn]] void failBenchmark(const char *reason);

} // namespace lumvik::benchmark
