#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace lumvik {

/// A time in seconds on a monotonic clock, which includes the time that the machine slept and
/// ignores changes of the wall clock. Only differences between two values are meaningful.
using TimeStamp = double;

/// Deferred work that can be cancelled until it runs. Main thread only.
class WorkItem {
  public:
    void cancel() { m_cancelled = true; }
    [[nodiscard]] bool isCancelled() const { return m_cancelled; }

  private:
    bool m_cancelled = false;
};

/// A timer that fires until it is destroyed. Main thread only.
class RepeatingTimer {
  public:
    RepeatingTimer() = default;
    RepeatingTimer(const RepeatingTimer &) = delete;
    RepeatingTimer &operator=(const RepeatingTimer &) = delete;
    virtual ~RepeatingTimer() = default;
};

/// The main thread's work queue and clock.
///
/// The program uses QtMainQueue. Tests use an implementation with a virtual clock, so that a wait
/// of thirty seconds takes no time. `async` may be called on any thread, everything else on the
/// main thread only. Work that captures the controller must hold it weakly.
class MainQueue {
  public:
    using Work = std::function<void()>;

    MainQueue() = default;
    MainQueue(const MainQueue &) = delete;
    MainQueue &operator=(const MainQueue &) = delete;
    virtual ~MainQueue() = default;

    /// Runs `work` on the main thread in a later turn of the event loop, in order of submission.
    virtual void async(Work work) = 0;

    /// Runs `work` once `seconds` (at least 0) have elapsed, unless the returned item has been
    /// cancelled by then. Destroying the item does not cancel the work.
    [[nodiscard]] virtual std::shared_ptr<WorkItem> after(double seconds, Work work) = 0;

    /// Runs `work` every `seconds` (above 0) while the returned timer exists.
    [[nodiscard]] virtual std::unique_ptr<RepeatingTimer> repeating(double seconds, Work work) = 0;

    /// Returns the current time.
    [[nodiscard]] virtual TimeStamp now() const = 0;
};

/// A main queue based on Qt's event loop. Create the queue on the main thread, after the
/// application object. Destroying the queue drops the work that is still waiting.
class QtMainQueue final : public MainQueue {
  public:
    void async(Work work) override;
    [[nodiscard]] std::shared_ptr<WorkItem> after(double seconds, Work work) override;
    [[nodiscard]] std::unique_ptr<RepeatingTimer> repeating(double seconds, Work work) override;
    [[nodiscard]] TimeStamp now() const override;

  private:
    QObject m_context; // belongs to the main thread; its destruction drops waiting work
};

} // namespace lumvik
