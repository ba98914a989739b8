#include "RtnetlinkPathMonitorFixture.h"
#include "platform/OpenDescriptors.h"

#include <atomic>
#include <future>

// Tests of cancelling and destroying the monitor.

namespace lumvik::test {
namespace {

using RtnetlinkPathMonitorTest = RtnetlinkPathMonitorFixture;
using RtnetlinkPathMonitorNamespaceTest = RtnetlinkPathMonitorNamespaceFixture;

using namespace std::chrono_literals;

TEST_F(RtnetlinkPathMonitorNamespaceTest, NothingIsReportedAfterCancel) {
    plugIn();
    for (int round = 0; round < 20; ++round) {
        startAndWaitFor(ethernet);
        auto changes = std::async(std::launch::async, [this] {
            run("for n in $(seq 50); do echo addr add 198.51.100.$n/24 dev near; "
                "echo addr del 198.51.100.$n/24 dev near; done | ip -batch -");
        });
        static_cast<void>(m_recorder.waitForCount(static_cast<std::size_t>(round) * 3));
        m_monitor->cancel();
        const std::size_t count = m_recorder.updates().size();
        changes.get();
        drain(m_queue);
        EXPECT_EQ(m_recorder.updates().size(), count);
        m_recorder.clear();
    }
}

TEST_F(RtnetlinkPathMonitorTest, CancelWaitsForARunningHandler) {
    RtnetlinkPathMonitor monitor;
    std::promise<void> entered;
    std::promise<void> mayReturn;
    std::atomic_bool isFirst = true;
    std::atomic_bool isFinished = false;
    monitor.setPathUpdateHandler([&](const NetworkPathSignature &) {
        if (!isFirst.exchange(false))
            return;
        entered.set_value();
        mayReturn.get_future().wait_for(deadline);
        isFinished = true;
    });
    monitor.start(m_queue);
    ASSERT_EQ(entered.get_future().wait_for(deadline), std::future_status::ready);
    auto cancelled = std::async(std::launch::async, [&] {
        monitor.cancel();
        return isFinished.load();
    });
    // If the call did not wait, it would return well within this time.
    EXPECT_EQ(cancelled.wait_for(200ms), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(cancelled.get());
}

TEST_F(RtnetlinkPathMonitorTest, CancelClosesTheSocketAndMayBeCalledAtAnyTime) {
    drain(m_queue);
    const int before = openDescriptors();
    for (int round = 0; round < 10; ++round) {
        makeMonitor(); // destroys the previous monitor in its current state
        m_monitor->start(m_queue);
        if (round % 2 == 0) {
            EXPECT_FALSE(m_recorder.waitForCount(1).empty());
        }
        m_monitor->cancel();
        m_monitor->cancel();
        m_recorder.clear();
    }
    m_monitor.reset();
    drain(m_queue);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(RtnetlinkPathMonitorTest, MonitorCancelledBeforeStartNeverReports) {
    makeMonitor();
    m_monitor->cancel();
    m_monitor->start(m_queue);
    drain(m_queue);
    EXPECT_EQ(m_recorder.updates(), Updates{});
    makeMonitor(); // never started
    m_monitor.reset();
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, DestructionCancelsTheMonitor) {
    plugIn();
    startAndWaitFor(ethernet);
    m_monitor.reset();
    run("ip addr del 192.0.2.2/24 dev near");
    drain(m_queue);
    EXPECT_EQ(m_recorder.updates(), Updates{});
}

} // namespace
} // namespace lumvik::test
