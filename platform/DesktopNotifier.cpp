#include "platform/DesktopNotifier.h"

#include "platform/BusErrors.h"
#include "platform/LumvikLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace lumvik {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString defaultAction = QStringLiteral("default"); // a click on the notification itself
const QString showAction = QStringLiteral("show");

constexpr uchar normalUrgency = 1;
constexpr uchar criticalUrgency = 2;

QDBusMessage callOf(const QString &method) {
    return QDBusMessage::createMethodCall(service, path, service, method);
}

} // namespace

DesktopNotifier::DesktopNotifier(QString busAddresses, std::chrono::milliseconds replyLimit)
    : m_busAddresses(std::move(busAddresses))
    , m_replyLimit(replyLimit)
    , m_connector(QStringLiteral("session bus"),
                  QLatin1String(LumvikLog::subsystem) + QStringLiteral(".notifications")) {}

void DesktopNotifier::show(const Notification &notification,
                           std::function<void(const QByteArray &)> opened) {
    m_wanted = notification;
    m_opened = std::move(opened);
    m_isSent = false;
    connectToBus();
    send();
}

void DesktopNotifier::withdraw() {
    if (!m_wanted)
        return;
    m_wanted.reset();
    m_opened = nullptr;
    m_isSent = false;
    send();
}

void DesktopNotifier::connectToBus() {
    if (std::exchange(m_hasTriedToConnect, true))
        return;
    const auto subscribe = [this](QDBusConnection &bus) {
        const bool isSubscribed =
            bus.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"),
                        {service}, QStringLiteral("sss"), this,
                        SLOT(ownerChanged(QString, QString, QString))) &&
            bus.connect(service, path, service, QStringLiteral("ActivationToken"), this,
                        SLOT(tokenArrived(uint, QString))) &&
            bus.connect(service, path, service, QStringLiteral("ActionInvoked"), this,
                        SLOT(actionInvoked(uint, QString))) &&
            bus.connect(service, path, service, QStringLiteral("NotificationClosed"), this,
                        SLOT(notificationClosed(uint, uint)));
        return isSubscribed
                   ? QString()
                   : QStringLiteral("the session bus refused the subscription to its signals");
    };
    m_connector.connect(*this, m_busAddresses, m_replyLimit,
                        {.prepare = subscribe,
                         .connected =
                             [this](const QDBusConnection &bus) {
                                 m_bus = bus;
                                 send();
                             },
                         .failed =
                             [this](const QString &reason) {
                                 m_hasTriedToConnect = false; // the next notification tries again
                                 report(reason);
                             }});
}

void DesktopNotifier::send() {
    // The number of the notification is known only when the server has replied.
    if (!m_bus || m_isSent || m_isCallPending)
        return;
    m_isSent = true;
    if (!m_wanted) {
        if (m_id != 0)
            m_bus->asyncCall(callOf(QStringLiteral("CloseNotification")) << m_id);
        m_id = 0;
        return;
    }
    QVariantMap hints;
    hints.insert(QStringLiteral("urgency"),
                 QVariant::fromValue(m_wanted->isUrgent ? criticalUrgency : normalUrgency));
    hints.insert(QStringLiteral("desktop-entry"), QLatin1String(LumvikLog::subsystem));
    const QString show = QStringLiteral("Show");
    constexpr int serversOwnTimeout = -1;
    const QDBusMessage call =
        callOf(QStringLiteral("Notify"))
        << QStringLiteral("Lumvik") << m_id << QString::fromLatin1(LumvikLog::subsystem)
        << m_wanted->title << m_wanted->text.toHtmlEscaped() // servers may interpret markup
        << QStringList{defaultAction, show, showAction, show} << hints << serversOwnTimeout;
    m_isCallPending = true;
    auto *watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        shown(*watcher);
    });
}

void DesktopNotifier::shown(const QDBusPendingCallWatcher &reply) {
    m_isCallPending = false;
    const QDBusPendingReply<uint> id = reply;
    if (id.isError())
        report(reasonOf(id.error()));
    else
        m_id = id.value();
    m_hasFailed = id.isError();
    send();
}

void DesktopNotifier::ownerChanged(const QString &, const QString &oldOwner,
                                   const QString &newOwner) {
    if (!oldOwner.isEmpty())
        m_id = 0; // the next server gives the number to another program's notification
    if (!newOwner.isEmpty() && std::exchange(m_hasFailed, false)) {
        m_isSent = false;
        send();
    }
}

void DesktopNotifier::tokenArrived(uint id, const QString &token) {
    if (id == m_id)
        m_token = token.toUtf8();
}

void DesktopNotifier::actionInvoked(uint id, const QString &action) {
    const QByteArray token = std::exchange(m_token, {});
    if (id != m_id || !m_opened || (action != defaultAction && action != showAction))
        return;
    const auto opened = m_opened; // may show another notification
    opened(token);
}

void DesktopNotifier::notificationClosed(uint id, uint) {
    if (id == m_id)
        m_id = 0;
}

void DesktopNotifier::report(const QString &reason) {
    if (!std::exchange(m_hasReported, true))
        LumvikLog::lifecycle().info(
            QStringLiteral("Notifications cannot be shown on this system: %1.").arg(reason));
}

} // namespace lumvik
