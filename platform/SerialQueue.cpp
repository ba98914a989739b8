#include "platform/SerialQueue.h"

#include <QObject>
#include <QThread>

namespace lumvik {

SerialQueue::SerialQueue(const QString &label)
    : m_thread(std::make_unique<QThread>())
    , m_worker(std::make_unique<QObject>()) {
    m_thread->setObjectName(label);
    m_worker->moveToThread(m_thread.get());
    m_thread->start();
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
