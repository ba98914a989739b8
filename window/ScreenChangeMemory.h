#pragma once

#include "window/WindowFrame.h"

#include <QList>
#include <QRect>

#include <optional>

namespace lumvik {

/// Decides where a window belongs when screens are added, removed or scaled. A window whose screen
/// disappears gets a temporary frame on another screen. The window returns to its own frame when
/// that screen is available again, unless the user or the program moved the window in the meantime.
/// A window that was completely visible stays completely visible on the other screen.
///
/// All frames are in points. `screens` lists the areas of the screens that are available now.
class ScreenChangeMemory {
  public:
    /// Records that the window has kept `frame` for a while.
    void frameSettled(const QRect &frame, const QList<QRect> &screens);

    /// Records that the window was deliberately set to `frame`, which is its own frame from now on.
    void frameWasSet(const QRect &frame, const QList<QRect> &screens);

    /// Records a saved `frame` as the window's own frame. `area` is the area of the window's screen
    /// at the time of saving, if the area is known. Returns the frame that the window gets on the
    /// screens available now.
    [[nodiscard]] QRect restoreFrame(const QRect &frame, const std::optional<QRect> &area,
                                     const QList<QRect> &screens);

    /// Records that the program changed the window's frame from `before` to `after` in order to
    /// change its aspect ratio.
    void frameWasReshaped(const QRect &before, const QRect &after);

    /// Returns the frame that the window gets on the screens available now, or nothing if no frame
    /// of the window is known yet.
    [[nodiscard]] std::optional<QRect> screensChanged(const QList<QRect> &screens);

    /// Returns the window's own frame while the window has a temporary one, and otherwise nothing.
    [[nodiscard]] std::optional<QRect> ownFrame() const { return m_ownFrame; }
    /// Returns the area that the window's screen had when the window's own frame was set or
    /// settled. The result is empty if the area is not known.
    [[nodiscard]] QRect ownScreen() const { return m_screen; }
    /// Whether `frame` is the window's temporary frame.
    [[nodiscard]] bool isTemporaryFrame(const QRect &frame) const;

  private:
    std::optional<QRect> m_settledFrame;             // the last frame that was not a temporary one
    QRect m_screen;                                  // the screen of m_settledFrame
    ShownPart m_shownPart = ShownPart::enoughToHold; // of m_settledFrame
    std::optional<QRect> m_ownFrame;
    QRect m_temporaryFrame;
    bool m_temporaryFrameWasReached = false;
};

} // namespace lumvik
