#include "platform/DisplayConnectionMonitor.h"

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
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        watch = std::make_unique<DisplayConnectionMonitor>(ends[0], [this] {
            ++calls;
            heard.set_value();
        });
    }
    void TearDown() override {
        watch.reset();
        ::close(ends[0]);
        if (!otherEndIsClosed)
            ::close(ends[1]);
    }
    void closeOtherEnd() {
        ::close(ends[1]);
        otherEndIsClosed = true;
    }

    int ends[2] = {-1, -1};
    bool otherEndIsClosed = false;
    std::promise<void> heard;
    std::unique_ptr<DisplayConnectionMonitor> watch;
    int calls = 0; // by the watch's thread; looked at once that has ended
};

TEST_F(DisplayConnectionMonitorTest, TellsOnceThatTheOtherEndHasGone) {
    closeOtherEnd();
    EXPECT_EQ(heard.get_future().wait_for(5s), std::future_status::ready);
    watch.reset();
    EXPECT_EQ(calls, 1);
}

TEST_F(DisplayConnectionMonitorTest, TellsItWhileSomethingLiesUnread) {
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    closeOtherEnd();
    EXPECT_EQ(heard.get_future().wait_for(5s), std::future_status::ready);
    char unread = 0;
    EXPECT_EQ(::read(ends[0], &unread, 1), 1) << "what was sent is the owner's to read";
}

TEST_F(DisplayConnectionMonitorTest, SaysNothingOfWhatIsSent) {
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    watch.reset();
    EXPECT_EQ(calls, 0);
}

TEST_F(DisplayConnectionMonitorTest, EndsWithItsOwner) {
    watch.reset();
    closeOtherEnd();
    EXPECT_EQ(calls, 0);
}

} // namespace
} // namespace lumvik
