#pragma once

#include "platform/MainQueue.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace lumvik::test {

/// A main queue with a virtual clock, which moves only when the test moves it. A wait of thirty
/// seconds takes microseconds, and the order of all work is deterministic.
///
///     VirtualMainQueue queue;
///     const auto item = queue.after(30, [&] { ++runs; });
///     queue.advance(30);
///     EXPECT_EQ(runs, 1);
///
/// Work runs only when the test calls `runPending`, `advance` or `runUntil`. `runPending` runs the
/// work that is due now. `advance` moves the clock and runs each piece of work that becomes due at
/// its own time. `runUntil` waits for work from other threads. The thread that creates the queue is
/// its main thread; calling any function other than `async` on another thread terminates the
/// process.
class VirtualMainQueue final : public MainQueue {
  public:
    ~VirtualMainQueue() override = default;

    // ---- MainQueue ----

    void async(Work work) override {
        const std::scoped_lock guard(m_mutex);
        m_submitted.push_back(std::move(work));
        m_arrived.notify_all();
    }

    [[nodiscard]] std::shared_ptr<WorkItem> after(double seconds, Work work) override {
        requireMainThread();
        require(seconds >= 0, "work cannot be due in the past");
        auto item = std::make_shared<WorkItem>();
        m_timers.push_back({m_now + seconds, m_nextNumber++, std::nullopt, std::move(work),
                            [item] { return item->isCancelled(); }});
        return item;
    }

    [[nodiscard]] std::unique_ptr<RepeatingTimer> repeating(double seconds, Work work) override {
        requireMainThread();
        require(seconds > 0, "a timer needs an interval");
        auto isValid = std::make_shared<bool>(true);
        m_timers.push_back({m_now + seconds, m_nextNumber++, seconds, std::move(work),
                            [isValid] { return !*isValid; }});
        return std::make_unique<Timer>(isValid);
    }

    [[nodiscard]] TimeStamp now() const override { return m_now; }

    // ---- For tests ----

    /// Runs all work that is due now, including work that is submitted meanwhile.
    void runPending() { advance(0); }

    /// Moves the clock by `seconds` and runs all work that becomes due, in order.
    void advance(double seconds) {
        requireMainThread();
        const TimeStamp end = m_now + seconds;
        runSubmitted();
        while (runNextTimer(end))
            runSubmitted();
        // Work that called advance() itself may have moved the clock beyond `end`.
        m_now = std::max(m_now, end);
    }

    /// Moves the clock by `seconds` without running any work, which simulates that the machine
    /// sleeps. The next `advance` runs the work that became due. A repeating timer that became due
    /// several times runs only once.
    void jump(double seconds) {
        requireMainThread();
        m_now += seconds;
        for (Entry &entry : m_timers)
            entry.due = std::max(entry.due, m_now);
    }

    /// Runs the work that is due and the work that other threads submit, until `predicate` returns
    /// true. Returns false if `predicate` is still false after `deadline` of real time. The virtual
    /// clock does not move.
    template<typename Predicate>
    [[nodiscard]] bool runUntil(Predicate predicate,
                                std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
        const auto end = std::chrono::steady_clock::now() + deadline;
        while (true) {
            runPending();
            if (predicate())
                return true;
            if (std::chrono::steady_clock::now() >= end)
                return false;
            // New work ends the wait. The time-out is for a `predicate` that changes without any
            // work.
            std::unique_lock guard(m_mutex);
            m_arrived.wait_for(guard, std::chrono::milliseconds(5),
                               [this] { return !m_submitted.empty(); });
        }
    }

    /// Waits until another thread has submitted work, without running that work. Returns false if
    /// no work is submitted within `deadline`.
    [[nodiscard]] bool waitForWork(std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
        std::unique_lock guard(m_mutex);
        return m_arrived.wait_for(guard, deadline, [this] { return !m_submitted.empty(); });
    }

    /// Returns how many pieces of submitted work wait to run. Delayed work is not counted.
    [[nodiscard]] std::size_t submittedCount() const {
        const std::scoped_lock guard(m_mutex);
        return m_submitted.size();
    }

    /// Returns the seconds until each piece of delayed work and each timer is due, in ascending
    /// order. Cancelled work is not included.
    [[nodiscard]] std::vector<double> delays() const {
        std::vector<double> delays;
        for (const Entry &entry : m_timers) {
            if (!entry.isOver())
                delays.push_back(entry.due - m_now);
        }
        std::sort(delays.begin(), delays.end());
        return delays;
    }

  private:
    struct Entry {
        TimeStamp due = 0;
        std::uint64_t number = 0; // orders work that is due at the same time
        std::optional<double> interval;
        Work work;
        std::function<bool()> isOver;
    };

    class Timer final : public RepeatingTimer {
      public:
        explicit Timer(std::shared_ptr<bool> isValid) : m_isValid(std::move(isValid)) {}
        ~Timer() override { *m_isValid = false; }

      private:
        std::shared_ptr<bool> m_isValid;
    };

    static void require(bool condition, const char *otherwise) {
        if (!condition) {
            std::fprintf(stderr, "VirtualMainQueue: %s\n", otherwise);
            std::abort();
        }
    }
    void requireMainThread() const {
        require(std::this_thread::get_id() == m_mainThread, "used on another thread");
    }

    void runSubmitted() {
        while (true) {
            Work work;
            {
                const std::scoped_lock guard(m_mutex);
                if (m_submitted.empty())
                    return;
                work = std::move(m_submitted.front());
                m_submitted.pop_front();
            }
            work();
        }
    }

    /// Runs the first piece of delayed work that is due by `end`. Returns false if no work is due.
    bool runNextTimer(TimeStamp end) {
        std::erase_if(m_timers, [](const Entry &entry) { return entry.isOver(); });
        const auto next = std::min_element(
            m_timers.begin(), m_timers.end(), [](const Entry &left, const Entry &right) {
                return left.due != right.due ? left.due < right.due : left.number < right.number;
            });
        if (next == m_timers.end() || next->due > end)
            return false;
        m_now = std::max(m_now, next->due);
        // The work is copied and removed from the list before it runs, because it may add to the
        // list or cancel itself.
        const Work work = next->work;
        if (next->interval) {
            next->due += *next->interval;
            next->number = m_nextNumber++;
        } else {
            m_timers.erase(next);
        }
        work();
        return true;
    }

    std::thread::id m_mainThread = std::this_thread::get_id();
    TimeStamp m_now = 1000; // A start at 0 would hide a time stamp that was never set.
    std::uint64_t m_nextNumber = 0;
    std::vector<Entry> m_timers;
    mutable std::mutex m_mutex; // guards m_submitted
    std::condition_variable m_arrived;
    std::deque<Work> m_submitted;
};

} // namespace lumvik::test
