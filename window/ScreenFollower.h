#pragma once

#include "window/ScreenChangeMemory.h"

#include <QObject>
#include <QTimer>

#include <functional>

class QScreen;

namespace lumvik {

/// The parts of all screens that panels leave free, the primary screen's first, in points.
[[nodiscard]] QList<QRect> availableAreas();

/// Moves a window when the screens change: onto one that is there, and back where it was once its
/// own is there again. For windows whose place is the program's business. Main thread only.
class ScreenFollower final : public QObject {
    Q_OBJECT

  public:
    struct Window {
        /// The frame that the window has or is on its way to; nothing while it is not the user's
        /// choice, as in full screen.
        std::function<std::optional<QRect>()> frame;
        std::function<void(const QRect &)> move;
        /// `home` has become another.
        std::function<void()> homeChanged;
    };
    explicit ScreenFollower(Window window);

    /// To be told of every move and size of the window.
    void frameHasChanged() { m_rested.start(); }
    /// The program gives the window this frame, which is its own place from now on.
    void frameWasGiven(const QRect &frame) { m_memory.frameGiven(frame, availableAreas()); }

    /// The program gives the window a frame from earlier, when its screen was `area`, if that is
    /// known. Answers where the window is to go: it may belong where there is no screen now.
    [[nodiscard]] QRect frameIsRestored(const QRect &frame, const std::optional<QRect> &area) {
        return m_memory.frameRestored(frame, area, availableAreas());
    }

    /// The program gives the window another shape where it stands.
    void frameIsReshaped(const QRect &before, const QRect &after) {
        m_memory.frameReshaped(before, after);
    }
    /// Takes the frame that the window has now for one in which it has rested.
    void frameRested();

    /// The window's own place while it stands elsewhere for want of the screen; else nothing.
    [[nodiscard]] std::optional<QRect> home() const { return m_memory.home(); }
    /// The screen of that place as it was; empty if it is not known.
    [[nodiscard]] QRect homeScreen() const { return m_memory.homeScreen(); }
    /// Whether this is where the window stands instead.
    [[nodiscard]] bool isRefuge(const QRect &frame) const { return m_memory.isRefuge(frame); }

  private:
    void follow(QScreen *screen);
    void screensSettled();

    Window m_window;
    ScreenChangeMemory m_memory;
    QTimer m_rested;  // fires when the window has not moved for a while
    QTimer m_settled; // fires when the screens have not changed for a moment
};

} // namespace lumvik
