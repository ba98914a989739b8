#include "XConnection.h"

#include <xcb/xcb_icccm.h>

#include <cstdlib>
#include <cstring>

namespace lumvik::test {

namespace {

struct FreeDeleter {
    void operator()(void *memory) const { std::free(memory); }
};

template<typename Reply>
std::unique_ptr<Reply, FreeDeleter> owned(Reply *reply) {
    return std::unique_ptr<Reply, FreeDeleter>(reply);
}

} // namespace

std::unique_ptr<XConnection> XConnection::open(const QString &display) {
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(display.toLatin1().constData(), &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        return nullptr;
    }
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    return std::unique_ptr<XConnection>(new XConnection(connection, screen));
}

XConnection::XConnection(xcb_connection_t *connection, const xcb_screen_t *screen)
    : m_connection(connection)
    , m_screen(screen)
    , m_hiddenWindow(xcb_generate_id(connection)) {
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_hiddenWindow, root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
}

XConnection::~XConnection() {
    xcb_disconnect(m_connection);
}

xcb_window_t XConnection::root() const {
    return m_screen->root;
}

QList<xcb_window_t> XConnection::viewableWindows() const {
    QList<xcb_window_t> found;
    collectViewable(root(), found);
    return found;
}

void XConnection::collectViewable(xcb_window_t window, QList<xcb_window_t> &found) const {
    const auto tree =
        owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
    if (!tree)
        return;
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    for (int n = 0; n < xcb_query_tree_children_length(tree.get()); ++n) {
        if (!isViewable(children[n]))
            continue;
        found.append(children[n]);
        collectViewable(children[n], found);
    }
}

bool XConnection::isViewable(xcb_window_t window) const {
    const auto attributes = owned(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool XConnection::overridesRedirect(xcb_window_t window) const {
    const auto attributes = owned(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return attributes && attributes->override_redirect != 0;
}

std::optional<QRect> XConnection::geometry(xcb_window_t window) const {
    const auto size = owned(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    const auto place = owned(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, root(), 0, 0), nullptr));
    if (!size || !place)
        return std::nullopt;
    return QRect(place->dst_x, place->dst_y, size->width, size->height);
}

QByteArray XConnection::property(xcb_window_t window, const char *name) const {
    constexpr std::uint32_t mostWords = 16384;
    const auto reply = owned(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, window, atom(name), XCB_ATOM_ANY, 0, mostWords),
        nullptr));
    if (!reply)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

QList<quint32> XConnection::numbers(xcb_window_t window, const char *name) const {
    const QByteArray bytes = property(window, name);
    QList<quint32> values(bytes.size() / static_cast<qsizetype>(sizeof(quint32)));
    std::memcpy(values.data(), bytes.constData(),
                static_cast<std::size_t>(values.size()) * sizeof(quint32));
    return values;
}

QString XConnection::text(xcb_window_t window, const char *name) const {
    const QByteArray bytes = property(window, name);
    return bytes.isEmpty() ? QString() : QString::fromUtf8(bytes);
}

QStringList XConnection::atomNames(xcb_window_t window, const char *name) const {
    QStringList names;
    for (const quint32 value : numbers(window, name)) {
        const auto reply = owned(
            xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, value), nullptr));
        if (reply) {
            names.append(QString::fromLatin1(xcb_get_atom_name_name(reply.get()),
                                             xcb_get_atom_name_name_length(reply.get())));
        }
    }
    return names;
}

QString XConnection::title(xcb_window_t window) const {
    const QString name = text(window, "_NET_WM_NAME");
    return name.isNull() ? text(window, "WM_NAME") : name;
}

qint64 XConnection::processId(xcb_window_t window) const {
    const QList<quint32> value = numbers(window, "_NET_WM_PID");
    return value.isEmpty() ? 0 : value.first();
}

SizeHints XConnection::normalHints(xcb_window_t window) const {
    xcb_size_hints_t raw{};
    SizeHints hints;
    if (xcb_icccm_get_wm_normal_hints_reply(
            m_connection, xcb_icccm_get_wm_normal_hints(m_connection, window), &raw, nullptr) == 0)
        return hints;
    if ((raw.flags & XCB_ICCCM_SIZE_HINT_P_MIN_SIZE) != 0)
        hints.minimumSize = QSize(raw.min_width, raw.min_height);
    if ((raw.flags & XCB_ICCCM_SIZE_HINT_P_ASPECT) != 0) {
        hints.minimumAspect = QSize(raw.min_aspect_num, raw.min_aspect_den);
        hints.maximumAspect = QSize(raw.max_aspect_num, raw.max_aspect_den);
    }
    return hints;
}

QPoint XConnection::pointerPosition() const {
    const auto reply = owned(
        xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, root()), nullptr));
    return reply ? QPoint(reply->root_x, reply->root_y) : QPoint(-1, -1);
}

xcb_window_t XConnection::focusedWindow() const {
    const auto reply =
        owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

bool XConnection::keyboardIsGrabbed() const {
    // The X server reveals an existing grab only in reply to a request for another grab. The
    // request names a window that is not viewable, so the server always refuses the request. The
    // status in the reply shows whether another client holds a grab.
    const auto reply = owned(
        xcb_grab_keyboard_reply(m_connection,
                                xcb_grab_keyboard(m_connection, 0, m_hiddenWindow, XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
}

QImage XConnection::grab(QRect area) const {
    area &= QRect(0, 0, m_screen->width_in_pixels, m_screen->height_in_pixels);
    if (area.isEmpty())
        return {};
    const auto reply = owned(xcb_get_image_reply(
        m_connection,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root(),
                      static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                      static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()), ~std::uint32_t{0}),
        nullptr));
    const int bytesPerLine = area.width() * 4;
    if (!reply || xcb_get_image_data_length(reply.get()) < bytesPerLine * area.height())
        return {};
    // The copy is necessary because the QImage does not own the buffer of the reply.
    return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), bytesPerLine,
                  QImage::Format_RGB32)
        .copy();
}

void XConnection::requestClose(xcb_window_t window) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom("_NET_CLOSE_WINDOW");
    event.data.data32[0] = XCB_CURRENT_TIME;
    event.data.data32[1] = 2; // the request comes from a pager
    xcb_send_event(m_connection, 0, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&event));
    xcb_flush(m_connection);
}

xcb_atom_t XConnection::atom(const QByteArray &name) const {
    if (const auto known = m_atoms.constFind(name); known != m_atoms.constEnd())
        return *known;
    const auto reply = owned(xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.constData()),
        nullptr));
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    m_atoms.insert(name, value);
    return value;
}

} // namespace lumvik::test
