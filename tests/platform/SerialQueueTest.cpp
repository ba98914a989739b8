#include "platform/SerialQueue.h"

#include "platform/SerialQueueHandle.h"

#include <QThread>

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace lumvik {
namespace {

TEST(SerialQueue, RunsAllWorkInOrderBeforeDestruction) {
    std::vector<int> order;
    {
        SerialQueue queue(QStringLiteral("test"));
        for (int n = 0; n < 100; ++n)
            queue.async([&order, n] { order.push_back(n); });
    }
    ASSERT_EQ(order.size(), 100U);
    for (int n = 0; n < 100; ++n)
        EXPECT_EQ(order[static_cast<std::size_t>(n)], n);
}

TEST(SerialQueue, RunsWorkOnOneThreadOfItsOwn) {
    std::vector<std::thread::id> threads;
    {
        SerialQueue queue(QStringLiteral("test"));
        for (int n = 0; n < 3; ++n)
            queue.async([&] { threads.push_back(std::this_thread::get_id()); });
    }
    ASSERT_EQ(threads.size(), 3U);
    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_EQ(threads[1], threads[2]);
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

/// Returns the kernel's name for the thread of a queue with this label.
std::string threadName(const QString &label) {
    char name[16] = {};
    {
        SerialQueue queue(label);
        queue.async([&] {
            EXPECT_EQ(QThread::currentThread()->objectName(), label);
            pthread_getname_np(pthread_self(), name, sizeof name);
        });
    }
    return name;
}

TEST(SerialQueue, LastPartOfTheLabelNamesTheThread) {
    EXPECT_EQ(threadName(QStringLiteral("org.example.viewer.network-path")), "network-path");
    EXPECT_EQ(threadName(QStringLiteral("org.example.viewer.probe")), "probe");
    EXPECT_EQ(threadName(QStringLiteral("plain")), "plain");
    EXPECT_EQ(threadName(QStringLiteral("a.part-longer-than-fifteen")), "part-longer-tha");
}

TEST(SerialQueue, AcceptsWorkFromManyThreads) {
    std::atomic_int count = 0;
    {
        SerialQueue queue(QStringLiteral("test"));
        std::vector<std::thread> threads;
        for (int n = 0; n < 4; ++n) {
            threads.emplace_back([&] {
                for (int work = 0; work < 50; ++work)
                    queue.async([&] { ++count; });
            });
        }
        for (std::thread &thread : threads)
            thread.join();
    }
    EXPECT_EQ(count, 200);
}

TEST(SerialQueueHandleTest, SubmitsWorkUntilItIsClosed) {
    std::vector<int> order;
    {
        SerialQueue queue(QStringLiteral("test"));
        SerialQueueHandle handle(queue);
        handle.async([&] { order.push_back(1); });
        handle.close();
        handle.async([&] { order.push_back(2); });
    }
    EXPECT_EQ(order, std::vector<int>{1});
}

TEST(SerialQueueHandleTest, ClosingSubmitsTheLastWorkOnlyOnce) {
    std::vector<int> order;
    {
        SerialQueue queue(QStringLiteral("test"));
        SerialQueueHandle handle(queue);
        handle.async([&] { order.push_back(1); });
        handle.close([&] { order.push_back(2); });
        handle.close([&] { order.push_back(3); });
    }
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialQueueHandleTest, ClosedHandleMayOutliveTheQueue) {
    std::optional<SerialQueue> queue(std::in_place, QStringLiteral("test"));
    SerialQueueHandle handle(*queue);
    handle.close();
    queue.reset();
    bool ran = false;
    handle.async([&] { ran = true; });
    EXPECT_FALSE(ran);
}

} // namespace
} // namespace lumvik
