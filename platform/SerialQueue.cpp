#include "platform/SerialQueue.h"

#include <QObject>
#include <QThread>

#include <pthread.h>

namespace lumvik {

namespace {

/// The longest thread name that the kernel accepts, without the terminator.
constexpr int threadNameSize = 15;

/// Returns the part of the label after its last dot, cut to the length that the kernel accepts.
QByteArray threadName(const QString &label) {
    return label.mid(label.lastIndexOf(QLatin1Char('.')) + 1).toUtf8().left(threadNameSize);
}

} // namespace

SerialQueue::SerialQueue(const QString &label)
    : m_thread(std::make_unique<QThread>())
    , m_worker(std::make_unique<QObject>()) {
    m_thread->setObjectName(label);
    m_worker->moveToThread(m_thread.get());
    m_thread->start();
    // Qt names the thread after the whole label. The first work item replaces that name with the
    // short one.
    async([name = threadName(label)] { ::pthread_setname_np(::pthread_self(), name.constData()); });
}

SerialQueue::~SerialQueue() {
    // The thread quits only after all submitted work, because that work is ahead in its queue.
    async([this] { m_thread->quit(); });
    m_thread->wait();
}

void SerialQueue::async(std::function<void()> work) {
    QMetaObject::invokeMethod(m_worker.get(), std::move(work), Qt::QueuedConnection);
}

} // namespace lumvik
