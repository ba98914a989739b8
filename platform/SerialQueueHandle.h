#pragma once

#include "platform/SerialQueue.h"

#include <functional>
#include <mutex>
#include <utility>

namespace lumvik {

/// Gives access to a serial queue to work that may outlive the queue, such as a name look-up that
/// hangs. The queue's owner closes the handle before it destroys the queue. All functions may be
/// called on any thread.
class SerialQueueHandle {
  public:
    explicit SerialQueueHandle(SerialQueue &queue) : m_queue(&queue) {}

    /// Submits `work` to the queue, or drops it when the handle is closed.
    void async(std::function<void()> work) {
        const std::scoped_lock lock(m_mutex);
        if (m_queue)
            m_queue->async(std::move(work));
    }

    /// Closes the handle. `lastWork`, if given, is the last work that reaches the queue through
    /// this handle: nothing submitted by other threads can follow it.
    void close(std::function<void()> lastWork = {}) {
        const std::scoped_lock lock(m_mutex);
        if (m_queue && lastWork)
            m_queue->async(std::move(lastWork));
        m_queue = nullptr;
    }

  private:
    std::mutex m_mutex;
    SerialQueue *m_queue;
};

} // namespace lumvik
