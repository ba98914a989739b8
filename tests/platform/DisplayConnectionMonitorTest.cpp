#include "platform/DisplayConnectionMonitor.h"

#include "platform/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <memory>

namespace lumvik {
namespace {

using namespace std::chrono_literals;

class DisplayConnectionMonitorTest : public testing::Test {
  protected:
    void SetUp() override {
        int sockets[2] = {-1, -1};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets), 0);
        nearEnd = FileDescriptor(sockets[0]);
        farEnd = FileDescriptor(sockets[1]);
        monitor = std::make_unique<DisplayConnectionMonitor>(nearEnd.get(), [this] {
            ++calls;
            reported.set_value();
        });
    }

    FileDescriptor nearEnd; // the monitored end
    FileDescriptor farEnd;
    std::promise<void> reported;
    int calls = 0; // counted on the monitor's thread, read after that thread has ended
    std::unique_ptr<DisplayConnectionMonitor> monitor;
};

TEST_F(DisplayConnectionMonitorTest, ReportsOnceWhenTheOtherEndIsClosed) {
    farEnd.reset();
    EXPECT_EQ(reported.get_future().wait_for(5s), std::future_status::ready);
    monitor.reset();
    EXPECT_EQ(calls, 1);
}

TEST_F(DisplayConnectionMonitorTest, ReportsClosingEvenWithUnreadData) {
    ASSERT_EQ(::write(farEnd.get(), "x", 1), 1);
    farEnd.reset();
    EXPECT_EQ(reported.get_future().wait_for(5s), std::future_status::ready);
    char unread = 0;
    EXPECT_EQ(::read(nearEnd.get(), &unread, 1), 1) << "the monitor must not consume data";
}

TEST_F(DisplayConnectionMonitorTest, IgnoresIncomingData) {
    ASSERT_EQ(::write(farEnd.get(), "x", 1), 1);
    monitor.reset();
    EXPECT_EQ(calls, 0);
}

TEST_F(DisplayConnectionMonitorTest, ReportsNothingAfterDestruction) {
    monitor.reset();
    farEnd.reset();
    EXPECT_EQ(calls, 0);
}

} // namespace
} // namespace lumvik
