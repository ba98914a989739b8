#include "window/MouseButtonState.h"

#include <QGuiApplication>

#ifdef LUMVIK_HAVE_XCB
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#endif

#include <optional>

namespace lumvik {

namespace {

#ifdef LUMVIK_HAVE_XCB

std::optional<bool> buttonIsDownForX11() {
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return std::nullopt;
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr)
        return std::nullopt;
    xcb_connection_t *connection = x11->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    struct Free {
        void operator()(void *reply) const { std::free(reply); } // NOLINT(*-no-malloc)
    };
    const std::unique_ptr<xcb_query_pointer_reply_t, Free> reply(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root), nullptr));
    if (reply == nullptr)
        return std::nullopt;
    constexpr unsigned anyButton =
        XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3; // 4 and 5 are the wheel
    return (reply->mask & anyButton) != 0;
}

#else

std::optional<bool> buttonIsDownForX11() {
    return std::nullopt;
}

#endif

} // namespace

bool mouseButtonIsDown() {
    return buttonIsDownForX11().value_or(QGuiApplication::mouseButtons() != Qt::NoButton);
}

} // namespace lumvik
