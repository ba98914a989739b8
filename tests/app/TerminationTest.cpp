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

TEST_F(TerminationTest, IsUnderWayFromTheRequestOn) {
    EXPECT_FALSE(termination.isUnderWay());
    termination.request();
    EXPECT_TRUE(termination.isUnderWay()) << "before the windows have closed";
    EXPECT_EQ(ends, 0) << "whoever asks may be a window that closes";
    queue.runPending();
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(termination.isUnderWay());
}

TEST_F(TerminationTest, IsUnderWayFromTheSignalOn) {
    {
        const TerminationSignals signals([] {});
        EXPECT_FALSE(termination.isUnderWay());
        ::raise(SIGTERM);
        EXPECT_TRUE(termination.isUnderWay()) << "before the event loop has heard of it";
    }
    const TerminationSignals forgotten([] {}); // what follows in this process was not told to end
    EXPECT_FALSE(termination.isUnderWay());
}

} // namespace
} // namespace lumvik
