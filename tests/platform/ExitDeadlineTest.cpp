#include "platform/ExitDeadline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

[[noreturn]] void hangWithDeadline() {
    endProcessWithin(0.3);
    std::this_thread::sleep_for(30s); // like a library call that never returns
    std::_Exit(3);
}

TEST(ExitDeadlineDeathTest, HangingProcessExitsInTimeWithSuccess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(hangWithDeadline(), testing::ExitedWithCode(0),
                "Lumvik exits without waiting any longer\\.");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST(ExitDeadlineDeathTest, ProcessThatExitsInTimeKeepsItsStatus) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            endProcessWithin(30);
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "");
}

} // namespace
} // namespace lumvik::test
