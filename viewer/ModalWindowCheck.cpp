#include "viewer/ModalWindowCheck.h"

#include "window/ViewerWindow.h"

#include <QGuiApplication>

#include <algorithm>

namespace lumvik {

namespace {

bool blocksViewer(const QWindow &window) {
    if (!window.isVisible() || window.modality() == Qt::NonModal)
        return false;
    if (window.modality() == Qt::ApplicationModal)
        return true;
    for (const QWindow *each = &window; each != nullptr; each = each->transientParent()) {
        if (qobject_cast<const ViewerWindow *>(each) != nullptr)
            return true;
    }
    return false;
}

} // namespace

bool modalWindowBlocksViewer() {
    const QWindowList windows = QGuiApplication::topLevelWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [](const QWindow *window) { return blocksViewer(*window); });
}

} // namespace lumvik
