#include "LogindDouble.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace lumvik::test {

namespace {

const QString service = QStringLiteral("org.freedesktop.login1");
const QString path = QStringLiteral("/org/freedesktop/login1");
const QString interface = QStringLiteral("org.freedesktop.login1.Manager");

QString unusedConnectionName() {
    static std::atomic_int count = 0;
    return QStringLiteral("logind-double-%1").arg(++count);
}

QDBusMessage sleepSignal(bool isBeginning) {
    QDBusMessage signal =
        QDBusMessage::createSignal(path, interface, QStringLiteral("PrepareForSleep"));
    signal << isBeginning;
    return signal;
}

} // namespace

LogindDouble::LogindDouble(const QString &busAddress, Behaviour behaviour)
    : m_connectionName(unusedConnectionName())
    , m_bus(QDBusConnection::connectToBus(busAddress, m_connectionName))
    , m_behaviour(behaviour) {
    m_isPresent = m_bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots) &&
                  m_bus.registerService(service);
}

LogindDouble::~LogindDouble() {
    m_bus.unregisterService(service);
    QDBusConnection::disconnectFromBus(m_connectionName);
    for (const int inhibitor : m_inhibitors)
        ::close(inhibitor);
}

int LogindDouble::openInhibitors() const {
    return static_cast<int>(std::count_if(m_inhibitors.begin(), m_inhibitors.end(), [](int end) {
        pollfd descriptor = {end, POLLIN, 0};
        return ::poll(&descriptor, 1, 0) == 0;
    }));
}

QDBusUnixFileDescriptor LogindDouble::Inhibit(const QString &what, const QString &who,
                                              const QString &why, const QString &mode) {
    m_requests.append({what, who, why, mode});
    switch (m_behaviour) {
    case Behaviour::granting:
        return newInhibitor();
    case Behaviour::refusing:
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Permission denied."));
        break;
    case Behaviour::hesitating:
        setDelayedReply(true);
        m_pending.append(message());
        break;
    }
    return {};
}

void LogindDouble::grantPending() {
    for (const QDBusMessage &call : std::exchange(m_pending, {}))
        m_bus.send(call.createReply(QVariant::fromValue(newInhibitor())));
}

void LogindDouble::announce(bool isBeginning) {
    m_bus.send(sleepSignal(isBeginning));
}

QDBusUnixFileDescriptor LogindDouble::newInhibitor() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return {};
    m_inhibitors.push_back(ends[0]);
    QDBusUnixFileDescriptor granted;
    granted.giveFileDescriptor(ends[1]);
    return granted;
}

void forgeSleep(QDBusConnection &bus, bool isBeginning, const QString &receiver) {
    if (receiver.isEmpty()) {
        bus.send(sleepSignal(isBeginning));
        return;
    }
    QDBusMessage signal = QDBusMessage::createTargetedSignal(receiver, path, interface,
                                                             QStringLiteral("PrepareForSleep"));
    signal << isBeginning;
    bus.send(signal);
}

} // namespace lumvik::test
