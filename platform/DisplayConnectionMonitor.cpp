#include "platform/DisplayConnectionMonitor.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <utility>

namespace lumvik {

DisplayConnectionMonitor::DisplayConnectionMonitor(int descriptor, std::function<void()> closed)
    : m_stop(::eventfd(0, EFD_CLOEXEC)) {
    if (!m_stop.isOpen())
        return;
    m_thread = std::thread([descriptor, stop = m_stop.get(), closed = std::move(closed)] {
        // poll reports hang-ups and errors whether requested or not.
        pollfd watched[] = {{descriptor, POLLRDHUP, 0}, {stop, POLLIN, 0}};
        while (::poll(watched, std::size(watched), -1) < 0) {
            if (errno != EINTR)
                return;
        }
        if (watched[1].revents == 0)
            closed();
    });
}

DisplayConnectionMonitor::~DisplayConnectionMonitor() {
    if (!m_thread.joinable())
        return;
    ::eventfd_write(m_stop.get(), 1);
    m_thread.join();
}

} // namespace lumvik
