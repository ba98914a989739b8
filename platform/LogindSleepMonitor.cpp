#include "platform/LogindSleepMonitor.h"

#include "platform/BusErrors.h"
#include "platform/FileDescriptor.h"
#include "platform/LumvikLog.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QStringList>

#include <utility>

namespace lumvik {

namespace {

const QString logindService = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString logindInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

} // namespace

LogindSleepMonitor::LogindSleepMonitor(QString busAddress, std::chrono::milliseconds answerLimit,
                                       std::chrono::milliseconds sleepLimit)
    : m_busAddress(std::move(busAddress))
    , m_answerLimit(answerLimit)
    , m_connector(QStringLiteral("system bus"),
                  QLatin1String(LumvikLog::subsystem) + QStringLiteral(".sleep")) {
    m_sleepLimit.setSingleShot(true);
    m_sleepLimit.setInterval(sleepLimit);
    connect(&m_sleepLimit, &QTimer::timeout, this, &LogindSleepMonitor::wake);
}

LogindSleepMonitor::~LogindSleepMonitor() {
    stop();
}

QString LogindSleepMonitor::systemBusAddress() {
    return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                                QStringLiteral("unix:path=/var/run/dbus/system_bus_socket"));
}

void LogindSleepMonitor::start(std::function<void(SleepDelay)> willSleep,
                               std::function<void()> didWake) {
    if (std::exchange(m_isStarted, true))
        return;
    m_isWatching = true;
    m_willSleep = std::move(willSleep);
    m_didWake = std::move(didWake);
    // Subscribing by service name filters out signals from other senders. The subscription asks the
    // bus for the owner of each name and waits for the reply.
    const auto subscribe = [this](QDBusConnection &bus) {
        const bool isSubscribed =
            bus.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"),
                        {logindService}, QStringLiteral("sss"), this,
                        SLOT(ownerChanged(QString, QString, QString))) &&
            bus.connect(logindService, logindPath, logindInterface,
                        QStringLiteral("PrepareForSleep"), this, SLOT(prepareForSleep(bool)));
        return isSubscribed ? QString() : QStringLiteral("the system bus rejected the connection");
    };
    m_connector.connect(*this, m_busAddress, m_answerLimit,
                        {.prepare = subscribe,
                         .connected =
                             [this](const QDBusConnection &bus) {
                                 m_bus = bus;
                                 requestInhibitor();
                             },
                         .failed = [this](const QString &reason) { reportUndetectable(reason); }});
}

void LogindSleepMonitor::stop() {
    m_isStarted = true;
    m_isWatching = false;
    m_sleepLimit.stop();
    m_willSleep = nullptr;
    m_didWake = nullptr;
    m_inhibitor.reset();
    ++m_lastRequest;
    m_bus.reset();
    m_connector.disconnect();
}

void LogindSleepMonitor::prepareForSleep(bool isBeginning) {
    if (!m_isWatching)
        return;
    if (!isBeginning) {
        wake();
        return;
    }
    m_isSleepAnnounced = true;
    m_sleepLimit.start();
    // The handler is copied because it may stop the monitor, which clears `m_willSleep`.
    const auto willSleep = m_willSleep;
    willSleep(std::exchange(m_inhibitor, {}));
}

void LogindSleepMonitor::wake() {
    m_isSleepAnnounced = false;
    m_sleepLimit.stop();
    if (!m_inhibitor && !m_isRequestPending)
        requestInhibitor();
    const auto didWake = m_didWake;
    didWake();
}

void LogindSleepMonitor::ownerChanged(const QString &name, const QString &oldOwner,
                                      const QString &newOwner) {
    if (!m_isWatching || name != logindService)
        return;
    // A request sent while there was no login manager is answered by the login manager that has
    // just started.
    if (oldOwner.isEmpty() && m_isRequestPending)
        return;
    // The previous login manager can no longer answer its request.
    ++m_lastRequest;
    m_isRequestPending = false;
    if (newOwner.isEmpty())
        return;
    // The previous login manager's inhibitor is kept until the new login manager has granted one.
    requestInhibitor();
    // The login manager that announced the sleep has stopped and can no longer announce the
    // wake-up.
    if (m_isSleepAnnounced)
        wake();
}

void LogindSleepMonitor::requestInhibitor() {
    if (!m_bus)
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(logindService, logindPath, logindInterface,
                                                       QStringLiteral("Inhibit"));
    call << QStringLiteral("sleep") << QStringLiteral("Lumvik")
         << QStringLiteral("The camera's video is stopped before the computer sleeps")
         << QStringLiteral("delay");
    m_isRequestPending = true;
    auto *watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, request = ++m_lastRequest] {
                watcher->deleteLater();
                // The reply to an earlier request is dropped, which closes its descriptor.
                if (request == m_lastRequest)
                    inhibitorAnswered(*watcher);
            });
}

void LogindSleepMonitor::inhibitorAnswered(const QDBusPendingCallWatcher &answer) {
    m_isRequestPending = false;
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = answer;
    if (reply.isError()) {
        if (meansAbsence(reply.error()))
            reportUndetectable(QStringLiteral("there is no login manager"));
        else if (!m_isSleepAnnounced) // a refusal after the announcement is normal
            reportRefusal(reasonOf(reply.error()));
        return;
    }
    // The descriptor must be taken out of the reply, which would otherwise keep a copy of it open.
    FileDescriptor inhibitor(reply.value().takeFileDescriptor());
    // The machine may sleep once the descriptor is closed. An inhibitor that arrives after the
    // announcement would only delay the sleep.
    if (inhibitor.isOpen() && !m_isSleepAnnounced)
        m_inhibitor = std::make_shared<FileDescriptor>(std::move(inhibitor));
}

void LogindSleepMonitor::reportUndetectable(const QString &reason) {
    if (m_isWatching && !std::exchange(m_hasReportedUndetectable, true))
        LumvikLog::lifecycle().info(
            QStringLiteral("Sleep cannot be detected on this system: %1.").arg(reason));
}

void LogindSleepMonitor::reportRefusal(const QString &reason) {
    if (m_isWatching && !std::exchange(m_hasReportedRefusal, true))
        LumvikLog::lifecycle().info(
            QStringLiteral("Sleep cannot be delayed on this system: %1.").arg(reason));
}

} // namespace lumvik
