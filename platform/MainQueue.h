#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace lumvik {

/// Seconds on a clock that never jumps: it counts the time that the machine slept and ignores
/// changes of the wall clock. Only differences mean anything.
using TimeStamp = double;

/// A piece of deferred work that can be cancelled until it runs. Used on the main thread only.
class WorkItem {
  public:
    void cancel() { m_cancelled = true; }
    [[nodiscard]] bool isCancelled() const { return m_cancelled; }

  private:
    bool m_cancelled = false;
};

/// A timer that fires until it is dropped or invalidated. Used on the main thread only.
class RepeatingTimer {
  public:
    RepeatingTimer() = default;
    RepeatingTimer(const RepeatingTimer &) = delete;
    RepeatingTimer &operator=(const RepeatingTimer &) = delete;
    virtual ~RepeatingTimer() = default;
    /// Ends the timer; it never fires again. Harmless when repeated.
    virtual void invalidate() = 0;
};

/// The main thread's queue of work, and the clock that goes with it.
///
/// The program uses QtMainQueue; tests put one with a clock of their own in its place, so that a
/// wait of thirty seconds takes no time. `async` may be called on any thread, everything else on
/// the main thread only. Work that captures the controller holds it weakly.
class MainQueue {
  public:
    using Work = std::function<void()>;

    MainQueue() = default;
    MainQueue(const MainQueue &) = delete;
    MainQueue &operator=(const MainQueue &) = delete;
    virtual ~MainQueue() = default;

    /// Runs `work` on the main thread in a later turn, in the order of submission.
    virtual void async(Work work) = 0;

    /// Runs `work` once `seconds` (at least 0) have elapsed, unless the returned item is cancelled
    /// by then. Dropping the item does not cancel it.
    [[nodiscard]] virtual std::shared_ptr<WorkItem> after(double seconds, Work work) = 0;

    /// Runs `work` every `seconds` (above 0) for as long as the returned timer lives.
    [[nodiscard]] virtual std::unique_ptr<RepeatingTimer> repeating(double seconds, Work work) = 0;

    /// The current time.
    [[nodiscard]] virtual TimeStamp now() const = 0;
};

/// The main queue over Qt's event loop. Made on the main thread, after the application object; work
/// still waiting when it is destroyed is dropped.
class QtMainQueue final : public MainQueue {
  public:
    void async(Work work) override;
    [[nodiscard]] std::shared_ptr<WorkItem> after(double seconds, Work work) override;
    [[nodiscard]] std::unique_ptr<RepeatingTimer> repeating(double seconds, Work work) override;
    [[nodiscard]] TimeStamp now() const override;

  private:
    QObject m_context; // lives on the main thread; ties waiting work to this queue's lifetime
};

} // namespace lumvik
