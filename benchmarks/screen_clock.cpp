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

#include "testcamera/ClockPattern.h"
#include "testcamera/LoopLatency.h"
#include "testcamera/PictureLayout.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>

namespace {

namespace ClockPattern = lumvik::test::ClockPattern;
namespace PictureLayout = lumvik::test::PictureLayout;

constexpr int bytesPerPixel = 4;
constexpr int screenDepth = 24;
/// The parts of the picture. One row of pixels is fetched through the middle of each part.
enum Row : unsigned { upperCells, lowerCells, cameraName, rowCount };

/// The longest plausible latency, in milliseconds. A longer latency means that the screen shows
/// another picture whose checksum happens to match.
constexpr std::int64_t longestDelay = 60'000;

/// The time without a readable picture after which a new stream is assumed, in milliseconds. A
/// frame that is being drawn is unreadable for a shorter time.
constexpr std::int64_t longestUnreadable = 300;

struct Area {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    int interval = 2;
    int loop = 0; // 0 if the pictures are not repeated
};

[[noreturn]] void fail(const char *reason) {
    std::fprintf(stderr, "lumvik-screen-clock: %s\n", reason);
    std::exit(1);
}

std::int64_t monotonicMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

struct Disconnect {
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};

/// Fetches rows of pixels from the X server through shared memory.
class ScreenRows {
  public:
    explicit ScreenRows(const Area &area) : m_area(area) {
        int screenNumber = 0;
        m_connection.reset(xcb_connect(nullptr, &screenNumber));
        if (xcb_connection_has_error(m_connection.get()) != 0)
            fail("cannot reach the X server");
        auto screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get()));
        for (int n = 0; n < screenNumber; ++n)
            xcb_screen_next(&screen);
        if (screen.data->root_depth != screenDepth)
            fail("the screen must be 24 bits deep");
        m_root = screen.data->root;
        share();
    }

    /// Fetches the rows. Returns false if the X server has exited or refuses the request.
    bool fetch() {
        // All requests are sent before the first reply is awaited, so that the server handles them
        // together.
        const std::array cookies{request(upperCells), request(lowerCells), request(cameraName)};
        bool isComplete = true;
        for (const auto cookie : cookies) {
            const std::unique_ptr<xcb_shm_get_image_reply_t, Free> reply(
                xcb_shm_get_image_reply(m_connection.get(), cookie, nullptr));
            isComplete = isComplete && reply != nullptr;
        }
        return isComplete;
    }

    [[nodiscard]] std::optional<std::uint32_t> shownTime() const {
        const double middle = m_area.height * (1 - ClockPattern::heightShare / 2);
        return ClockPattern::read(m_area.width, m_area.height, [&](int x, int y) {
            return luma(y < middle ? upperCells : lowerCells, x);
        });
    }

    /// Returns the share of bright pixels in the row through the camera's name, in thousandths.
    [[nodiscard]] int ink() const {
        const int width = static_cast<int>(m_area.width * PictureLayout::name.width);
        int bright = 0;
        for (int x = 0; x < width; ++x)
            bright += luma(cameraName, x) > 127 ? 1 : 0;
        return bright * 1000 / width;
    }

  private:
    void share() {
        const std::size_t size = std::size_t{m_area.width} * bytesPerPixel * rowCount;
        const int id = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
        void *memory = id < 0 ? nullptr : shmat(id, nullptr, 0);
        if (memory == nullptr || memory == reinterpret_cast<void *>(-1))
            fail("cannot allocate shared memory");
        m_pixels = static_cast<const unsigned char *>(memory);
        m_segment = xcb_generate_id(m_connection.get());
        const std::unique_ptr<xcb_generic_error_t, Free> error(xcb_request_check(
            m_connection.get(), xcb_shm_attach_checked(m_connection.get(), m_segment,
                                                       static_cast<std::uint32_t>(id), 0)));
        // The segment is marked for removal at once. The kernel then removes it when its last user
        // has exited, even if this program crashes.
        shmctl(id, IPC_RMID, nullptr);
        if (error)
            fail("the X server does not support shared memory");
    }

    /// Returns the vertical position of a row in the picture, from 0 (top) to 1 (bottom).
    static double heightOf(Row row) {
        constexpr double share = ClockPattern::heightShare;
        switch (row) {
        case upperCells:
            return 1 - share * 3 / 4;
        case lowerCells:
            return 1 - share / 4;
        case cameraName:
        case rowCount:
            break;
        }
        return PictureLayout::name.top + PictureLayout::name.height / 2;
    }

    xcb_shm_get_image_cookie_t request(Row row) {
        const int y = m_area.y + static_cast<int>(m_area.height * heightOf(row));
        return xcb_shm_get_image(m_connection.get(), m_root, m_area.x, static_cast<std::int16_t>(y),
                                 m_area.width, 1, ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment,
                                 row * m_area.width * unsigned{bytesPerPixel});
    }

    [[nodiscard]] int luma(Row row, int x) const {
        const auto offset = (static_cast<int>(row) * m_area.width + x) * bytesPerPixel;
        const unsigned char *pixel = m_pixels + offset;
        return (pixel[0] + pixel[1] + pixel[2]) / 3; // black, white or grey
    }

    Area m_area;
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    xcb_window_t m_root = 0;
    xcb_shm_seg_t m_segment = 0;
    const unsigned char *m_pixels = nullptr;
};

Area parseArea(int argc, char **argv) {
    if (argc < 5 || argc > 7)
        fail("usage: lumvik-screen-clock X Y WIDTH HEIGHT [INTERVAL [LOOP]]");
    Area area;
    area.x = static_cast<std::int16_t>(std::atoi(argv[1]));
    area.y = static_cast<std::int16_t>(std::atoi(argv[2]));
    area.width = static_cast<std::uint16_t>(std::atoi(argv[3]));
    area.height = static_cast<std::uint16_t>(std::atoi(argv[4]));
    if (argc >= 6)
        area.interval = std::atoi(argv[5]);
    if (argc == 7)
        area.loop = std::atoi(argv[6]);
    if (area.width < 40 || area.height < 40 || area.interval < 1 || area.loop < 0)
        fail("the rectangle, the interval or the loop is too small");
    return area;
}

/// Computes the latencies of successive pictures.
class Latencies {
  public:
    /// `loop` is as in Area.
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

void waitForNextLook(timespec &next, int interval) {
    next.tv_nsec += interval * 1'000'000L;
    next.tv_sec += next.tv_nsec / 1'000'000'000L;
    next.tv_nsec %= 1'000'000'000L;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr) != 0) {
    }
}

} // namespace

int main(int argc, char **argv) {
    const Area area = parseArea(argc, argv);
    ScreenRows rows(area);
    if (!rows.fetch())
        fail("the rectangle is not on the screen");
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::puts("ready");

    Latencies latencies(area.loop);
    std::optional<std::uint32_t> last;
    std::int64_t lastReadable = 0;
    timespec next{};
    clock_gettime(CLOCK_MONOTONIC, &next);
    while (rows.fetch()) {
        const std::int64_t now = monotonicMilliseconds();
        const auto shown = rows.shownTime();
        if (shown)
            lastReadable = now;
        else if (now - lastReadable >= longestUnreadable)
            latencies.restart();
        if (shown && shown != last) {
            if (const auto delay = latencies.latency(now, *shown)) {
                last = shown;
                std::printf("%lld %lld %d\n", static_cast<long long>(now),
                            static_cast<long long>(*delay), rows.ink());
            }
        }
        waitForNextLook(next, area.interval);
    }
    fail("the X server has exited");
}
