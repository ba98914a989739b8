#include "VirtualMainQueue.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

TEST(VirtualMainQueue, RunsSubmittedWorkInOrderAndOnlyWhenAsked) {
    VirtualMainQueue queue;
    std::vector<int> order;
    queue.async([&] {
        order.push_back(1);
        queue.async([&] { order.push_back(3); });
    });
    queue.async([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    queue.runPending();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(VirtualMainQueue, RunsDelayedWorkWhenItIsDue) {
    VirtualMainQueue queue;
    const TimeStamp start = queue.now();
    std::vector<double> moments;
    const auto note = [&] { moments.push_back(queue.now() - start); };
    const auto late = queue.after(30, note);
    const auto early = queue.after(2, note);
    queue.advance(1.5);
    EXPECT_TRUE(moments.empty());
    queue.advance(60);
    EXPECT_EQ(moments, (std::vector<double>{2, 30}));
    EXPECT_DOUBLE_EQ(queue.now() - start, 61.5);
}

TEST(VirtualMainQueue, RunsWorkThatOtherWorkAdded) {
    VirtualMainQueue queue;
    std::vector<int> order;
    std::shared_ptr<WorkItem> second;
    const auto first = queue.after(1, [&] {
        order.push_back(1);
        second = queue.after(1, [&] { order.push_back(2); });
        queue.async([&] { order.push_back(11); });
    });
    queue.advance(2);
    EXPECT_EQ(order, (std::vector<int>{1, 11, 2}));
}

TEST(VirtualMainQueue, KeepsCancelledWorkFromRunning) {
    VirtualMainQueue queue;
    int runs = 0;
    const auto item = queue.after(1, [&] { ++runs; });
    // Dropping the returned item does not cancel the work.
    static_cast<void>(queue.after(1, [&] { runs += 10; }));
    EXPECT_EQ(queue.delays(), (std::vector<double>{1, 1}));
    item->cancel();
    EXPECT_EQ(queue.delays(), (std::vector<double>{1}));
    queue.advance(5);
    EXPECT_EQ(runs, 10);
}

TEST(VirtualMainQueue, RepeatsTimersUntilTheyAreDestroyed) {
    VirtualMainQueue queue;
    int dropped = 0;
    auto toDrop = queue.repeating(2, [&] { ++dropped; });
    queue.advance(7);
    EXPECT_EQ(dropped, 3);
    toDrop.reset();
    queue.advance(10);
    EXPECT_EQ(dropped, 3);
}

TEST(VirtualMainQueue, TimerMayDestroyItselfWhileItRuns) {
    VirtualMainQueue queue;
    int runs = 0;
    std::unique_ptr<RepeatingTimer> timer;
    timer = queue.repeating(1, [&] {
        ++runs;
        timer.reset();
    });
    queue.advance(5);
    EXPECT_EQ(runs, 1);
}

TEST(VirtualMainQueue, WaitsForWorkFromOtherThreads) {
    VirtualMainQueue queue;
    bool ran = false;
    std::thread other([&] { queue.async([&] { ran = true; }); });
    EXPECT_TRUE(queue.runUntil([&] { return ran; }));
    other.join();
    EXPECT_FALSE(queue.runUntil([] { return false; }, std::chrono::milliseconds(1)));
}

TEST(VirtualMainQueueDeathTest, UseOnAnotherThreadTerminatesTheProcess) {
    VirtualMainQueue queue;
    EXPECT_DEATH(std::thread([&] { queue.runPending(); }).join(), "used on another thread");
}

} // namespace
} // namespace lumvik::test
