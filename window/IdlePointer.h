#pragma once

#include "platform/MainQueue.h"

#include <QCursor>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// Hides the pointer while it rests over a window in full screen, where it would lie in the picture
/// for days. Any movement, click or turn of the wheel shows it again. Main thread only.
class IdlePointer final : public QObject {
    Q_OBJECT

  public:
    /// How long the pointer must rest, in seconds.
    static constexpr double restingTime = 3;

    struct Handlers {
        /// Whether the pointer may be hidden now. If not, it is asked again after `restingTime`.
        std::function<bool()> mayHide;
        std::function<void()> didHide;
    };

    /// `window` must outlive this object.
    IdlePointer(QQuickWindow &window, MainQueue &mainQueue, Handlers handlers);
    ~IdlePointer() override;

    [[nodiscard]] bool isHidden() const { return m_cursor.has_value(); }

    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void show();
    void awaitRest();
    void stopWaiting();
    void pointerRests();

    QQuickWindow &m_window;
    MainQueue &m_mainQueue;
    const Handlers m_handlers;
    std::shared_ptr<WorkItem> m_rest;
    std::optional<QCursor> m_cursor; // the one to show again, while the pointer is hidden
};

} // namespace lumvik
