#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <QThread>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <thread>

namespace lumvik {
namespace {

/// Runs the event loop until `condition` is true. Returns false after five seconds.
template<typename Condition>
bool eventually(Condition condition) {
    return QTest::qWaitFor(condition, 5000);
}

TEST(QtMainQueue, RunsWorkInALaterTurnAndInOrder) {
    QtMainQueue queue;
    QList<int> order;
    queue.async([&] { order.append(1); });
    queue.async([&] { order.append(2); });
    EXPECT_TRUE(order.isEmpty());
    EXPECT_TRUE(eventually([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (QList<int>{1, 2}));
}

TEST(QtMainQueue, RunsWorkFromOtherThreadsOnTheMainThread) {
    QtMainQueue queue;
    QThread *ranOn = nullptr;
    std::thread other([&] { queue.async([&] { ranOn = QThread::currentThread(); }); });
    other.join();
    EXPECT_TRUE(eventually([&] { return ranOn != nullptr; }));
    EXPECT_EQ(ranOn, QCoreApplication::instance()->thread());
}

TEST(QtMainQueue, RunsDelayedWorkNoEarlierThanRequested) {
    QtMainQueue queue;
    const TimeStamp start = queue.now();
    TimeStamp ranAt = 0;
    const auto item = queue.after(0.05, [&] { ranAt = queue.now(); });
    EXPECT_TRUE(eventually([&] { return ranAt > 0; }));
    EXPECT_GE(ranAt - start, 0.05);
}

TEST(QtMainQueue, DoesNotRunCancelledWork) {
    QtMainQueue queue;
    bool cancelledRan = false;
    bool laterRan = false;
    const auto cancelled = queue.after(0.01, [&] { cancelledRan = true; });
    const auto later = queue.after(0.05, [&] { laterRan = true; });
    cancelled->cancel();
    EXPECT_TRUE(eventually([&] { return laterRan; }));
    EXPECT_FALSE(cancelledRan);
}

TEST(QtMainQueue, DroppingTheItemDoesNotCancelTheWork) {
    QtMainQueue queue;
    bool ran = false;
    (void)queue.after(0.01, [&] { ran = true; });
    EXPECT_TRUE(eventually([&] { return ran; }));
}

TEST(QtMainQueue, RepeatsUntilTheTimerIsDropped) {
    QtMainQueue queue;
    int ticks = 0;
    auto timer = queue.repeating(0.01, [&] { ++ticks; });
    EXPECT_TRUE(eventually([&] { return ticks >= 3; }));
    timer.reset();
    const int ticksThen = ticks;
    bool laterRan = false;
    const auto later = queue.after(0.05, [&] { laterRan = true; });
    EXPECT_TRUE(eventually([&] { return laterRan; }));
    EXPECT_EQ(ticks, ticksThen);
}

TEST(QtMainQueue, DestructionDropsWaitingWork) {
    bool ran = false;
    {
        QtMainQueue queue;
        queue.async([&] { ran = true; });
        (void)queue.after(0, [&] { ran = true; });
    }
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
}

TEST(QtMainQueue, ClockNeverRunsBackwards) {
    const QtMainQueue queue;
    TimeStamp last = queue.now();
    for (int n = 0; n < 1000; ++n) {
        const TimeStamp next = queue.now();
        ASSERT_GE(next, last);
        last = next;
    }
}

} // namespace
} // namespace lumvik
