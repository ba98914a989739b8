#include "platform/DisplayConnectionMonitor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace lumvik {

DisplayConnectionMonitor::DisplayConnectionMonitor(int descriptor, std::function<void()> hungUp)
    : m_wakeUp(::eventfd(0, EFD_CLOEXEC)) {
    if (m_wakeUp < 0)
        return;
    m_thread = std::thread([descriptor, wakeUp = m_wakeUp, hungUp = std::move(hungUp)] {
        // Hang-ups and errors are told whether asked for or not.
        pollfd watched[] = {{descriptor, POLLRDHUP, 0}, {wakeUp, POLLIN, 0}};
        while (::poll(watched, std::size(watched), -1) < 0) {
            if (errno != EINTR)
                return;
        }
        if (watched[1].revents == 0)
            hungUp();
    });
}

DisplayConnectionMonitor::~DisplayConnectionMonitor() {
    if (m_thread.joinable()) {
        ::eventfd_write(m_wakeUp, 1);
        m_thread.join();
    }
    if (m_wakeUp >= 0)
        ::close(m_wakeUp);
}

} // namespace lumvik
