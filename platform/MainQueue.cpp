#include "platform/MainQueue.h"

#include <QTimer>

#include <time.h>

#include <chrono>

namespace lumvik {

namespace {

std::chrono::milliseconds milliseconds(double seconds) {
    // The value is rounded up, because a deadline that is compared with now() must have passed when
    // the work runs.
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

class QtRepeatingTimer final : public RepeatingTimer {
  public:
    QtRepeatingTimer(double seconds, MainQueue::Work work) {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, std::move(work));
        m_timer.start(milliseconds(seconds));
    }

  private:
    QTimer m_timer;
};

} // namespace

void QtMainQueue::async(Work work) {
    QMetaObject::invokeMethod(&m_context, std::move(work), Qt::QueuedConnection);
}

std::shared_ptr<WorkItem> QtMainQueue::after(double seconds, Work work) {
    auto item = std::make_shared<WorkItem>();
    QTimer::singleShot(milliseconds(seconds), Qt::PreciseTimer, &m_context,
                       [item, work = std::move(work)] {
                           if (!item->isCancelled())
                               work();
                       });
    return item;
}

std::unique_ptr<RepeatingTimer> QtMainQueue::repeating(double seconds, Work work) {
    return std::make_unique<QtRepeatingTimer>(seconds, std::move(work));
}

TimeStamp QtMainQueue::now() const {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace lumvik
