#include "platform/SerialQueue.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace lumvik {
namespace {

TEST(SerialQueue, RunsAllWorkInOrderBeforeItEnds) {
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

TEST(SerialQueue, RunsOnOneThreadOfItsOwn) {
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

/// What the kernel calls the thread of a queue with this label.
std::string threadName(const QString &label) {
    char name[16] = {};
    {
        SerialQueue queue(label);
        EXPECT_EQ(queue.label(), label);
        queue.async([&] { pthread_getname_np(pthread_self(), name, sizeof name); });
    }
    return name;
}

TEST(SerialQueue, TheLastPartOfTheLabelNamesTheThread) {
    EXPECT_EQ(threadName(QStringLiteral("org.example.viewer.network-path")), "network-path");
    EXPECT_EQ(threadName(QStringLiteral("org.example.viewer.probe")), "probe");
    EXPECT_EQ(threadName(QStringLiteral("plain")), "plain");
    EXPECT_EQ(threadName(QStringLiteral("a.part-longer-than-fifteen")), "part-longer-tha");
}

TEST(SerialQueue, TakesWorkFromManyThreads) {
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

} // namespace
} // namespace lumvik
