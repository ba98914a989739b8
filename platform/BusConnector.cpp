#include "platform/BusConnector.h"

#include "platform/BusProbe.h"
#include "platform/FileDescriptor.h"
#include "platform/SerialQueue.h"

#include <QObject>

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace lumvik {

namespace {

QString unusedConnectionName() {
    static std::atomic_int count = 0;
    return QStringLiteral("lumvik-%1").arg(++count);
}

} // namespace

/// Contains a descriptor that becomes readable when the connection is no longer wanted. Calls
/// queued for the main thread share this object and can therefore tell whether the connector
/// still exists.
class BusConnector::Abandonment {
  public:
    Abandonment() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    [[nodiscard]] int descriptor() const { return m_descriptor.get(); }

    // Main thread only.
    [[nodiscard]] bool isDeclared() const { return m_isDeclared; }
    [[nodiscard]] bool isConnectorDestroyed() const { return m_isConnectorDestroyed; }
    void setConnectorDestroyed() { m_isConnectorDestroyed = true; }
    void declare() {
        m_isDeclared = true;
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_descriptor.get(), &one, sizeof one);
    }

  private:
    const FileDescriptor m_descriptor;
    bool m_isDeclared = false;
    bool m_isConnectorDestroyed = false;
};

BusConnector::BusConnector(QString busName, QString label)
    : m_busName(std::move(busName))
    , m_label(std::move(label))
    , m_connectionName(unusedConnectionName())
    , m_abandonment(std::make_shared<Abandonment>()) {}

BusConnector::~BusConnector() {
    disconnect();
    m_abandonment->setConnectorDestroyed();
    m_thread.reset();
    // Closes a connection that was made but not passed to `connected`.
    QDBusConnection::disconnectFromBus(m_connectionName);
}

void BusConnector::connect(QObject &context, const QString &addresses,
                           std::chrono::milliseconds limit, Handlers handlers) {
    if (m_thread || m_abandonment->isDeclared())
        return;
    m_handlers = std::move(handlers);
    m_thread = std::make_unique<SerialQueue>(m_label);
    m_thread->async([this, &context, addresses, limit] { run(context, addresses, limit); });
}

void BusConnector::disconnect() {
    m_abandonment->declare();
    // While the thread is running, `finish` closes the connection instead.
    if (!m_thread)
        QDBusConnection::disconnectFromBus(m_connectionName);
}

void BusConnector::run(QObject &context, const QString &addresses,
                       std::chrono::milliseconds limit) {
    const auto notify = [this, &context](std::function<void()> outcome) {
        QMetaObject::invokeMethod(
            &context,
            [this, abandonment = m_abandonment, outcome = std::move(outcome)] {
                if (!abandonment->isConnectorDestroyed())
                    finish(outcome);
            },
            Qt::QueuedConnection);
    };
    const auto address =
        findResponsiveBus(m_busName, addresses, m_abandonment->descriptor(), limit);
    if (!address) {
        notify([this, reason = address.error().reason] { m_handlers.failed(reason); });
        return;
    }
    QDBusConnection bus = QDBusConnection::connectToBus(*address, m_connectionName);
    const QString problem = bus.isConnected()
                                ? m_handlers.prepare(bus)
                                : QStringLiteral("the %1 rejected the connection").arg(m_busName);
    if (problem.isEmpty()) {
        notify([this, bus] { m_handlers.connected(bus); });
        return;
    }
    notify([this, problem] {
        QDBusConnection::disconnectFromBus(m_connectionName);
        m_handlers.failed(problem);
    });
}

void BusConnector::finish(const std::function<void()> &notify) {
    m_thread.reset();
    if (m_abandonment->isDeclared())
        QDBusConnection::disconnectFromBus(m_connectionName);
    else
        notify();
}

} // namespace lumvik
