#include "platform/BusConnector.h"

#include "platform/BusProbe.h"
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

/// A descriptor that becomes readable when nobody wants the bus any more. It is shared with what is
/// on its way to the main thread, which learns from it whether the connector is still there.
class BusConnector::Abandonment {
  public:
    Abandonment() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    Abandonment(const Abandonment &) = delete;
    Abandonment &operator=(const Abandonment &) = delete;
    ~Abandonment() { ::close(m_descriptor); }

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    // Main thread only.
    [[nodiscard]] bool isDeclared() const { return m_isDeclared; }
    [[nodiscard]] bool connectorIsGone() const { return m_connectorIsGone; }
    void connectorGoes() { m_connectorIsGone = true; }
    void declare() {
        m_isDeclared = true;
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_descriptor, &one, sizeof one);
    }

  private:
    int m_descriptor;
    bool m_isDeclared = false;
    bool m_connectorIsGone = false;
};

BusConnector::BusConnector(QString busName, QString label)
    : m_busName(std::move(busName))
    , m_label(std::move(label))
    , m_connectionName(unusedConnectionName())
    , m_abandonment(std::make_shared<Abandonment>()) {}

BusConnector::~BusConnector() {
    disconnect();
    m_abandonment->connectorGoes();
    m_thread.reset();
    // One that was made after all, and that nobody took.
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
    // While the thread is at work, what it makes is ended afterwards.
    if (!m_thread)
        QDBusConnection::disconnectFromBus(m_connectionName);
}

void BusConnector::run(QObject &context, const QString &addresses,
                       std::chrono::milliseconds limit) {
    const auto tell = [this, &context](std::function<void()> outcome) {
        QMetaObject::invokeMethod(
            &context,
            [this, abandonment = m_abandonment, outcome = std::move(outcome)] {
                if (!abandonment->connectorIsGone())
                    finish(outcome);
            },
            Qt::QueuedConnection);
    };
    const auto address =
        findResponsiveBus(m_busName, addresses, m_abandonment->descriptor(), limit);
    if (!address) {
        tell([this, reason = address.error().reason] { m_handlers.failed(reason); });
        return;
    }
    QDBusConnection bus = QDBusConnection::connectToBus(*address, m_connectionName);
    const QString problem = bus.isConnected()
                                ? m_handlers.prepare(bus)
                                : QStringLiteral("the %1 declines the connection").arg(m_busName);
    if (problem.isEmpty()) {
        tell([this, bus] { m_handlers.connected(bus); });
        return;
    }
    tell([this, problem] {
        QDBusConnection::disconnectFromBus(m_connectionName);
        m_handlers.failed(problem);
    });
}

void BusConnector::finish(const std::function<void()> &tell) {
    m_thread.reset();
    if (m_abandonment->isDeclared())
        QDBusConnection::disconnectFromBus(m_connectionName);
    else
        tell();
}

} // namespace lumvik
