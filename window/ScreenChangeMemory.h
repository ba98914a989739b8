#pragma once

#include "window/WindowFrame.h"

#include <QList>
#include <QRect>

#include <optional>

namespace lumvik {

/// Where a window belongs when screens come and go, or get another size in points with another
/// scale: on a screen that is there, and back where it was once that place is there again, unless
/// it was given another place meanwhile. What was to be seen whole is to be seen whole elsewhere.
/// In points; `screens` are the areas of the screens there are.
class ScreenChangeMemory {
  public:
    /// The window has stood here for a while.
    void frameRested(const QRect &frame, const QList<QRect> &screens);

    /// The window was given this frame on purpose, which is its own place from now on.
    void frameGiven(const QRect &frame, const QList<QRect> &screens);

    /// The window is to get a frame from earlier, when its screen was `area`, if that is known.
    /// Answers where it belongs on the screens there are now.
    [[nodiscard]] QRect frameRestored(const QRect &frame, const std::optional<QRect> &area,
                                      const QList<QRect> &screens);

    /// The program gave the window another shape where it stands.
    void frameReshaped(const QRect &before, const QRect &after);

    /// Where the window belongs on the screens there are now; nothing as long as none of its places
    /// is known.
    [[nodiscard]] std::optional<QRect> screensChanged(const QList<QRect> &screens);

    /// The window's own place while it stands elsewhere for want of the screen; else nothing.
    [[nodiscard]] std::optional<QRect> home() const { return m_home; }
    /// The screen of that place as it was; empty if it is not known.
    [[nodiscard]] QRect homeScreen() const { return m_screen; }
    /// Whether this is where the window stands instead.
    [[nodiscard]] bool isRefuge(const QRect &frame) const;

  private:
    std::optional<QRect> m_rested; // the last frame that was not for want of a screen
    QRect m_screen;                // where that was
    ShownPart m_shownPart = ShownPart::enoughToHold; // of that frame
    std::optional<QRect> m_home;
    QRect m_refuge; // where it stands instead
    bool m_refugeWasReached = false;
};

} // namespace lumvik
