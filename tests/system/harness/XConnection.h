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

/// The size hints of a window for the window manager, from WM_NORMAL_HINTS. Hints that are not set
/// are empty.
struct SizeHints {
    std::optional<QSize> minimumSize;
    /// The smallest allowed aspect ratio, as a width and a height.
    std::optional<QSize> minimumAspect;
    /// The largest allowed aspect ratio, as a width and a height.
    std::optional<QSize> maximumAspect;
};

/// A test's own connection to an X display. Tests use the connection to read the windows,
/// properties and pixels of other programs, and to send a few requests that normally only a window
/// manager or pager sends.
///
/// Every query is sent to the server, and only atoms are cached. A window that no longer exists is
/// treated as a window without properties. Main thread only.
class XConnection {
  public:
    /// Connects to a display such as ":3". Returns null when the connection fails.
    [[nodiscard]] static std::unique_ptr<XConnection> open(const QString &display);
    XConnection(const XConnection &) = delete;
    XConnection &operator=(const XConnection &) = delete;
    ~XConnection();

    [[nodiscard]] xcb_window_t root() const;

    /// All viewable windows: windows that are mapped and whose ancestors are all mapped. The order
    /// is from bottom to top, and children follow their parents.
    [[nodiscard]] QList<xcb_window_t> viewableWindows() const;
    [[nodiscard]] bool isViewable(xcb_window_t window) const;
    /// Whether the window bypasses the window manager, as menus and tool tips do.
    [[nodiscard]] bool overridesRedirect(xcb_window_t window) const;
    /// The geometry of the window's content, in pixels from the root's top left corner.
    [[nodiscard]] std::optional<QRect> geometry(xcb_window_t window) const;

    /// The values of a property with 32-bit numbers (CARDINAL, WINDOW, ATOM…). Empty when the
    /// window does not have the property.
    [[nodiscard]] QList<quint32> numbers(xcb_window_t window, const char *property) const;
    /// The text of a property with 8-bit characters. Null when the window does not have the
    /// property.
    [[nodiscard]] QString text(xcb_window_t window, const char *property) const;
    /// The names of the atoms in a property.
    [[nodiscard]] QStringList atomNames(xcb_window_t window, const char *property) const;
    /// The title from _NET_WM_NAME, or from WM_NAME when the window has no _NET_WM_NAME.
    [[nodiscard]] QString title(xcb_window_t window) const;
    /// The process id from _NET_WM_PID. 0 when the window does not have this property.
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
