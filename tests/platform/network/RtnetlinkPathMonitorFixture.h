#pragma once

#include "PathSignatures.h"
#include "platform/FileDescriptor.h"
#include "platform/QueueWork.h"
#include "platform/network/RtnetlinkPathMonitor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace lumvik::test {

/// Collects the monitor's reports, which arrive on the monitor's thread, and lets the test wait for
/// them.
class Recorder {
  public:
    using Updates = std::vector<NetworkPathSignature>;
    /// The time limit on a slow machine for operations that normally take milliseconds.
    static constexpr std::chrono::seconds deadline{20};

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
    /// Waits for `count` updates or the deadline and returns all updates.
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

/// Runs a shell command in the network namespace of the calling thread and returns its wait status.
inline int shell(const std::string &command) {
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

/// Monitors the network of the machine on which the test runs.
class RtnetlinkPathMonitorFixture : public testing::Test {
  protected:
    using Updates = Recorder::Updates;
    static constexpr std::chrono::seconds deadline = Recorder::deadline;

    void makeMonitor(RtnetlinkPathMonitor::Options options = {}) {
        m_monitor = std::make_unique<RtnetlinkPathMonitor>(std::move(options));
        m_monitor->setPathUpdateHandler(
            [this](const NetworkPathSignature &signature) { m_recorder.add(signature); });
    }

    Recorder m_recorder;
    SerialQueue m_queue{QStringLiteral("path")};
    std::unique_ptr<RtnetlinkPathMonitor> m_monitor;
};

/// Gives each test a network of its own: the monitor's thread moves into a new network namespace,
/// which initially contains only a loopback interface that is down. A second thread makes changes
/// in that namespace.
class RtnetlinkPathMonitorNamespaceFixture : public RtnetlinkPathMonitorFixture {
  protected:
    void SetUp() override {
        const int error = runOn(m_queue, [] { return ::unshare(CLONE_NEWNET) == 0 ? 0 : errno; });
        if (error == EPERM || error == EINVAL || error == ENOSYS) {
            GTEST_SKIP() << "A network namespace cannot be created here (" << std::strerror(error)
                         << "); run as root to include this test.";
        }
        ASSERT_EQ(error, 0) << std::strerror(error);
        const FileDescriptor networkNamespace(runOn(
            m_queue, [] { return ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC); }));
        ASSERT_EQ(runOn(m_commands, [&] { return ::setns(networkNamespace.get(), CLONE_NEWNET); }),
                  0);
    }

    void run(const std::string &command) {
        ASSERT_EQ(runOn(m_commands, [&] { return shell(command); }), 0) << command;
    }
    /// Runs the command on the monitor's thread. The monitor cannot read during the command and
    /// therefore finds all changes at once.
    void runWhileTheMonitorWaits(const std::string &command) {
        ASSERT_EQ(runOn(m_queue, [&] { return shell(command); }), 0) << command;
    }
    /// Creates a virtual cable with the ends "near", which has an address, and "far". Both are up.
    void plugIn() {
        run("ip link add near type veth peer name far; ip link set near up; ip link set far up;"
            "ip addr add 192.0.2.2/24 dev near");
    }
    /// Starts the monitor, waits until it reports the given signature, and discards the reports so
    /// far. Detecting the carrier takes a moment.
    void startAndWaitFor(const NetworkPathSignature &signature,
                         RtnetlinkPathMonitor::Options options = {}) {
        makeMonitor(std::move(options));
        m_monitor->start(m_queue);
        ASSERT_TRUE(m_recorder.waitForLast(signature));
        m_recorder.clear();
    }
    [[nodiscard]] bool hasIPv6() {
        return runOn(m_commands, [] {
                   return shell("test $(cat /proc/sys/net/ipv6/conf/all/disable_ipv6) = 0 "
                                "2>/dev/null");
               }) == 0;
    }
    /// Creates a tunnel that is up and has carrier while the returned descriptor is open. Returns
    /// no descriptor if the system has no tunnels or does not permit them.
    [[nodiscard]] FileDescriptor openTunnel() {
        FileDescriptor tunnel(
            runOn(m_commands, [] { return ::open("/dev/net/tun", O_RDWR | O_CLOEXEC); }));
        if (!tunnel.isOpen())
            return {};
        ifreq request{};
        std::strcpy(request.ifr_name, "tunnel");
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        if (::ioctl(tunnel.get(), TUNSETIFF, &request) != 0)
            return {};
        run("ip link set tunnel up");
        return tunnel;
    }

    SerialQueue m_commands{QStringLiteral("commands")};
};

} // namespace lumvik::test
