#pragma once

#include "platform/SerialQueue.h"

#include <functional>
#include <mutex>
#include <utility>

namespace lumvik {

/// The way to a serial queue for those that may outlive it, such as a look-up that hangs. Shared by
/// them and the queue's owner, who closes it before the queue goes. All threads.
class SerialQueueHandle {
  public:
    explicit SerialQueueHandle(SerialQueue &queue) : m_queue(&queue) {}

    /// Submits `work` to the queue, or drops it when the access is closed.
    void async(std::function<void()> work) {
        const std::scoped_lock lock(m_mutex);
        if (m_queue)
            m_queue->async(std::move(work));
    }

    /// Once this has returned nothing more is submitted.
    void close() {
        const std::scoped_lock lock(m_mutex);
        m_queue = nullptr;
    }

  private:
    std::mutex m_mutex;
    SerialQueue *m_queue;
};

} // namespace lumvik
