#pragma once

#include <QString>

#include <functional>
#include <memory>

class QObject;
class QThread;

namespace lumvik {

/// A work queue with a thread of its own. Work runs in order of submission, one item at a time.
///
/// The label is written in reverse domain name notation. The thread is named after the last part of
/// the label only, because the kernel limits a thread's name to fifteen characters and the labels
/// of all queues begin alike.
///
/// `async` may be called on any thread. Destruction waits for the work submitted so far and joins
/// the thread, so it must not happen on the queue's own thread.
class SerialQueue {
  public:
    explicit SerialQueue(const QString &label);
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;
    ~SerialQueue();

    void async(std::function<void()> work);

  private:
    std::unique_ptr<QThread> m_thread;
    std::unique_ptr<QObject> m_worker; // belongs to m_thread and receives work as events
};

} // namespace lumvik
