#include "Responsiveness.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace lumvik::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto interval = 50ms;
constexpr int pollInterval = 5; // ms

struct FreeDeleter {
    void operator()(void *memory) const { std::free(memory); }
};

xcb_atom_t atom(xcb_connection_t *connection, const char *name) {
    const std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

Responsiveness::Responsiveness(const QString &display, xcb_window_t window) {
    xcb_connection_t *connection = xcb_connect(display.toLatin1().constData(), nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        ADD_FAILURE() << "no connection to " << display.toStdString();
        return;
    }
    m_thread = std::thread([this, connection, window] {
        run(connection, window);
        xcb_disconnect(connection);
    });
}

Responsiveness::~Responsiveness() {
    m_isEnding = true;
    if (m_thread.joinable())
        m_thread.join();
}

std::chrono::milliseconds Responsiveness::longest() const {
    return std::chrono::milliseconds(m_longest);
}

void Responsiveness::run(xcb_connection_t *connection, xcb_window_t window) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const xcb_atom_t protocols = atom(connection, "WM_PROTOCOLS");
    const xcb_atom_t ping = atom(connection, "_NET_WM_PING");
    // Replies are sent to the root window. Toolkits use different event masks for them, so both
    // masks are selected.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);

    std::uint32_t number = 0;
    bool isWaiting = false;
    Clock::time_point asked = Clock::now() - interval;
    const auto ask = [&] {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = protocols;
        event.data.data32[0] = ping;
        event.data.data32[1] = ++number;
        event.data.data32[2] = window;
        xcb_send_event(connection, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char *>(&event));
        xcb_flush(connection);
        asked = Clock::now();
        isWaiting = true;
    };
    const auto isAnswer = [&](const xcb_generic_event_t &event) {
        if ((event.response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return false;
        xcb_client_message_event_t message{};
        std::memcpy(&message, &event, sizeof message);
        return message.type == protocols && message.data.data32[0] == ping &&
               message.data.data32[1] == number && message.data.data32[2] == window;
    };
    while (!m_isEnding && xcb_connection_has_error(connection) == 0) {
        if (!isWaiting && Clock::now() - asked >= interval)
            ask();
        pollfd readable = {xcb_get_file_descriptor(connection), POLLIN, 0};
        ::poll(&readable, 1, pollInterval);
        while (const std::unique_ptr<xcb_generic_event_t, FreeDeleter> event{
            xcb_poll_for_event(connection)}) {
            if (isWaiting && isAnswer(*event)) {
                isWaiting = false;
                ++m_answers;
                const auto waited =
                    std::chrono::round<std::chrono::milliseconds>(Clock::now() - asked);
                m_longest = std::max(m_longest.load(), waited.count());
            }
        }
        if (isWaiting) {
            const auto waited = std::chrono::round<std::chrono::milliseconds>(Clock::now() - asked);
            m_longest = std::max(m_longest.load(), waited.count());
        }
    }
}

} // namespace lumvik::test
