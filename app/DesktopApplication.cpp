#include "app/DesktopApplication.h"

#include "platform/LumvikLog.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <utility>

namespace lumvik {

namespace {

/// The bus name with slashes instead of dots.
const QString objectPath = QStringLiteral("/com/tandrel/Lumvik");

/// Requests the program's name for `application`. If another program owns the name, the bus queues
/// the request. Blocks until the bus has replied. Returns the reason for a failure, or nothing.
QString claimName(QDBusConnection &bus, QObject &application) {
    // The object is registered first. Otherwise, calls to the new name could fail.
    const bool isRegistered =
        bus.registerObject(objectPath, &application, QDBusConnection::ExportScriptableSlots);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(QLatin1String(LumvikLog::subsystem),
                                         QDBusConnectionInterface::QueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!isRegistered || !reply.isValid())
        return QStringLiteral("the session bus refused it");
    if (reply.value() == QDBusConnectionInterface::ServiceRegistered)
        LumvikLog::lifecycle().debug(QStringLiteral("Lumvik has its name on the session bus."));
    else
        LumvikLog::lifecycle().info(
            QStringLiteral("Lumvik has no name on the session bus while another program has it."));
    return {};
}

} // namespace

DesktopApplication::DesktopApplication(QString busAddresses, std::chrono::milliseconds replyLimit)
    : m_busAddresses(std::move(busAddresses))
    , m_replyLimit(replyLimit)
    , m_connector(QStringLiteral("session bus"),
                  QLatin1String(LumvikLog::subsystem) + QStringLiteral(".session")) {}

QString DesktopApplication::sessionBusAddresses() {
    QString addresses = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    const QString runtimeFolder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!addresses.isEmpty() || runtimeFolder.isEmpty())
        return addresses;
    return QStringLiteral("unix:path=") + runtimeFolder + QStringLiteral("/bus");
}

QString DesktopApplication::addressesForName() {
    const bool wantsNoName = qEnvironmentVariable("LUMVIK_SESSION_BUS") == QStringLiteral("no");
    return wantsNoName ? QString() : sessionBusAddresses();
}

void DesktopApplication::start(LaunchRequestHandler handler) {
    if (std::exchange(m_isStarted, true))
        return;
    m_handler = std::move(handler);
    m_connector.connect(
        *this, m_busAddresses, m_replyLimit,
        {.prepare = [this](QDBusConnection &bus) { return claimName(bus, *this); },
         .connected = [](const QDBusConnection &) {},
         .failed =
             [](const QString &reason) {
                 LumvikLog::lifecycle().info(
                     QStringLiteral("Lumvik has no name on the session bus: %1.").arg(reason));
             }});
}

void DesktopApplication::stop() {
    m_isStarted = true;
    m_handler = nullptr;
    m_connector.disconnect();
}

void DesktopApplication::Activate(const QVariantMap &platformData) {
    perform(LaunchRequest::Action::activate, platformData);
}

void DesktopApplication::Open(const QStringList &, const QVariantMap &platformData) {
    perform(LaunchRequest::Action::activate, platformData);
}

void DesktopApplication::ActivateAction(const QString &name, const QVariantList &,
                                        const QVariantMap &platformData) {
    const auto action = actionNamed(name);
    if (action)
        perform(*action, platformData);
    else
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no such action."));
}

void DesktopApplication::perform(LaunchRequest::Action action, const QVariantMap &platformData) {
    QString token = platformData.value(QStringLiteral("activation-token")).toString();
    if (token.isEmpty())
        token = platformData.value(QStringLiteral("desktop-startup-id")).toString();
    if (!m_handler || !m_handler(LaunchRequest::with(action, token.toUtf8())))
        sendErrorReply(QDBusError::Failed, QStringLiteral("Lumvik is ending."));
}

} // namespace lumvik
