#pragma once

#include <QString>

#include <functional>
#include <memory>

class QObject;
class QThread;

namespace lumvik {

/// A queue of work with a thread of its own: pieces of work run one after another, in the order of
/// submission. The label is written like a host name backwards; its part behind the last dot names
/// the thread, of whose name the kernel keeps fifteen characters: the whole label would show only
/// what the labels of all queues begin with.
///
/// `async` may be called on any thread. Destruction lets the work submitted so far finish and then
/// joins the thread; it must not happen on the queue's own thread.
class SerialQueue {
  public:
    explicit SerialQueue(const QString &label);
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;
    ~SerialQueue();

    [[nodiscard]] QString label() const;
    void async(std::function<void()> work);

  private:
    std::unique_ptr<QThread> m_thread;
    std::unique_ptr<QObject> m_worker; // lives on m_thread; work is delivered to it as events
};

} // namespace lumvik
