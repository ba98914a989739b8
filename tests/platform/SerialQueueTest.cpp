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

TEST(SerialQueue, RunsOnOneThreadOfItsOwnNamedAfterTheLabel) {
    std::vector<std::thread::id> threads;
    std::string name;
    {
        SerialQueue queue(QStringLiteral("a.label.longer.than.fifteen"));
        EXPECT_EQ(queue.label(), QStringLiteral("a.label.longer.than.fifteen"));
        for (int n = 0; n < 3; ++n) {
            queue.async([&] {
                threads.push_back(std::this_thread::get_id());
                char buffer[16] = {};
                pthread_getname_np(pthread_self(), buffer, sizeof buffer);
                name = buffer;
            });
        }
    }
    ASSERT_EQ(threads.size(), 3U);
    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_EQ(threads[1], threads[2]);
    EXPECT_NE(threads[0], std::this_thread::get_id());
    EXPECT_EQ(name, "a.label.longer.");
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
