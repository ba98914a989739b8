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

/// The path monitor over the kernel's rtnetlink socket, which every Linux machine has, whatever
/// program manages its network.
///
/// It lists the links, addresses and routes, reports, and then follows the kernel's announcements
/// in the queue's thread. They are applied and reported one by one, without waiting for things to
/// settle: an address that is replaced shows as a path lost and found again, which is what it means
/// for open connections. What is reported is every change of what is in use (see networkInUse), so
/// the same four answers may come twice in a row, when an address changes on the same kind of
/// interface; an address whose lifetime is renewed is no change. If announcements were lost, all is
/// listed again.
///
/// When reading fails (the kernel may be short of memory for a moment), what was reported last
/// stays so, and all is listed again over a new socket after `reopenInterval`; a list that the
/// kernel does not send is asked for again in the same way. Where nothing could be reported in the
/// first place, one error line is logged and the path counts as satisfied, because it is better to
/// try a camera in vain than never; that is tried again too, at `startInterval`.
class RtnetlinkPathMonitor final : public NetworkPathMonitor {
  public:
    struct Options {
        /// Of the socket, in bytes; 0 leaves the system's default.
        int receiveBufferSize = 0;
        NetworkInterfaceTable::FactSource factsOf = readSysfsInterfaceAttributes;
        /// Reads as mnl_socket_recvfrom does, which it is unless something is given.
        std::function<ssize_t(const mnl_socket *, void *buffer, std::size_t size)> receive = {};
        std::chrono::milliseconds reopenInterval = std::chrono::seconds(5);
        std::chrono::milliseconds startInterval = std::chrono::seconds(60);
        /// How long the next part of a list may take.
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

    std::shared_ptr<Watch> m_watch; // shared with the work that the queue still holds
    SerialQueue *m_queue = nullptr; // set by start
};

} // namespace lumvik
