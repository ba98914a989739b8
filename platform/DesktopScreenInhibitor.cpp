#include "platform/DesktopScreenInhibitor.h"

#include "platform/BusErrors.h"
#include "platform/LumvikLog.h"

#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <limits>
#include <utility>

namespace lumvik {

namespace {

const QString screenSaverService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString screenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString reason = QStringLiteral("A camera's live picture is shown");

} // namespace

DesktopScreenInhibitor::DesktopScreenInhibitor(QString busAddresses,
                                               std::chrono::milliseconds replyLimit)
    : m_busAddresses(std::move(busAddresses))
    , m_replyLimit(replyLimit)
    , m_connector(QStringLiteral("session bus"),
                  QLatin1String(LumvikLog::subsystem) + QStringLiteral(".screen")) {}

void DesktopScreenInhibitor::keepScreenOn(bool keepsOn) {
    if (keepsOn == m_isWanted)
        return;
    m_isWanted = keepsOn;
    m_wasRefused = false;
    if (keepsOn)
        connectToBus();
    update();
}

void DesktopScreenInhibitor::connectToBus() {
    if (std::exchange(m_hasTriedToConnect, true))
        return;
    const auto subscribe = [this](QDBusConnection &bus) {
        const auto follow = [this, &bus](const QString &service) {
            return bus.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"),
                               {service}, QStringLiteral("sss"), this,
                               SLOT(ownerChanged(QString, QString, QString)));
        };
        const bool isSubscribed = follow(screenSaverService) && follow(portalService);
        return isSubscribed
                   ? QString()
                   : QStringLiteral("the session bus refused the subscription to its signals");
    };
    m_connector.connect(*this, m_busAddresses, m_replyLimit,
                        {.prepare = subscribe,
                         .connected =
                             [this](const QDBusConnection &bus) {
                                 m_bus = bus;
                                 update();
                             },
                         .failed =
                             [this](const QString &problem) {
                                 m_hasTriedToConnect = false; // the next wish tries again
                                 report(problem);
                             }});
}

void DesktopScreenInhibitor::update() {
    if (!m_bus || m_isCallPending || m_isWanted == m_release.has_value())
        return;
    if (!m_isWanted)
        m_bus->asyncCall(*std::exchange(m_release, std::nullopt));
    else if (!m_wasRefused)
        askScreenSaver();
}

void DesktopScreenInhibitor::askScreenSaver() {
    const QDBusMessage request =
        QDBusMessage::createMethodCall(screenSaverService, screenSaverPath, screenSaverService,
                                       QStringLiteral("Inhibit"))
        << QStringLiteral("Lumvik") << reason;
    ask(request, [this](const QDBusPendingCallWatcher &call) {
        const QDBusPendingReply<uint> cookie = call;
        if (cookie.isError())
            return askPortal(cookie.error());
        m_release = QDBusMessage::createMethodCall(screenSaverService, screenSaverPath,
                                                   screenSaverService, QStringLiteral("UnInhibit"))
                    << cookie.value();
        update();
    });
}

void DesktopScreenInhibitor::askPortal(const QDBusError &screenSaverError) {
    constexpr uint whileIdle = 8;
    const QString noWindow;
    const QDBusMessage request =
        QDBusMessage::createMethodCall(portalService, portalPath,
                                       QStringLiteral("org.freedesktop.portal.Inhibit"),
                                       QStringLiteral("Inhibit"))
        << noWindow << whileIdle << QVariantMap{{QStringLiteral("reason"), reason}};
    ask(request, [this, screenSaverError](const QDBusPendingCallWatcher &call) {
        const QDBusPendingReply<QDBusObjectPath> handle = call;
        if (handle.isError())
            return refused(screenSaverError, handle.error());
        m_release = QDBusMessage::createMethodCall(portalService, handle.value().path(),
                                                   QStringLiteral("org.freedesktop.portal.Request"),
                                                   QStringLiteral("Close"));
        update();
    });
}

void DesktopScreenInhibitor::ask(
    const QDBusMessage &request,
    const std::function<void(const QDBusPendingCallWatcher &)> &replied) {
    // A reply that came after a time limit would be lost, and with it the means to release what it
    // grants. The bus replies itself if the service goes away.
    constexpr int unlimited = std::numeric_limits<int>::max();
    m_isCallPending = true;
    auto *watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(request, unlimited), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, replied] {
        watcher->deleteLater();
        m_isCallPending = false;
        replied(*watcher);
    });
}

void DesktopScreenInhibitor::refused(const QDBusError &screenSaverError,
                                     const QDBusError &portalError) {
    m_wasRefused = true;
    const auto answer = [](const QString &service, const QDBusError &error) {
        return meansAbsence(error)
                   ? QStringLiteral("there is no %1").arg(service)
                   : QStringLiteral("the %1 refused it (%2)").arg(service, reasonOf(error));
    };
    report(QStringLiteral("%1, and %2")
               .arg(answer(QStringLiteral("screen saver"), screenSaverError),
                    answer(QStringLiteral("portal"), portalError)));
}

void DesktopScreenInhibitor::ownerChanged(const QString &name, const QString &oldOwner,
                                          const QString &newOwner) {
    // What the previous service has granted went with it.
    if (!oldOwner.isEmpty() && m_release && m_release->service() == name)
        m_release.reset();
    if (!newOwner.isEmpty())
        m_wasRefused = false;
    update();
}

void DesktopScreenInhibitor::report(const QString &problem) {
    if (!std::exchange(m_hasReported, true))
        LumvikLog::lifecycle().info(
            QStringLiteral("The screen cannot be kept on: %1.").arg(problem));
}

} // namespace lumvik
