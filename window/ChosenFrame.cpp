#include "window/ChosenFrame.h"

#include <cstdlib>

namespace lumvik {

namespace {

/// Window managers round sizes to the pixels of the screen.
constexpr int rounding = 2;

bool isAbout(const QSize &one, const QSize &other) {
    return std::abs(one.width() - other.width()) <= rounding &&
           std::abs(one.height() - other.height()) <= rounding;
}

} // namespace

QRect ChosenFrame::frameToShape(const QRect &current) const {
    if (!m_last || !isAbout(current.size(), m_last->shaped.size()))
        return current;
    if ((current.topLeft() - m_last->shaped.topLeft()).manhattanLength() <= rounding)
        return m_last->chosen;
    QRect moved(QPoint(), m_last->chosen.size());
    moved.moveCenter(current.center());
    return moved;
}

void ChosenFrame::wasShaped(const QRect &chosen, const QRect &shaped) {
    m_last = {chosen, shaped};
}

} // namespace lumvik
