#pragma once

#include <QRectF>
#include <QSizeF>

#include <functional>

namespace lumvik {

/// The sizes that the layout of the message depends on, in points.
struct PictureNoticeSizes {
    QSizeF content;           ///< Of the window's content.
    qreal controlsBottom = 0; ///< The lower edge of the controls, even while they are hidden.
    /// The heights of the three lines when they are wrapped at a width. 0 for an empty line.
    std::function<qreal(qreal width)> titleHeight;
    std::function<qreal(qreal width)> causeHeight;
    std::function<qreal(qreal width)> nextHeight;
    QSizeF tryNow;    ///< Of the button; empty if it is not offered.
    QSizeF addresses; ///< Of the button; empty if it is not offered.
};

/// The rectangles of the parts of the message. A part with a null rectangle is not shown.
struct PictureNoticeFrames {
    QRectF title;
    QRectF cause;
    QRectF next;
    QRectF tryNow;
    QRectF addresses;
};

/// In a window that is narrower than this, only the cause and the buttons are shown, in points.
inline constexpr qreal narrowNoticeWidth = 360;

/// Returns the layout of the message: its parts are centred one below the other, below the
/// controls. The buttons are side by side if there is room. Where the window is too small for
/// everything, the parts are left out in this order: what happens next, the title, the button for
/// the addresses, the other button. The cause is always shown if there is one, even if its end is
/// cut off.
[[nodiscard]] PictureNoticeFrames pictureNoticeFrames(const PictureNoticeSizes &sizes);

} // namespace lumvik
