#pragma once

#include "platform/network/NetworkInterfaceTable.h"
#include "platform/network/NetworkPathMonitor.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

struct mnl_socket;

namespace lumvik {

/// A path monitor based on the kernel's rtnetlink socket, which works on every Linux machine,
/// regardless of the program that manages the network.
///
/// The monitor lists the links, addresses and routes, reports the result, and then follows the
/// kernel's announcements on the queue's thread. The monitor applies and reports announcements one
/// by one, without waiting for the network to settle. The replacement of an address is therefore
/// reported as a lost path and then a regained path, which corresponds to its effect on open
/// connections. Every change of usableNetwork is reported, so the same signature may be reported
/// twice in a row if an address changes on an interface of the same kind. Renewing the lifetime of
/// an address is not a change. If announcements are lost, everything is listed again.
///
/// If reading fails, for example because the kernel is short of memory, the last report remains
/// valid. After `reopenInterval` everything is listed again over a new socket. A requested list
/// that the kernel does not send also counts as a failure to read. After several failures in a row,
/// a report without any usable interface is replaced by a satisfied path, because the network may
/// have returned unnoticed. If the first attempt fails, one error line is logged and the path is
/// reported as satisfied, because a futile connection attempt is better than none. The next attempt
/// follows after `startInterval`.
class RtnetlinkPathMonitor final : public NetworkPathMonitor {
  public:
    struct Options {
        /// The size of the socket's receive buffer in bytes. 0 selects the system's default.
        int receiveBufferSize = 0;
        NetworkInterfaceTable::AttributeReader readAttributes = readSysfsInterfaceAttributes;
        /// Replaces mnl_socket_recvfrom unless empty.
        std::function<ssize_t(const mnl_socket *, void *buffer, std::size_t size)> receive = {};
        std::chrono::milliseconds reopenInterval = std::chrono::seconds(5);
        std::chrono::milliseconds startInterval = std::chrono::seconds(60);
        /// The time limit for each part of a list.
        std::chrono::milliseconds answerTimeout = std::chrono::seconds(5);
    };

    RtnetlinkPathMonitor();
    explicit RtnetlinkPathMonitor(Options options);
    ~RtnetlinkPathMonitor() override;

    void setPathUpdateHandler(UpdateHandler handler) override;
    void start(SerialQueue &queue) override;
    void cancel() override;

  private:
    class Watch;

    std::shared_ptr<Watch> m_watch; // shared with work that is still queued
    SerialQueue *m_queue = nullptr; // set by `start`
};

} // namespace lumvik
