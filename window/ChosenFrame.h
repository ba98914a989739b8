#pragma once

#include <QRect>

#include <optional>

namespace lumvik {

/// Remembers the frame that the user has given a window whose shape follows its picture. A frame
/// for a new shape is always derived from the chosen frame: derived from one another, frames would
/// shrink at the edges of the screen and wander across it with each change of the picture.
///
/// A plain value without a window.
class ChosenFrame {
  public:
    /// Returns the frame from which a frame for a new shape is to be derived, while the window has
    /// the frame `current`. A window that was only moved keeps its chosen size, around its new
    /// centre. A window with another size was resized, which makes `current` the chosen frame.
    [[nodiscard]] QRect frameToShape(const QRect &current) const;

    /// The window gets the frame `shaped`, which was derived from `chosen`.
    void wasShaped(const QRect &chosen, const QRect &shaped);

  private:
    struct Shaping {
        QRect chosen;
        QRect shaped;
    };
    std::optional<Shaping> m_last;
};

} // namespace lumvik
