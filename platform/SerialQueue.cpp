#include "platform/SerialQueue.h"

#include <QObject>
#include <QThread>

#include <pthread.h>

namespace lumvik {

namespace {

/// How much of a thread's name the kernel takes; it refuses a longer one.
constexpr int threadNameSize = 15;

/// The label's part behind its last dot, as far as the kernel takes it.
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
    // The toolkit has given the thread its object's whole name. The first piece of work corrects
    // that, on the thread itself.
    async([name = threadName(label)] { ::pthread_setname_np(::pthread_self(), name.constData()); });
}

SerialQueue::~SerialQueue() {
    // Queued behind all submitted work, so that none of it is lost.
    async([this] { m_thread->quit(); });
    m_thread->wait();
}

QString SerialQueue::label() const {
    return m_thread->objectName();
}

void SerialQueue::async(std::function<void()> work) {
    QMetaObject::invokeMethod(m_worker.get(), std::move(work), Qt::QueuedConnection);
}

} // namespace lumvik
