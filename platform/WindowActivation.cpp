#include "platform/WindowActivation.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QWindow>

#ifdef LUMVIK_HAVE_XCB
#include <poll.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#endif

#include <algorithm>

namespace lumvik {

#ifdef LUMVIK_HAVE_XCB

namespace {

struct FreeDeleter {
    void operator()(void *memory) const { std::free(memory); }
};
template<typename Reply>
using XcbReply = std::unique_ptr<Reply, FreeDeleter>;

xcb_connection_t *displayConnection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t *connection, const char *name) {
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Returns the X server's time, which window managers compare with the time of the user's last
/// action. Uses a separate connection to the X server, because Qt consumes all events of the
/// application's connection.
std::optional<std::uint32_t> serverTime() {
    constexpr int timeout = 500; // ms
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0)
        return std::nullopt;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const xcb_window_t window = xcb_generate_id(connection.get());
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection.get(), 0, window, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    // Appending an empty value changes nothing but still causes a notification with the current
    // time.
    xcb_change_property(connection.get(), XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection.get());
    const QDeadlineTimer deadline(timeout);
    do {
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) {
            if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
                xcb_property_notify_event_t notify{};
                std::memcpy(&notify, event.get(), sizeof notify);
                return notify.time;
            }
        }
        pollfd readable = {xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        ::poll(&readable, 1, static_cast<int>(deadline.remainingTime()));
    } while (!deadline.hasExpired());
    return std::nullopt;
}

/// Sends the activation request that EWMH defines. Qt's own request contains the time of the last
/// event that Qt has received. That event is older than the user's action outside the window, so
/// the window manager would only mark the window as urgent.
void requestActivation(xcb_connection_t *connection, QWindow &window, std::uint32_t time) {
    constexpr std::uint32_t fromApplication = 1;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = fromApplication;
    message.data.data32[1] = time;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(connection);
}

/// Announces that the program's startup with this `id` is complete, which ends the busy pointer.
/// The message is broadcast in pieces that fit into events.
void finishStartupNotification(xcb_connection_t *connection, QWindow &window,
                               const QByteArray &id) {
    QByteArray quoted = id;
    for (const char *special : {"\\", "\"", " "})
        quoted.replace(special, QByteArrayLiteral("\\") + special);
    const QByteArray text = QByteArrayLiteral("remove: ID=") + quoted + '\0';

    const xcb_atom_t continuation = atom(connection, "_NET_STARTUP_INFO");
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atom(connection, "_NET_STARTUP_INFO_BEGIN");
    constexpr qsizetype room = sizeof message.data.data8;
    for (qsizetype start = 0; start < text.size(); start += room) {
        const qsizetype length = std::min(room, text.size() - start);
        std::memset(message.data.data8, 0, room);
        std::memcpy(message.data.data8, text.constData() + start, static_cast<size_t>(length));
        xcb_send_event(connection, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char *>(&message));
        message.type = continuation;
    }
    xcb_flush(connection);
}

} // namespace

#endif

void activateWindow(QWindow &window, const QByteArray &token) {
    if ((window.windowStates() & Qt::WindowMinimized) != 0)
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.raise();
    // Qt's Wayland plugin reads the token from XDG_ACTIVATION_TOKEN. The variable is set only on
    // Wayland, because other threads read the environment and writing to it is not thread-safe.
    const bool isPassedOn =
        !token.isEmpty() && QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
    if (isPassedOn)
        qputenv("XDG_ACTIVATION_TOKEN", token);
    window.requestActivate();
    if (isPassedOn)
        qunsetenv("XDG_ACTIVATION_TOKEN");
#ifdef LUMVIK_HAVE_XCB
    xcb_connection_t *connection = displayConnection();
    if (connection == nullptr || window.handle() == nullptr)
        return;
    std::optional<std::uint32_t> time = timeOfStartupId(token);
    if (!time)
        time = serverTime();
    if (time)
        requestActivation(connection, window, *time);
    if (!token.isEmpty())
        finishStartupNotification(connection, window, token);
#endif
}

std::optional<std::uint32_t> timeOfStartupId(const QByteArray &id) {
    const QByteArray mark = QByteArrayLiteral("_TIME");
    const qsizetype start = id.lastIndexOf(mark);
    if (start < 0)
        return std::nullopt;
    bool isNumber = false;
    const std::uint32_t time = id.mid(start + mark.size()).toUInt(&isNumber);
    // A time of zero means "unknown".
    return isNumber && time != 0 ? std::optional(time) : std::nullopt;
}

} // namespace lumvik
