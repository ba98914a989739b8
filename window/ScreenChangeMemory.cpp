#include "window/ScreenChangeMemory.h"

namespace lumvik {

void ScreenChangeMemory::frameSettled(const QRect &frame, const QList<QRect> &screens) {
    if (isTemporaryFrame(frame)) {
        m_temporaryFrame = frame;
        m_temporaryFrameWasReached = true;
        return;
    }
    frameWasSet(frame, screens);
}

bool ScreenChangeMemory::isTemporaryFrame(const QRect &frame) const {
    // The window may settle at a slightly smaller size, because a window manager keeps the video's
    // aspect ratio.
    return m_ownFrame && (m_temporaryFrameWasReached ? frame == m_temporaryFrame
                                                     : m_temporaryFrame.contains(frame));
}

void ScreenChangeMemory::frameWasSet(const QRect &frame, const QList<QRect> &screens) {
    m_ownFrame.reset();
    m_settledFrame = frame;
    m_screen = screenOf(frame, screens);
    m_shownPart = m_screen.contains(frame) ? ShownPart::all : ShownPart::enoughToHold;
}

QRect ScreenChangeMemory::restoreFrame(const QRect &frame, const std::optional<QRect> &area,
                                       const QList<QRect> &screens) {
    frameWasSet(frame, area ? QList<QRect>{*area} : QList<QRect>());
    return screensChanged(screens).value_or(frame);
}

void ScreenChangeMemory::frameWasReshaped(const QRect &before, const QRect &after) {
    if (!isTemporaryFrame(before))
        return;
    m_temporaryFrame = after;
    m_temporaryFrameWasReached = false;
}

std::optional<QRect> ScreenChangeMemory::screensChanged(const QList<QRect> &screens) {
    const std::optional<QRect> own = m_ownFrame ? m_ownFrame : m_settledFrame;
    if (!own)
        return std::nullopt;
    const QRect frame = frameOnScreens(*own, screens, m_shownPart);
    if (frame == *own) {
        m_ownFrame.reset();
    } else {
        m_ownFrame = own;
        m_temporaryFrame = frame;
        m_temporaryFrameWasReached = false;
    }
    return frame;
}

} // namespace lumvik
