#include "viewer/ViewerControlLayout.h"

#include <algorithm>

namespace lumvik {

namespace {

constexpr qreal margin = 12;
constexpr qreal gap = 6;
constexpr qreal buttonWidth = 28;
constexpr qreal controlHeight = 24;
constexpr qreal minimumPickerWidth = 140;

void layOutRegular(const ViewerControlSizes &sizes, ViewerControlFrames &frames) {
    const qreal trailing = frames.pin.left() - gap;
    const qreal besideStrip = trailing - (margin + sizes.menuStripWidth + gap);
    const bool stripFits = besideStrip >= minimumPickerWidth;
    if (stripFits)
        frames.menuStrip = QRectF(margin, margin, sizes.menuStripWidth, controlHeight);
    const qreal room = stripFits ? besideStrip : trailing - margin;
    const qreal width = std::max(minimumPickerWidth, std::min(sizes.pickerWidth, room));
    frames.picker = QRectF(trailing - width, margin, width, controlHeight);
}

void layOutCompact(const ViewerControlSizes &, ViewerControlFrames &frames) {
    frames.picker = QRectF(margin, frames.close.bottom() + gap,
                           std::max(frames.close.right() - margin, 0.0), controlHeight);
}

} // namespace

ViewerControlFrames viewerControlFrames(ViewerControlArrangement arrangement,
                                        const ViewerControlSizes &sizes) {
    ViewerControlFrames frames;
    frames.close =
        QRectF(sizes.content.width() - margin - buttonWidth, margin, buttonWidth, controlHeight);
    frames.focus = frames.close.translated(-(buttonWidth + gap), 0);
    frames.pin = frames.focus.translated(-(buttonWidth + gap), 0);
    switch (arrangement) {
    case ViewerControlArrangement::regular:
        layOutRegular(sizes, frames);
        break;
    case ViewerControlArrangement::compact:
        layOutCompact(sizes, frames);
        break;
    }
    return frames;
}

} // namespace lumvik
