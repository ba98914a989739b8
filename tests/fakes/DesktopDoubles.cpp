#include "DesktopDoubles.h"

#include <QDBusMessage>

#include <atomic>

namespace lumvik::test {

namespace {

const QString notificationService = QStringLiteral("org.freedesktop.Notifications");
const QString notificationPath = QStringLiteral("/org/freedesktop/Notifications");
const QString requestPath = QStringLiteral("/org/freedesktop/portal/desktop/request/1");

QString newConnectionName() {
    static std::atomic_int count = 0;
    return QStringLiteral("desktop-double-%1").arg(++count);
}

} // namespace

ServiceDouble::ServiceDouble(const QString &busAddress, const QString &service)
    : m_service(service)
    , m_connectionName(newConnectionName())
    , m_bus(QDBusConnection::connectToBus(busAddress, m_connectionName)) {}

void ServiceDouble::appearAt(const QString &path) {
    m_isPresent = m_bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots) &&
                  m_bus.registerService(m_service);
}

ServiceDouble::~ServiceDouble() {
    m_bus.unregisterService(m_service);
    QDBusConnection::disconnectFromBus(m_connectionName);
}

// ---- Notifications ----

NotificationServerDouble::NotificationServerDouble(const QString &busAddress)
    : ServiceDouble(busAddress, notificationService) {
    appearAt(notificationPath);
}

uint NotificationServerDouble::Notify(const QString &program, uint replacedId, const QString &icon,
                                      const QString &title, const QString &text,
                                      const QStringList &actions, const QVariantMap &hints, int) {
    m_requests.append({program, replacedId, icon, title, text, actions, hints});
    if (m_refuses) {
        sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("Too many notifications."));
        return 0;
    }
    return replacedId != 0 ? replacedId : ++m_lastId;
}

void NotificationServerDouble::announce(const QString &signal, const QVariantList &arguments) {
    QDBusMessage message =
        QDBusMessage::createSignal(notificationPath, notificationService, signal);
    message.setArguments(arguments);
    bus().send(message);
}

void NotificationServerDouble::invoke(uint id, const QString &action,
                                      const QString &activationToken) {
    if (!activationToken.isEmpty())
        announce(QStringLiteral("ActivationToken"), {id, activationToken});
    announce(QStringLiteral("ActionInvoked"), {id, action});
}

void NotificationServerDouble::dismiss(uint id) {
    constexpr uint byTheUser = 2;
    announce(QStringLiteral("NotificationClosed"), {id, byTheUser});
}

// ---- The screen ----

ScreenSaverDouble::ScreenSaverDouble(const QString &busAddress)
    : ServiceDouble(busAddress, QStringLiteral("org.freedesktop.ScreenSaver")) {
    appearAt(QStringLiteral("/org/freedesktop/ScreenSaver"));
}

uint ScreenSaverDouble::Inhibit(const QString &program, const QString &) {
    m_programs.append(program);
    if (m_refuses) {
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Not for strangers."));
        return 0;
    }
    m_inhibitors.append(++m_lastCookie);
    return m_lastCookie;
}

/// The object with which an inhibitor of the portal is ended.
class PortalDouble::Request final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

  public:
    explicit Request(QList<uint> &inhibitors) : m_inhibitors(inhibitors) {}

  public Q_SLOTS:
    Q_SCRIPTABLE void Close() { m_inhibitors.clear(); }

  private:
    QList<uint> &m_inhibitors;
};

PortalDouble::PortalDouble(const QString &busAddress)
    : ServiceDouble(busAddress, QStringLiteral("org.freedesktop.portal.Desktop"))
    , m_request(new Request(m_inhibitors)) {
    bus().registerObject(requestPath, m_request, QDBusConnection::ExportScriptableSlots);
    appearAt(QStringLiteral("/org/freedesktop/portal/desktop"));
}

PortalDouble::~PortalDouble() {
    delete m_request;
}

QDBusObjectPath PortalDouble::Inhibit(const QString &, uint flags, const QVariantMap &) {
    m_inhibitors.append(flags);
    return QDBusObjectPath(requestPath);
}

} // namespace lumvik::test

#include "DesktopDoubles.moc"
