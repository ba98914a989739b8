#include "window/IdlePointer.h"

#include <QEvent>

#include <utility>

namespace lumvik {

IdlePointer::IdlePointer(QQuickWindow &window, MainQueue &mainQueue, Handlers handlers)
    : m_window(window)
    , m_mainQueue(mainQueue)
    , m_handlers(std::move(handlers)) {
    m_window.installEventFilter(this);
    connect(&m_window, &QWindow::windowStateChanged, this, [this] {
        show();
        awaitRest();
    });
}

IdlePointer::~IdlePointer() {
    stopWaiting();
}

bool IdlePointer::eventFilter(QObject *, QEvent *event) {
    switch (static_cast<int>(event->type())) { // there are far too many kinds to name all
    case QEvent::Enter:
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::Wheel:
        show();
        awaitRest();
        break;
    case QEvent::Leave: // another window has the pointer, and reports no movements here
        show();
        stopWaiting();
        break;
    default:
        break;
    }
    return false;
}

void IdlePointer::show() {
    const auto cursor = std::exchange(m_cursor, std::nullopt);
    // The content may have chosen another shape in the meantime.
    if (cursor && m_window.cursor().shape() == Qt::BlankCursor)
        m_window.setCursor(*cursor);
}

void IdlePointer::awaitRest() {
    stopWaiting();
    if (!m_window.windowStates().testFlag(Qt::WindowFullScreen))
        return;
    m_rest = m_mainQueue.after(restingTime, [self = QPointer(this)] {
        if (self)
            self->pointerRests();
    });
}

void IdlePointer::stopWaiting() {
    if (const auto rest = std::exchange(m_rest, nullptr))
        rest->cancel();
}

void IdlePointer::pointerRests() {
    m_rest.reset();
    if (!m_handlers.mayHide())
        return awaitRest();
    m_cursor = m_window.cursor();
    m_window.setCursor(Qt::BlankCursor);
    m_handlers.didHide();
}

} // namespace lumvik
