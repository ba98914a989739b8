#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <optional>

namespace lumvik {

/// Returns the text that saves a window's frame. The text consists of eight numbers: x, y, width
/// and height of the frame, then the same four numbers for the part of the screen that panels leave
/// free. The coordinates are those of the whole desktop, with the origin at the top left.
[[nodiscard]] QString savedFrameString(const QRect &frame, const QRect &screen);

/// Returns the plain form of a frame: "{{x, y}, {w, h}}".
[[nodiscard]] QString plainFrameString(const QRect &frame);

/// Returns the frame in a text made by savedFrameString or plainFrameString. Returns nothing if the
/// text is neither, if the frame is empty, or if one of its numbers exceeds 32,767, the limit of
/// X11.
[[nodiscard]] std::optional<QRect> frameFromString(const QString &text);

/// Returns the screen in a text made by savedFrameString. Returns nothing for any other text, if
/// the screen is empty, or if one of its numbers exceeds the limit of X11.
[[nodiscard]] std::optional<QRect> screenFromString(const QString &text);

/// How much of a frame must be visible on one screen.
enum class ShownPart {
    enoughToHold, ///< 48 × 24 points, enough for the user to drag the window
    all,
};

/// Returns the screen that overlaps the frame most, or the first of several such screens. Returns
/// an empty rectangle if there are no screens.
[[nodiscard]] QRect screenOf(const QRect &frame, const QList<QRect> &screens);

/// Fits a frame to the available screens. The frame is fitted to the screen that overlaps it most,
/// or to the first screen if none overlaps it. A frame that is no larger than this screen and has
/// the required part on it is returned as it is. Any other frame is moved as little as possible to
/// lie completely on the screen. A frame that is too large is also reduced, with its aspect ratio
/// kept. Without screens the result is `frame` itself.
[[nodiscard]] QRect frameOnScreens(const QRect &frame, const QList<QRect> &screens,
                                   ShownPart part = ShownPart::enoughToHold);

/// Returns a frame of `size` in the middle of `area`. A size that exceeds the area is reduced to
/// fit, with its aspect ratio kept.
[[nodiscard]] QRect centredFrame(const QSize &size, const QRect &area);

} // namespace lumvik
