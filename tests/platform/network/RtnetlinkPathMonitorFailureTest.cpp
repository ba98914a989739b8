#include "RtnetlinkPathMonitorFixture.h"
#include "fakes/CapturingLogSink.h"

#include <libmnl/libmnl.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <thread>

// What the kernel does not send, or not in time.

namespace lumvik::test {
namespace {

using RtnetlinkPathMonitorTest = RtnetlinkPathMonitorFixture;
using RtnetlinkPathMonitorNamespaceTest = RtnetlinkPathMonitorNamespaceFixture;

using namespace std::chrono_literals;

/// Two thousand addresses come and go while nobody reads; what does not fit into the socket is
/// lost.
std::string burst() {
    return "for n in $(seq 1000); do a=10.$((n / 250)).$((n % 250)).1/32; "
           "echo addr add $a dev near; echo addr del $a dev near; done | ip -batch -; "
           "ip addr add 192.0.2.9/24 dev far; ip addr del 192.0.2.2/24 dev near; "
           "ip link set near down; ip link del near";
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, LostAnnouncementsAreMadeUpForByListingAgain) {
    plugIn();
    const CapturedLog log;
    startAndWaitFor(ethernet, {.receiveBufferSize = 4096});
    runWhileTheMonitorWaits(burst());
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
    EXPECT_TRUE(
        log.texts(QStringLiteral("network"))
            .contains(QStringLiteral(
                "Announcements of network changes were lost; listing the interfaces again.")));

    // And it follows what comes after.
    plugIn();
    EXPECT_TRUE(m_recorder.waitForLast(ethernet));
    run("ip addr del 192.0.2.2/24 dev near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ABurstWhileItReadsEndsWithWhatIsTrue) {
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

TEST_F(RtnetlinkPathMonitorNamespaceTest, ManyAddressesTakeSeveralAnswersToList) {
    plugIn();
    run("for n in $(seq 1500); do echo addr add 10.$((n / 250)).$((n % 250)).1/32 dev near; done "
        "| ip -batch -; ip addr del 192.0.2.2/24 dev near");
    startAndWaitFor(ethernet);
    run("ip addr flush dev near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

/// A log of one line.
QList<LoggedLine> logged(LogLevel level, const QString &text) {
    return {{level, QStringLiteral("network"), text}};
}

/// Lets no descriptor be opened while it lives.
class NoMoreDescriptors {
  public:
    NoMoreDescriptors() {
        // Every number below the first free one is taken, and no further one is allowed.
        const int firstFree = ::dup(STDERR_FILENO);
        ::close(firstFree);
        m_isSet = firstFree >= 0 && ::getrlimit(RLIMIT_NOFILE, &m_before) == 0;
        const rlimit none{.rlim_cur = static_cast<rlim_t>(firstFree),
                          .rlim_max = m_before.rlim_max};
        m_isSet = m_isSet && ::setrlimit(RLIMIT_NOFILE, &none) == 0;
    }
    NoMoreDescriptors(const NoMoreDescriptors &) = delete;
    NoMoreDescriptors &operator=(const NoMoreDescriptors &) = delete;
    ~NoMoreDescriptors() {
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
    GTEST_SKIP() << "The undefined-behaviour sanitizer takes objects for invalid when it can open "
                    "no pipe.";
#endif
    const CapturedLog log;
    makeMonitor();
    drain(m_queue); // the thread has opened what it needs itself
    {
        const NoMoreDescriptors none;
        ASSERT_TRUE(none.isSet());
        m_monitor->start(m_queue);
        EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    }
    EXPECT_EQ(log.lines(),
              logged(LogLevel::error,
                     QStringLiteral("Network changes cannot be followed: Too many open files.")));
    m_monitor->cancel();
}

/// Stands between the monitor and its socket. Used on the monitor's thread, told from any.
class Interference {
  public:
    std::atomic_int failures = 0; ///< How many of the next reads fail for want of memory.
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
            // Announcements of the kernel's own carry no number.
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
    std::uint32_t m_lastLost = 0; // the number of the list lost last
};

bool comesTrue(const std::function<bool()> &condition) {
    const auto end = std::chrono::steady_clock::now() + Recorder::deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

TEST_F(RtnetlinkPathMonitorTest, AFailureAtTheStartIsToldOnceAndTriedAgain) {
    const CapturedLog log;
    Interference interference;
    interference.failures = 3;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    const Updates updates = m_recorder.waitForCount(2);
    ASSERT_GE(updates.size(), 2U);
    EXPECT_EQ(updates[0], satisfied);
    EXPECT_NE(updates[1], satisfied) << "no kind of interface is known of a mere guess";
    EXPECT_EQ(interference.failures, 0);
    EXPECT_EQ(
        log.lines(),
        logged(LogLevel::error,
               QStringLiteral("Network changes cannot be followed: Cannot allocate memory.")));
    m_monitor.reset();
    drain(m_queue);
}

TEST_F(RtnetlinkPathMonitorTest, ListsThatTheKernelDoesNotSendAreAskedForAgain) {
    Interference interference;
    interference.losesLists = true;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    EXPECT_TRUE(comesTrue([&] { return interference.lostLists >= 3; }));
    EXPECT_EQ(m_recorder.updates(), Updates{});
    interference.losesLists = false;
    EXPECT_FALSE(m_recorder.waitForCount(1).empty());
    m_monitor.reset();
    drain(m_queue);
}

TEST_F(RtnetlinkPathMonitorTest, AMonitorThatIsCancelledAfterAFailureIsNotOpenedAgain) {
    Interference interference;
    interference.failures = 1'000'000;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    m_monitor->cancel();
    drain(m_queue);
    const int left = interference.failures;
    // Several times as long as it would take.
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
       AfterAFailureTheLastReportStandsAndChangesAreFollowedAgain) {
    const CapturedLog log;
    Interference interference;
    plugIn();
    startAndWaitFor(ethernet, interference.options());
    interference.failures = 3;
    run("ip link set near mtu 1400"); // gives it something to read
    EXPECT_TRUE(comesTrue([&] { return interference.failures == 0; }));
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

TEST_F(RtnetlinkPathMonitorNamespaceTest, WhatChangesDuringAFailureIsReportedAfterIt) {
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
