#include "editor/DragImageMask.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWindow>

namespace lumvik {

DragImageMask::DragImageMask(const QRegion &mask) : m_mask(mask) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool DragImageMask::eventFilter(QObject *watched, QEvent *event) {
    // The event comes before the window appears, and after the system's window exists. Qt sets a
    // mask of its own too early, so the mask is lost.
    if (event->type() == QEvent::Show && watched->inherits("QShapedPixmapWindow"))
        static_cast<QWindow *>(watched)->setMask(m_mask);
    return false;
}

} // namespace lumvik
