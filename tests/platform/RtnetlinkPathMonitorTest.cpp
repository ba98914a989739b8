#include "platform/RtnetlinkPathMonitor.h"

#include "platform/LumvikLog.h"
#include "platform/SerialQueue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <libmnl/libmnl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace lumvik {

static void PrintTo(const NetworkPathSignature &signature, std::ostream *stream) {
    *stream << "satisfied " << signature.isSatisfied << ", Wi-Fi " << signature.usesWiFi
            << ", Ethernet " << signature.usesEthernet << ", other " << signature.usesOther;
}

namespace {

using namespace std::chrono_literals;

constexpr auto deadline = 20s;

constexpr NetworkPathSignature nothing{};
constexpr NetworkPathSignature wiFi{.isSatisfied = true, .usesWiFi = true};
constexpr NetworkPathSignature ethernet{.isSatisfied = true, .usesEthernet = true};
constexpr NetworkPathSignature satisfied{.isSatisfied = true};
constexpr NetworkPathSignature other{.isSatisfied = true, .usesOther = true};

using Updates = std::vector<NetworkPathSignature>;

/// Collects what the monitor reports, on its thread, for the test to wait for.
class Recorder {
  public:
    void add(const NetworkPathSignature &signature) {
        {
            const std::lock_guard lock(m_mutex);
            m_updates.push_back(signature);
        }
        m_added.notify_all();
    }
    [[nodiscard]] Updates updates() {
        const std::lock_guard lock(m_mutex);
        return m_updates;
    }
    void clear() {
        const std::lock_guard lock(m_mutex);
        m_updates.clear();
    }
    /// All updates once there are `count` of them, or as many as came within the deadline.
    [[nodiscard]] Updates waitForCount(std::size_t count) {
        return waitUntil([=](const Updates &updates) { return updates.size() >= count; });
    }
    [[nodiscard]] bool waitForLast(const NetworkPathSignature &signature) {
        const auto isLast = [&](const Updates &updates) {
            return !updates.empty() && updates.back() == signature;
        };
        return isLast(waitUntil(isLast));
    }

  private:
    Updates waitUntil(const std::function<bool(const Updates &)> &condition) {
        std::unique_lock lock(m_mutex);
        m_added.wait_for(lock, deadline, [&] { return condition(m_updates); });
        return m_updates;
    }

    std::mutex m_mutex;
    std::condition_variable m_added;
    Updates m_updates;
};

/// Keeps the texts of the log's lines while it lives.
class LogCapture {
  public:
    LogCapture() {
        struct Sink final : LogSink {
            explicit Sink(std::shared_ptr<Lines> lines) : m_lines(std::move(lines)) {}
            void write(const LogRecord &record) override {
                const std::lock_guard lock(m_lines->mutex);
                m_lines->texts.push_back(std::string(logLevel(record.level)) + record.category +
                                         ": " + record.text.toStdString());
            }
            static const char *logLevel(LogLevel level) {
                return level == LogLevel::error ? "error " : "";
            }
            std::shared_ptr<Lines> m_lines;
        };
        m_previous = LumvikLog::setSink(std::make_unique<Sink>(m_lines));
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    ~LogCapture() { LumvikLog::setSink(std::move(m_previous)); }

    [[nodiscard]] std::vector<std::string> texts() {
        const std::lock_guard lock(m_lines->mutex);
        return m_lines->texts;
    }

  private:
    struct Lines {
        std::mutex mutex;
        std::vector<std::string> texts;
    };
    std::shared_ptr<Lines> m_lines = std::make_shared<Lines>();
    std::unique_ptr<LogSink> m_previous;
};

template<typename Work>
auto runOn(SerialQueue &queue, Work work) {
    auto task = std::make_shared<std::packaged_task<decltype(work())()>>(std::move(work));
    auto result = task->get_future();
    queue.async([task] { (*task)(); });
    return result.get();
}

class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    [[nodiscard]] int get() const { return m_descriptor; }

  private:
    int m_descriptor;
};

/// The exit status of a shell command, which runs in the calling thread's network namespace.
int shell(const std::string &command) {
    std::string text = command;
    std::string name = "sh";
    std::string option = "-ec";
    char *arguments[] = {name.data(), option.data(), text.data(), nullptr};
    pid_t child = 0;
    if (::posix_spawnp(&child, "sh", nullptr, nullptr, arguments, environ) != 0)
        return -1;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return status;
}

/// Watches the network of the machine that the test runs on, whatever that is like.
class RtnetlinkPathMonitorTest : public testing::Test {
  protected:
    void makeMonitor(RtnetlinkPathMonitor::Options options = {}) {
        m_monitor = std::make_unique<RtnetlinkPathMonitor>(std::move(options));
        m_monitor->setPathUpdateHandler(
            [this](const NetworkPathSignature &signature) { m_recorder.add(signature); });
    }

    Recorder m_recorder;
    SerialQueue m_queue{QStringLiteral("path")};
    std::unique_ptr<RtnetlinkPathMonitor> m_monitor;
};

/// Gives each test a network of its own: the thread that the monitor watches from moves into a new
/// network namespace, which at first has nothing but a loopback interface that is down. A second
/// thread changes things in there.
class RtnetlinkPathMonitorNamespaceTest : public RtnetlinkPathMonitorTest {
  protected:
    void SetUp() override {
        const int error = runOn(m_queue, [] { return ::unshare(CLONE_NEWNET) == 0 ? 0 : errno; });
        if (error == EPERM || error == EINVAL || error == ENOSYS) {
            GTEST_SKIP() << "A network namespace may not be made here (" << std::strerror(error)
                         << "); run as root to include this test.";
        }
        ASSERT_EQ(error, 0) << std::strerror(error);
        const FileDescriptor space(runOn(
            m_queue, [] { return ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC); }));
        ASSERT_EQ(runOn(m_commands, [&] { return ::setns(space.get(), CLONE_NEWNET); }), 0);
    }

    void run(const std::string &command) {
        ASSERT_EQ(runOn(m_commands, [&] { return shell(command); }), 0) << command;
    }
    /// While the command runs the monitor cannot read: it finds all that happened at once.
    void runWhileTheMonitorWaits(const std::string &command) {
        ASSERT_EQ(runOn(m_queue, [&] { return shell(command); }), 0) << command;
    }
    /// A cable: the end "near" with an address, and the end "far", both up.
    void plugIn() {
        run("ip link add near type veth peer name far; ip link set near up; ip link set far up;"
            "ip addr add 192.0.2.2/24 dev near");
    }
    /// Starts the monitor and forgets the updates until the path is as given: carrier takes a
    /// moment to be noticed.
    void startAndWaitFor(const NetworkPathSignature &signature,
                         RtnetlinkPathMonitor::Options options = {}) {
        makeMonitor(std::move(options));
        m_monitor->start(m_queue);
        ASSERT_TRUE(m_recorder.waitForLast(signature));
        m_recorder.clear();
    }
    [[nodiscard]] bool hasVersion6() {
        return runOn(m_commands, [] {
                   return shell("test $(cat /proc/sys/net/ipv6/conf/all/disable_ipv6) = 0 "
                                "2>/dev/null");
               }) == 0;
    }
    /// A tunnel, up, with carrier as long as the descriptor is open; none where the system has no
    /// such device, or does not let it be used.
    [[nodiscard]] std::unique_ptr<FileDescriptor> openTunnel() {
        auto tunnel = std::make_unique<FileDescriptor>(
            runOn(m_commands, [] { return ::open("/dev/net/tun", O_RDWR | O_CLOEXEC); }));
        if (tunnel->get() < 0)
            return nullptr;
        ifreq request{};
        std::strcpy(request.ifr_name, "tunnel");
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        if (::ioctl(tunnel->get(), TUNSETIFF, &request) != 0)
            return nullptr;
        run("ip link set tunnel up");
        return tunnel;
    }

    SerialQueue m_commands{QStringLiteral("commands")};
};

TEST_F(RtnetlinkPathMonitorNamespaceTest, ReportsOnceThatThereIsNothing) {
    makeMonitor();
    m_monitor->start(m_queue);
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip link set lo up; ip link add near type veth peer name far");
    run("ip link set near up; ip link set far up; ip addr add 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, TheFirstReportKnowsAllThatIsThere) {
    plugIn();
    startAndWaitFor(ethernet);
    RtnetlinkPathMonitor second;
    Recorder recorder;
    second.setPathUpdateHandler(
        [&](const NetworkPathSignature &signature) { recorder.add(signature); });
    second.start(m_queue);
    EXPECT_EQ(recorder.waitForCount(1), Updates{ethernet});
    second.cancel();
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ALostCarrierIsReportedAndItsReturn) {
    plugIn();
    run("ip route add default via 192.0.2.1");
    startAndWaitFor(ethernet);
    run("ip link set far down");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip link set far up");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ARemovedAddressLeavesNothingToItsDefaultRoute) {
    plugIn();
    run("ip route add default via 192.0.2.1");
    startAndWaitFor(ethernet);
    run("ip addr del 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    run("ip addr add 192.0.2.3/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest,
       AReplacedAddressIsReportedAsALossEvenWhenAllIsReadAtOnce) {
    plugIn();
    run("ip route add default via 192.0.2.1");
    startAndWaitFor(ethernet);
    runWhileTheMonitorWaits("ip addr del 192.0.2.2/24 dev near; ip addr add 198.51.100.2/24 dev "
                            "near; ip route add default via 198.51.100.1");
    EXPECT_EQ(m_recorder.waitForCount(3), (Updates{nothing, ethernet, ethernet}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ASecondInterfaceIsReportedThoughTheKindsAreTheSame) {
    plugIn();
    startAndWaitFor(ethernet);
    run("ip link add bridge type bridge; ip addr add 198.51.100.2/24 dev bridge; "
        "ip link add port type veth peer name socket; ip link set port master bridge; "
        "ip link set bridge up; ip link set port up; ip link set socket up");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{ethernet});
    run("ip link set port nomaster; ip link del bridge; ip addr del 192.0.2.2/24 dev near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, WhatChangesNothingIsNotReported) {
    plugIn();
    startAndWaitFor(ethernet);
    run("ip addr change 192.0.2.2/24 dev near valid_lft 1000 preferred_lft 1000;"
        "ip addr change 192.0.2.2/24 dev near valid_lft 2000 preferred_lft 0;"
        "ip link set near mtu 1400; ip link set near promisc on;"
        "ip addr add 169.254.1.1/16 dev near; ip addr add 127.0.0.1/8 dev lo; ip link set lo up;"
        "ip route add 203.0.113.0/24 via 192.0.2.1; ip route add default via 192.0.2.1 table 7;"
        "ip link add idle type veth peer name idle2; ip addr add 198.51.100.2/24 dev idle;"
        "ip addr del 192.0.2.2/24 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, AnAddressOfVersion6CountsOnceItIsConfirmed) {
    if (!hasVersion6())
        GTEST_SKIP() << "this system has no IPv6";
    run("ip link add near type veth peer name far; ip link set near up; ip link set far up");
    startAndWaitFor(nothing);
    run("ip addr add 2001:db8::2/64 dev near");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{ethernet});
    run("ip addr del 2001:db8::2/64 dev near");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{ethernet, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ATunnelIsAnotherKind) {
    startAndWaitFor(nothing);
    auto tunnel = openTunnel();
    if (!tunnel)
        GTEST_SKIP() << "this system has no tunnels";
    run("ip addr add 192.0.2.2/24 dev tunnel");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{other});
    tunnel.reset(); // the interface goes with it
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{other, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ADefaultRouteIsEnough) {
    startAndWaitFor(nothing);
    const auto tunnel = openTunnel();
    if (!tunnel)
        GTEST_SKIP() << "this system has no tunnels";
    run("ip route add default dev tunnel");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{other});
    run("ip route del default");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{other, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ADefaultRouteOfVersion6IsEnough) {
    if (!hasVersion6())
        GTEST_SKIP() << "this system has no IPv6";
    startAndWaitFor(nothing);
    const auto tunnel = openTunnel();
    if (!tunnel)
        GTEST_SKIP() << "this system has no tunnels";
    run("ip -6 route add default dev tunnel");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{other});
    run("ip link set tunnel down");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{other, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ARenamedInterfaceStaysTheSame) {
    plugIn();
    startAndWaitFor(wiFi, {.factsOf = [](const std::string &name) {
                        return InterfaceFacts{.isWireless = name == "near"};
                    }});
    run("ip link set near down; ip link set near name renamed; ip link set renamed up");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, wiFi}));
    run("ip addr del 192.0.2.2/24 dev renamed");
    EXPECT_EQ(m_recorder.waitForCount(3), (Updates{nothing, wiFi, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ABridgeOfContainersIsNoPathBesideAPulledCable) {
    std::atomic_bool hasHardware = false;
    plugIn();
    startAndWaitFor(ethernet, {.factsOf = [&](const std::string &name) {
                        return InterfaceFacts{.isBridge = name == "bridge",
                                              .bridgesHardware = hasHardware};
                    }});
    run("ip link add bridge type bridge; ip addr add 198.51.100.2/24 dev bridge; "
        "ip link add port type veth peer name socket; ip link set port master bridge; "
        "ip link set bridge up; ip link set port up; ip link set socket up");
    run("ip link set far down");
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{nothing});
    // A port that joins, itself without an address, makes the bridge a path.
    hasHardware = true;
    run("ip link add wire type veth peer name end; ip link set wire master bridge");
    EXPECT_EQ(m_recorder.waitForCount(2), (Updates{nothing, ethernet}));
    hasHardware = false;
    run("ip link set wire nomaster");
    EXPECT_EQ(m_recorder.waitForCount(3), (Updates{nothing, ethernet, nothing}));
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ADeletedInterfaceIsReported) {
    plugIn();
    startAndWaitFor(ethernet);
    run("ip link del near");
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
}

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
    LogCapture log;
    startAndWaitFor(ethernet, {.receiveBufferSize = 4096});
    runWhileTheMonitorWaits(burst());
    EXPECT_TRUE(m_recorder.waitForLast(nothing));
    const std::string expected = "network: Announcements of network changes were lost; listing the "
                                 "interfaces again.";
    const auto texts = log.texts();
    EXPECT_NE(std::find(texts.begin(), texts.end(), expected), texts.end());

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
        runOn(m_queue, [] {});
        EXPECT_EQ(m_recorder.updates().size(), count);
        m_recorder.clear();
    }
}

TEST_F(RtnetlinkPathMonitorTest, CancelWaitsForAHandlerThatRuns) {
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
    // One that does not wait returns well within this.
    EXPECT_EQ(cancelled.wait_for(200ms), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(cancelled.get());
}

TEST_F(RtnetlinkPathMonitorTest, CancelClosesTheSocketAndIsHarmlessAtAnyTime) {
    const auto openDescriptors = [] {
        int count = 0;
        for (int descriptor = 0; descriptor < 1024; ++descriptor)
            count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
        return count;
    };
    runOn(m_queue, [] {});
    const int before = openDescriptors();
    for (int round = 0; round < 10; ++round) {
        makeMonitor(); // drops the one before, as it is
        m_monitor->start(m_queue);
        if (round % 2 == 0) {
            EXPECT_FALSE(m_recorder.waitForCount(1).empty());
        }
        m_monitor->cancel();
        m_monitor->cancel();
        m_recorder.clear();
    }
    m_monitor.reset();
    runOn(m_queue, [] {});
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(RtnetlinkPathMonitorTest, CancelledBeforeItStartsItNeverReports) {
    makeMonitor();
    m_monitor->cancel();
    m_monitor->start(m_queue);
    runOn(m_queue, [] {});
    EXPECT_EQ(m_recorder.updates(), Updates{});
    makeMonitor(); // never started
    m_monitor.reset();
}

TEST_F(RtnetlinkPathMonitorNamespaceTest, ADestroyedMonitorIsCancelled) {
    plugIn();
    startAndWaitFor(ethernet);
    m_monitor.reset();
    run("ip addr del 192.0.2.2/24 dev near");
    runOn(m_queue, [] {});
    EXPECT_EQ(m_recorder.updates(), Updates{});
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
    LogCapture log;
    makeMonitor();
    runOn(m_queue, [] {}); // the thread has opened what it needs itself
    {
        const NoMoreDescriptors none;
        ASSERT_TRUE(none.isSet());
        m_monitor->start(m_queue);
        EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    }
    EXPECT_EQ(log.texts(), std::vector<std::string>{
                               "error network: Network changes cannot be followed: Too many open "
                               "files."});
    m_monitor->cancel();
}

// MARK: Failures in between

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
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

TEST_F(RtnetlinkPathMonitorTest, AFailureAtTheStartIsToldOnceAndTriedAgain) {
    LogCapture log;
    Interference interference;
    interference.failures = 3;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    const Updates updates = m_recorder.waitForCount(2);
    ASSERT_GE(updates.size(), 2U);
    EXPECT_EQ(updates[0], satisfied);
    EXPECT_NE(updates[1], satisfied) << "no kind of interface is known of a mere guess";
    EXPECT_EQ(interference.failures, 0);
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"error network: Network changes cannot be followed: Cannot "
                                       "allocate memory."});
    m_monitor.reset();
    runOn(m_queue, [] {});
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
    runOn(m_queue, [] {});
}

TEST_F(RtnetlinkPathMonitorTest, AMonitorThatIsCancelledAfterAFailureIsNotOpenedAgain) {
    Interference interference;
    interference.failures = 1'000'000;
    makeMonitor(interference.options());
    m_monitor->start(m_queue);
    EXPECT_EQ(m_recorder.waitForCount(1), Updates{satisfied});
    m_monitor->cancel();
    runOn(m_queue, [] {});
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
    LogCapture log;
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
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"network: Network changes cannot be followed for the "
                                       "moment: Cannot allocate memory."});
    m_monitor.reset();
    runOn(m_queue, [] {});
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
    runOn(m_queue, [] {});
}

} // namespace
} // namespace lumvik
