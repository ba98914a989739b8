#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <optional>

namespace lumvik {

/// The text under which a window's frame is remembered: eight numbers, the frame's x, y, width and
/// height, then those of the screen it was on, without its panels, in the coordinates of the whole
/// desktop with the origin at the top left.
[[nodiscard]] QString savedFrameString(const QRect &frame, const QRect &screen);

/// The plain form of a frame: "{{x, y}, {w, h}}".
[[nodiscard]] QString plainFrameString(const QRect &frame);

/// The frame in a text made by savedFrameString or plainFrameString. Nothing
/// when the text is neither, or when the frame is empty or absurd (a side above 32,767, the limit
/// of X11).
[[nodiscard]] std::optional<QRect> frameFromString(const QString &text);

/// The screen that savedFrameString wrote behind a frame; nothing in any other text, and when it is
/// empty or absurd.
[[nodiscard]] std::optional<QRect> screenFromString(const QString &text);

/// How much of a frame has to lie on one screen.
enum class ShownPart {
    enoughToHold, ///< 48 × 24 points, for the user to take hold of the window
    all,
};

/// The screen that holds most of a frame, the first of equals; an empty one where there is none.
[[nodiscard]] QRect screenOf(const QRect &frame, const QList<QRect> &screens);

/// Where a frame goes on the screens there are now: itself where the part of it that has to be
/// shown lies on one of them and it is no larger than that one; else, made smaller with its shape
/// kept if need be, the nearest place wholly on the screen it overlaps most, or on the first one.
/// With no screens `frame` itself.
[[nodiscard]] QRect frameOnScreens(const QRect &frame, const QList<QRect> &screens,
                                   ShownPart part = ShownPart::enoughToHold);

/// A frame of `size` in the middle of `area`; a larger size is reduced to the area with its shape
/// kept.
[[nodiscard]] QRect centredFrame(const QSize &size, const QRect &area);

} // namespace lumvik
