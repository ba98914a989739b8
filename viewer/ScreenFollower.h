#pragma once

#include "viewer/ScreenChangeMemory.h"

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
        /// The window stays where it is for good: `home` has just become nothing.
        std::function<void()> homeWasGivenUp;
    };
    explicit ScreenFollower(Window window);

    /// To be told of every move and size of the window.
    void frameHasChanged() { m_rested.start(); }
    /// The program gives the window this frame, which is its own place from now on.
    void frameWasGiven(const QRect &frame) { m_memory.frameGiven(frame, availableAreas()); }

    /// The window's own place while it stands elsewhere for want of the screen; else nothing.
    [[nodiscard]] std::optional<QRect> home() const { return m_memory.home(); }

    /// The available areas that there were and are no longer, in points.
    [[nodiscard]] const QList<QRect> &formerAreas() const { return m_formerAreas; }

  private:
    void follow(QScreen *screen);
    void frameRested();
    void screensSettled();

    Window m_window;
    ScreenChangeMemory m_memory;
    QList<QRect> m_areas = availableAreas();
    QList<QRect> m_formerAreas;
    QTimer m_rested;  // fires when the window has not moved for a while
    QTimer m_settled; // fires when the screens have not changed for a moment
};

} // namespace lumvik
