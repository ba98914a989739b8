#include "app/Termination.h"

#include "fakes/VirtualMainQueue.h"
#include "platform/TerminationSignals.h"

#include <gtest/gtest.h>

#include <csignal>

namespace lumvik {
namespace {

class TerminationTest : public testing::Test {
  protected:
    test::VirtualMainQueue queue;
    int ends = 0;
    Termination termination{queue, [this] { ++ends; }};
};

TEST_F(TerminationTest, IsUnderWayAfterARequest) {
    EXPECT_FALSE(termination.isUnderWay());
    termination.request();
    EXPECT_TRUE(termination.isUnderWay()) << "before the windows have closed";
    EXPECT_EQ(ends, 0) << "the request may come from a window that is closing";
    queue.runPending();
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(termination.isUnderWay());
}

TEST_F(TerminationTest, IsUnderWayAfterASignal) {
    {
        const TerminationSignals signals([] {});
        EXPECT_FALSE(termination.isUnderWay());
        ::raise(SIGTERM);
        EXPECT_TRUE(termination.isUnderWay()) << "before the event loop has handled the signal";
    }
    const TerminationSignals reset([] {}); // clears the signal for the tests that follow
    EXPECT_FALSE(termination.isUnderWay());
}

} // namespace
} // namespace lumvik
