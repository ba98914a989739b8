#include "window/X11SizeHints.h"

#include <QGuiApplication>

#ifdef LUMVIK_HAVE_XCB
#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>
#endif

#include <cstdint>

namespace lumvik {

X11SizeHints::X11SizeHints(QWindow &window) : m_window(window) {
    qGuiApp->installNativeEventFilter(this);
}

X11SizeHints::~X11SizeHints() {
    if (qGuiApp != nullptr)
        qGuiApp->removeNativeEventFilter(this);
}

void X11SizeHints::setAspectRatio(ContentAspectRatio ratio) {
    m_ratio = ratio;
    apply();
}

#ifdef LUMVIK_HAVE_XCB

bool X11SizeHints::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t" || m_window.handle() == nullptr)
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    constexpr unsigned sentBySendEvent = 0x80U;
    if ((event->response_type & ~sentBySendEvent) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto *notify = static_cast<const xcb_property_notify_event_t *>(message);
    if (notify->atom == XCB_ATOM_WM_NORMAL_HINTS && notify->window == m_window.winId())
        apply();
    return false;
}

void X11SizeHints::apply() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // Some platforms return an interface that has no connection.
    if (x11 == nullptr || x11->connection() == nullptr || m_window.handle() == nullptr)
        return;
    xcb_connection_t *connection = x11->connection();
    const auto id = static_cast<xcb_window_t>(m_window.winId());

    xcb_size_hints_t hints{};
    if (xcb_icccm_get_wm_normal_hints_reply(
            connection, xcb_icccm_get_wm_normal_hints(connection, id), &hints, nullptr) == 0)
        return;
    const bool hasAspect = (hints.flags & XCB_ICCCM_SIZE_HINT_P_ASPECT) != 0;
    const ContentAspectRatio current =
        hasAspect ? ContentAspectRatio{hints.min_aspect_num, hints.min_aspect_den}
                  : ContentAspectRatio{};
    // The hints are written only if they differ, because writing them causes another notification.
    // A window manager subtracts the base size before it applies the ratio, so the hints must not
    // contain a base size together with a ratio.
    const bool hasBaseSize = (hints.flags & XCB_ICCCM_SIZE_HINT_BASE_SIZE) != 0 &&
                             (hints.base_width != 0 || hints.base_height != 0);
    if (current == m_ratio && !(hasBaseSize && !m_ratio.isEmpty()))
        return;

    if (m_ratio.isEmpty()) {
        hints.flags &= ~static_cast<std::uint32_t>(XCB_ICCCM_SIZE_HINT_P_ASPECT);
    } else {
        xcb_icccm_size_hints_set_aspect(&hints, m_ratio.width, m_ratio.height, m_ratio.width,
                                        m_ratio.height);
        hints.flags &= ~static_cast<std::uint32_t>(XCB_ICCCM_SIZE_HINT_BASE_SIZE);
        hints.base_width = hints.base_height = 0;
    }
    xcb_icccm_set_wm_normal_hints(connection, id, &hints);
    xcb_flush(connection);
}

#else

bool X11SizeHints::nativeEventFilter(const QByteArray &, void *, qintptr *) {
    return false;
}
void X11SizeHints::apply() {}

#endif

} // namespace lumvik
