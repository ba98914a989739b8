#include "viewer/ScreenChangeMemory.h"

#include "viewer/WindowFrame.h"

namespace lumvik {

void ScreenChangeMemory::frameRested(const QRect &frame) {
    if (m_home && frame == m_refuge)
        return;
    m_home.reset();
    m_rested = frame;
}

std::optional<QRect> ScreenChangeMemory::screensChanged(const QList<QRect> &screens) {
    const std::optional<QRect> own = m_home ? m_home : m_rested;
    if (!own)
        return std::nullopt;
    const QRect place = frameOnScreens(*own, screens);
    if (place == *own) {
        m_home.reset();
    } else {
        m_home = own;
        m_refuge = place;
    }
    return place;
}

} // namespace lumvik
