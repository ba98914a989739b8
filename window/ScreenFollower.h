#pragma once

#include "window/ScreenChangeMemory.h"

#include <QObject>
#include <QTimer>

#include <functional>

class QScreen;

namespace lumvik {

/// Returns the parts of all screens that panels leave free, in points. The area of the primary
/// screen is the first element.
[[nodiscard]] QList<QRect> availableAreas();

/// Moves a window when screens are added, removed or scaled, as its ScreenChangeMemory decides. Use
/// this class only where the program, not the compositor, places windows. Main thread only.
class ScreenFollower final : public QObject {
    Q_OBJECT

  public:
    struct Window {
        /// Returns the frame that the window has or is being animated to. Returns nothing while the
        /// user does not choose the frame, for example in full screen.
        std::function<std::optional<QRect>()> frame;
        std::function<void(const QRect &)> move;
        /// Called when the result of ScreenChangeMemory::ownFrame has changed.
        std::function<void()> ownFrameChanged;
    };
    explicit ScreenFollower(Window window);

    /// Must be called whenever the window has been moved or resized.
    void frameHasChanged() { m_frameSettled.start(); }
    /// Records the window's current frame as settled. While the screens are changing or a mouse
    /// button is held down, the frame is recorded later.
    void recordSettledFrame();

    /// The window's own and temporary frames, for the window to read and to update.
    [[nodiscard]] ScreenChangeMemory &memory() { return m_memory; }

  private:
    void follow(QScreen *screen);
    void screensSettled();

    Window m_window;
    ScreenChangeMemory m_memory;
    QTimer m_frameSettled;   // fires when the window has not moved for a while
    QTimer m_screensSettled; // fires when the screens have not changed for a moment
};

} // namespace lumvik
