#include "RtnetlinkPathMonitorFixture.h"
#include "fakes/CapturingLogSink.h"

#include <libmnl/libmnl.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <thread>

// Tests of messages that the kernel fails to send or sends late.

namespace lumvik::test {
namespace {

using RtnetlinkPathMonitorTest = RtnetlinkPathMonitorFixture;
using RtnetlinkPathMonitorNamespaceTest = RtnetlinkPathMonitorNamespaceFixture;

using namespace std::chrono_literals;

/// Returns a shell command that adds and removes a thousand addresses faster than the monitor reads
/// the announcements. Announcements that do not fit into the socket's buffer are lost.
std::string burst() {
    return "for n in $(seq 1000); do a=10.$((n / 250)).$((n % 250)).1/32; "
           "echo addr add $a dev near; echo addr del $a dev near; done | ip -batch -; "
           "ip addr add 192.0.2.9/24 dev far; ip addr del 192.0.2.2/24 dev near; "
           "ip link set near down; ip link del near";
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, LostAnnouncementsCauseANewListing) {
    plugIn();
    const CapturedLog log;
    startAndWaitFor(ethernet, {.receiveBufferSize = 4096});
    runWhileTheMonitorWaits(burst());
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
    EXPECT_TRUE(
        log.texts(QStringLiteral("network"))
            .contains(QStringLiteral(
                "Announcements of network changes were lost; listing the interfaces again.")));

    // The monitor follows later changes again.
    plugIn();
    EXPECT_TRUE(m_recorder.waitForLast(ethernet));
    run("ip addr del 192.0.2.2/24 dev near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, BurstOfAnnouncementsEndsWithTheCorrectState) {
    for (const int size : {0, 4096}) {
        plugIn();
        startAndWaitFor(ethernet, {.receiveBufferSize = size});
        run(burst());
        EXPECT_TRUE(m_recorder.waitForLast(nothing));
        plugIn();
        EXPECT_TRUE(m_recorder.waitForLast(ethernet));
        m_monitor->cancel();
        m_recorder.clear();
        run("ip link del near");
    }
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ListOfManyAddressesInSeveralPartsIsRead) {
    plugIn();
    run("for n in $(seq 1500); do echo addr add 10.$((n / 250)).$((n % 250)).1/32 dev near; done "
        "| ip -batch -; ip addr del 192.0.2.2/24 dev near");
    startAndWaitFor(ethernet);
    run("ip addr flush dev near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

/// Returns a log that consists of one line.
QList<LoggedLine> logged(LogLevel level, const QString &text) {
    return {{level, QStringLiteral("network"), text}};
}

/// Prevents the process from opening descriptors while this object exists.
class DescriptorExhaustion {
  public:
    DescriptorExhaustion() {
        // All numbers below the first free one are in use, so this limit allows no new descriptor.
        const int firstFree = FileDescriptor(::dup(STDERR_FILENO)).get();
        m_isSet = firstFree >= 0 && ::getrlimit(RLIMIT_NOFILE, &m_before) == 0;
        const rlimit limit{.rlim_cur = static_cast<rlim_t>(firstFree),
                           .rlim_max = m_before.rlim_max};
        m_isSet = m_isSet && ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
    }
    DescriptorExhaustion(const DescriptorExhaustion &) = delete;
    DescriptorExhaustion &operator=(const DescriptorExhaustion &) = delete;
    ~DescriptorExhaustion() {
        if (m_isSet)
            ::setrlimit(RLIMIT_NOFILE, &m_before);
    }
    [[nodiscard]] bool isSet() const { return m_isSet; }

  private:
    rlimit m_before{};
    bool m_isSet = false;
};

TEST_F(RtnetlinkPathMonitorTest, WithoutASocketThePathCountsAsSatisfiedAndOneErrorIsLogged) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "The undefined-behaviour sanitizer reports valid objects as invalid when it "
                    "cannot open a pipe.";
#endif
    const CapturedLog log;
    makeMonitor();
    drain(m_queue); // by now the thread has opened its own descriptors
    {
        const DescriptorExhaustion exhaustion;
        ASSERT_TRUE(exhaustion.isSet());
        m_monitor->start(m_queue);
        EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    }
    EXPECT_EQ(log.lines(),
              logged(LogLevel::error,
                     QStringLiteral("Network changes cannot be followed: Too many open files.")));
    m_monitor->cancel();
}

/// Interferes with the monitor's reads from its socket. `receive` runs on the monitor's thread; the
/// public variables may be used on any thread.
class Interference {
  public:
    std::atomic_int failures = 0; ///< The number of coming reads that fail with ENOMEM.
    std::atomic_bool losesLists = false;
    std::atomic_int lostLists = 0;

    ssize_t receive(const mnl_socket *socket, void *buffer, std::size_t size) {
        if (failures > 0) {
            --failures;
            errno = ENOMEM;
            return -1;
        }
        for (;;) {
            const ssize_t length = mnl_socket_recvfrom(socket, buffer, size);
            // Announcements, unlike replies, have the sequence number 0.
            if (length <= 0 || !losesLists || static_cast<nlmsghdr *>(buffer)->nlmsg_seq == 0)
                return length;
            const std::uint32_t number = static_cast<nlmsghdr *>(buffer)->nlmsg_seq;
            lostLists += std::exchange(m_lastLost, number) != number ? 1 : 0;
        }
    }
    [[nodiscard]] RtnetlinkPathMonitor::Options options() {
        return {.receive = [this](const mnl_socket *socket, void *buffer,
                                  std::size_t size) { return receive(socket, buffer, size); },
                .reopenInterval = 20ms,
                .startInterval = 20ms,
                .answerTimeout = 20ms};
    }

  private:
    std::uint32_t m_lastLost = 0; // the sequence number of the last lost list
};

bool becomesTrue(const std::function<bool()> &condition) {
    const auto end = std::chrono::steady_clock::now() + Recorder::deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

TEST_F(RtnetlinkPathMonitorTest, FailureAtTheStartIsLoggedOnceAndRetried) {
    const CapturedLog log;
    Interference interference;
    interference.failures = 3;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    const Updates updates = m_recorder.waitForCount(2);
    ASSERT_GE(updates.size(), 2U);
    EXPECT_EQ(updates[0], satisfied);
    EXPECT_NE(updates[1], satisfied) << "the second report must be based on a list";
    EXPECT_EQ(interference.failures, 0);
    EXPECT_EQ(
        log.lines(),
        logged(LogLevel::error,
               QStringLiteral("Network changes cannot be followed: Cannot allocate memory.")));
    m_monitor.reset();
    drain(m_queue);
}

TEST_F(RtnetlinkPathMonitorTest, ListsThatTheKernelDoesNotSendAreRequestedAgain) {
    Interference interference;
    interference.losesLists = true;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    EXPECT_TRUE(becomesTrue([&] { return interference.lostLists >= 3; }));
    EXPECT_EQ(m_recorder.updates(), Updates{});
    interference.losesLists = false;
    EXPECT_FALSE(m_recorder.waitForCount(1).empty());
    m_monitor.reset();
    drain(m_queue);
}

TEST_F(RtnetlinkPathMonitorTest, MonitorCancelledAfterAFailureIsNotReopened) {
    Interference interference;
    interference.failures = 1'000'000;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    m_monitor->cancel();
    drain(m_queue);
    const int left = interference.failures;
    // The wait is several times the reopening interval.
    EXPECT_EQ(std::async(std::launch::async,
                         [&] {
                             const auto end = std::chrono::steady_clock::now() + 200ms;
                             while (std::chrono::steady_clock::now() < end &&
                                    interference.failures == left)
                                 std::this_thread::yield();
                             return interference.failures.load();
                         })
                  .get(),
              left);
}

TEST_F(RtnetlinkPathMonitorNamespaceTest,
       LastReportRemainsValidAfterAFailureAndChangesAreFollowedAgain) {
    const CapturedLog log;
    Interference interference;
    plugIn();
    startAndWaitFor(ethernet, interference.options());
    interference.failures = 3;
    run("ip link set near mtu 1400"); // causes an announcement
    EXPECT_TRUE(becomesTrue([&] { return interference.failures == 0; }));
    EXPECT_EQ(m_recorder.updates(), Updates{});
    run("ip addr del 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip addr add 192.0.2.3/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
    EXPECT_EQ(
        log.lines(),
        logged(LogLevel::info,
               QStringLiteral(
                   "Network changes cannot be followed for the moment: Cannot allocate memory.")));
    m_monitor.reset();
    drain(m_queue);
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, MissingNetworkIsDoubtedAfterSeveralFailures) {
    const CapturedLog log;
    Interference interference;
    startAndWaitFor(nothing, interference.options());
    interference.failures = 1'000'000;
    run("ip link set lo up"); // causes an announcement
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    EXPECT_TRUE(log.texts(QStringLiteral("network"))
                    .contains(QStringLiteral(
                        "Network changes can no longer be followed; assuming a network.")));
    interference.failures = 0;
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{satisfied, nothing}));
    m_monitor.reset();
    drain(m_queue);
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ChangesDuringAFailureAreReportedAfterwards) {
    Interference interference;
    plugIn();
    startAndWaitFor(ethernet, interference.options());
    runOn(m_queue, [&] {
        interference.failures = 1;
        return shell("ip link del near");
    });
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    m_monitor.reset();
    drain(m_queue);
}

} // namespace
} // namespace lumvik::test
