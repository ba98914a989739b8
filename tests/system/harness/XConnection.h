#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

#include <xcb/xcb.h>

#include <memory>
#include <optional>

namespace lumvik::test {

/// The requests of a window to the window manager in WM_NORMAL_HINTS. Hints that are not set are
/// empty.
struct SizeHints {
    std::optional<QSize> minimumSize;
    /// Width and height of the smallest and of the largest aspect ratio allowed.
    std::optional<QSize> minimumAspect;
    std::optional<QSize> maximumAspect;
};

/// A test's own connection to a display. It reads the windows, properties and pixels of other
/// programs, and sends a few requests that only a window manager or pager sends.
///
/// Every query goes to the server, and only atom names are cached. A window that does not exist any
/// more is treated as one without properties. Main thread only.
class XConnection {
  public:
    /// Connects to a display such as ":3"; null when there is none.
    [[nodiscard]] static std::unique_ptr<XConnection> open(const QString &display);
    XConnection(const XConnection &) = delete;
    XConnection &operator=(const XConnection &) = delete;
    ~XConnection();

    [[nodiscard]] xcb_window_t root() const;

    /// All windows that are on the screen (mapped, like every ancestor), bottom to top, children
    /// after their parents.
    [[nodiscard]] QList<xcb_window_t> viewableWindows() const;
    [[nodiscard]] bool isViewable(xcb_window_t window) const;
    /// Whether the window bypasses the window manager, as menus and tool tips do.
    [[nodiscard]] bool overridesRedirect(xcb_window_t window) const;
    /// The geometry of the window's content, in pixels from the root's top left corner.
    [[nodiscard]] std::optional<QRect> geometry(xcb_window_t window) const;

    /// A property of 32-bit numbers (CARDINAL, WINDOW, ATOM…); empty when there is none.
    [[nodiscard]] QList<quint32> numbers(xcb_window_t window, const char *property) const;
    /// A property of 8-bit text; null when there is none.
    [[nodiscard]] QString text(xcb_window_t window, const char *property) const;
    /// A property of atoms, by their names.
    [[nodiscard]] QStringList atomNames(xcb_window_t window, const char *property) const;
    /// _NET_WM_NAME, or WM_NAME where that is missing.
    [[nodiscard]] QString title(xcb_window_t window) const;
    /// _NET_WM_PID; 0 when the window has none.
    [[nodiscard]] qint64 processId(xcb_window_t window) const;
    [[nodiscard]] SizeHints normalHints(xcb_window_t window) const;

    [[nodiscard]] QPoint pointerPosition() const;
    /// The window that has the keyboard focus.
    [[nodiscard]] xcb_window_t focusedWindow() const;

    /// Whether another program has grabbed the keyboard, as a window manager does while it moves or
    /// resizes a window.
    [[nodiscard]] bool keyboardIsGrabbed() const;

    /// The contents of the screen inside `area`, which is in root coordinates and is clipped to the
    /// screen.
    [[nodiscard]] QImage grab(QRect area) const;

    /// Asks the window manager to close a window, as a task bar does.
    void requestClose(xcb_window_t window) const;

  private:
    explicit XConnection(xcb_connection_t *connection, const xcb_screen_t *screen);
    [[nodiscard]] xcb_atom_t atom(const QByteArray &name) const;
    [[nodiscard]] QByteArray property(xcb_window_t window, const char *name) const;
    void collectViewable(xcb_window_t window, QList<xcb_window_t> &found) const;

    xcb_connection_t *m_connection; // owned
    const xcb_screen_t *m_screen;   // part of the connection
    xcb_window_t m_hiddenWindow;    // never mapped; destroyed with the connection
    mutable QHash<QByteArray, xcb_atom_t> m_atoms;
};

} // namespace lumvik::test
