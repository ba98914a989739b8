#include "benchmarks/ScreenRows.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstdio>
#include <cstdlib>

namespace lumvik::benchmark {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr int screenDepth = 24;

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};

} // namespace

void failBenchmark(const char *reason) {
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

std::int64_t monotonicMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

ScreenRows::ScreenRows(const ScreenArea &area, const std::vector<double> &tops) : m_area(area) {
    for (const double top : tops)
        m_rows.push_back(static_cast<std::int16_t>(area.y + static_cast<int>(area.height * top)));
    int screenNumber = 0;
    m_connection.reset(xcb_connect(nullptr, &screenNumber));
    if (xcb_connection_has_error(m_connection.get()) != 0)
        failBenchmark("cannot reach the X server");
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get()));
    for (int n = 0; n < screenNumber; ++n)
        xcb_screen_next(&screen);
    if (screen.data->root_depth != screenDepth)
        failBenchmark("the screen must be 24 bits deep");
    m_root = screen.data->root;
    share();
    if (!fetch())
        failBenchmark("the rectangle is not on the screen");
}

void ScreenRows::share() {
    const std::size_t size = m_rows.size() * m_area.width * bytesPerPixel;
    const int id = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
    void *memory = id < 0 ? nullptr : shmat(id, nullptr, 0);
    if (memory == nullptr || memory == reinterpret_cast<void *>(-1))
        failBenchmark("cannot allocate shared memory");
    m_pixels = static_cast<const unsigned char *>(memory);
    m_segment = xcb_generate_id(m_connection.get());
    const std::unique_ptr<xcb_generic_error_t, Free> error(xcb_request_check(
        m_connection.get(),
        xcb_shm_attach_checked(m_connection.get(), m_segment, static_cast<std::uint32_t>(id), 0)));
    // The segment is marked for removal at once. The kernel then removes it when its last user has
    // exited, even if this program crashes.
    shmctl(id, IPC_RMID, nullptr);
    if (error)
        failBenchmark("the X server does not support shared memory");
}

bool ScreenRows::fetch() {
    // All requests are sent before the first reply is awaited, so that the server handles them
    // together.
    std::vector<xcb_shm_get_image_cookie_t> cookies;
    for (std::size_t row = 0; row < m_rows.size(); ++row)
        cookies.push_back(
            xcb_shm_get_image(m_connection.get(), m_root, m_area.x, m_rows[row], m_area.width, 1,
                              ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment,
                              static_cast<std::uint32_t>(row * m_area.width * bytesPerPixel)));
    bool isComplete = true;
    for (const auto cookie : cookies) {
        const std::unique_ptr<xcb_shm_get_image_reply_t, Free> reply(
            xcb_shm_get_image_reply(m_connection.get(), cookie, nullptr));
        isComplete = isComplete && reply != nullptr;
    }
    return isComplete;
}

ScreenRows::Colour ScreenRows::colour(std::size_t row, int x) const {
    const unsigned char *pixel =
        m_pixels + (row * m_area.width + static_cast<std::size_t>(x)) * bytesPerPixel;
    return {pixel[2], pixel[1], pixel[0]};
}

int ScreenRows::luma(std::size_t row, int x) const {
    const Colour pixel = colour(row, x);
    return (pixel.red + pixel.green + pixel.blue) / 3;
}

Looks::Looks(int milliseconds) : m_interval(milliseconds) {
    clock_gettime(CLOCK_MONOTONIC, &m_next);
}

void Looks::waitForNext() {
    m_next.tv_nsec += m_interval * 1'000'000L;
    m_next.tv_sec += m_next.tv_nsec / 1'000'000'000L;
    m_next.tv_nsec %= 1'000'000'000L;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &m_next, nullptr) != 0) {
    }
}

} // namespace lumvik::benchmark
