#include "window/ScreenChangeMemory.h"

namespace lumvik {

void ScreenChangeMemory::frameRested(const QRect &frame, const QList<QRect> &screens) {
    if (isRefuge(frame)) {
        m_refuge = frame;
        m_refugeWasReached = true;
        return;
    }
    frameGiven(frame, screens);
}

bool ScreenChangeMemory::isRefuge(const QRect &frame) const {
    // A window manager may let it come to rest a little smaller, in its video's shape.
    return m_home && (m_refugeWasReached ? frame == m_refuge : m_refuge.contains(frame));
}

void ScreenChangeMemory::frameGiven(const QRect &frame, const QList<QRect> &screens) {
    m_home.reset();
    m_rested = frame;
    m_screen = screenOf(frame, screens);
    m_shownPart = m_screen.contains(frame) ? ShownPart::all : ShownPart::enoughToHold;
}

QRect ScreenChangeMemory::frameRestored(const QRect &frame, const std::optional<QRect> &area,
                                        const QList<QRect> &screens) {
    frameGiven(frame, area ? QList<QRect>{*area} : QList<QRect>());
    return screensChanged(screens).value_or(frame);
}

void ScreenChangeMemory::frameReshaped(const QRect &before, const QRect &after) {
    if (!isRefuge(before))
        return;
    m_refuge = after;
    m_refugeWasReached = false;
}

std::optional<QRect> ScreenChangeMemory::screensChanged(const QList<QRect> &screens) {
    const std::optional<QRect> own = m_home ? m_home : m_rested;
    if (!own)
        return std::nullopt;
    const QRect place = frameOnScreens(*own, screens, m_shownPart);
    if (place == *own) {
        m_home.reset();
    } else {
        m_home = own;
        m_refuge = place;
        m_refugeWasReached = false;
    }
    return place;
}

} // namespace lumvik
