#include "platform/ThreadTimes.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace lumvik::test {
namespace {

/// A thread with a name, which either computes or sleeps until the test ends.
class NamedThread {
  public:
    enum class Work { computing, sleeping };

    NamedThread(const char *name, Work work) : m_thread([this, name, work] { run(name, work); }) {
        m_isNamed.wait(false);
    }
    NamedThread(const NamedThread &) = delete;
    NamedThread &operator=(const NamedThread &) = delete;
    ~NamedThread() {
        m_ends = true;
        m_ends.notify_all();
        m_thread.join();
    }

  private:
    void run(const char *name, Work work) {
        pthread_setname_np(pthread_self(), name);
        m_isNamed = true;
        m_isNamed.notify_all();
        if (work == Work::sleeping)
            m_ends.wait(false);
        while (!m_ends) {
        }
    }

    std::atomic<bool> m_isNamed = false;
    std::atomic<bool> m_ends = false;
    std::thread m_thread;
};

double runningTimeOf(const char *name) {
    const auto times = timesOfThreads({name});
    return times ? times->running : -1;
}

TEST(ThreadTimes, OnlyTheThreadsWithTheNameCount) {
    const NamedThread busy("busy) R 1 1", NamedThread::Work::computing);
    const NamedThread idle("idle", NamedThread::Work::sleeping);
    while (runningTimeOf("busy) R 1 1") < 0.2)
        std::this_thread::yield();
    EXPECT_LT(runningTimeOf("idle"), 0.1);
    EXPECT_GE(runningTimeOf("idle"), 0);
}

TEST(ThreadTimes, TimesOfSeveralThreadsAreAdded) {
    const NamedThread one("one", NamedThread::Work::computing);
    const NamedThread two("two", NamedThread::Work::computing);
    while (runningTimeOf("one") < 0.1 || runningTimeOf("two") < 0.1)
        std::this_thread::yield();
    const double separately = runningTimeOf("one") + runningTimeOf("two");
    const auto together = timesOfThreads({"two", "one", "three"});
    ASSERT_TRUE(together);
    EXPECT_GE(together->running, separately);
}

TEST(ThreadTimes, ThreadWithoutAFreeCoreWaits) {
    const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
    std::vector<std::unique_ptr<NamedThread>> threads;
    for (unsigned n = 0; n < cores + 1; ++n)
        threads.push_back(std::make_unique<NamedThread>("crowd", NamedThread::Work::computing));
    const auto waiting = [] {
        const auto times = timesOfThreads({"crowd"});
        return times ? times->waiting : 0;
    };
    while (waiting() < 0.05)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_GT(runningTimeOf("crowd"), 0);
}

TEST(ThreadTimes, NothingIsReturnedWithoutSuchAThread) {
    EXPECT_FALSE(timesOfThreads({"no such thread"}));
    EXPECT_FALSE(timesOfThreads({}));
}

} // namespace
} // namespace lumvik::test
