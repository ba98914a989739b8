#include "platform/LogindSleepMonitor.h"

#include "platform/LumvikLog.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QStringList>

#include <unistd.h>

#include <utility>

namespace lumvik {

namespace {

const QString logindService = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString logindInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

/// Whether an error says that there is no login manager, not that it declines.
bool meansAbsence(const QDBusError &error) {
    return error.type() == QDBusError::ServiceUnknown ||
           error.name() == QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner") ||
           error.name().startsWith(QStringLiteral("org.freedesktop.DBus.Error.Spawn."));
}

/// An error's own words as the end of a sentence of ours.
QString reasonOf(const QDBusError &error) {
    QString reason = error.message().isEmpty() ? error.name() : error.message();
    while (reason.endsWith(u'.'))
        reason.chop(1);
    return reason;
}

/// The delay: the machine may sleep once the descriptor is closed.
class Inhibitor {
  public:
    explicit Inhibitor(int descriptor) : m_descriptor(descriptor) {}
    Inhibitor(const Inhibitor &) = delete;
    Inhibitor &operator=(const Inhibitor &) = delete;
    ~Inhibitor() { ::close(m_descriptor); }

  private:
    int m_descriptor;
};

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
    // Subscribed to by the names of the services: a signal that anybody else sends does not come
    // through. Subscribing asks the bus who has the name and waits for the answer.
    const auto subscribe = [this](QDBusConnection &bus) {
        const bool isSubscribed =
            bus.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"),
                        {logindService}, QStringLiteral("sss"), this,
                        SLOT(ownerChanged(QString, QString, QString))) &&
            bus.connect(logindService, logindPath, logindInterface,
                        QStringLiteral("PrepareForSleep"), this, SLOT(prepareForSleep(bool)));
        return isSubscribed ? QString() : QStringLiteral("the system bus declines the connection");
    };
    m_connector.connect(*this, m_busAddress, m_answerLimit,
                        {.prepare = subscribe,
                         .connected =
                             [this](const QDBusConnection &bus) {
                                 m_bus = bus;
                                 requestInhibitor();
                             },
                         .failed = [this](const QString &reason) { reportBlindness(reason); }});
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
    // A copy, because the handler may stop the monitor.
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
    // What was asked for while there was none, the new one answers.
    if (oldOwner.isEmpty() && m_isRequestPending)
        return;
    // What the one before was asked for, it does not answer any more.
    ++m_lastRequest;
    m_isRequestPending = false;
    if (newOwner.isEmpty())
        return;
    // The inhibitor of the one before is kept until this one has granted its own.
    requestInhibitor();
    // Whoever announced the sleep is gone, and with it the word that the machine woke.
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
                // The answer to an earlier request closes its own descriptor.
                if (request == m_lastRequest)
                    inhibitorAnswered(*watcher);
            });
}

void LogindSleepMonitor::inhibitorAnswered(const QDBusPendingCallWatcher &answer) {
    m_isRequestPending = false;
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = answer;
    if (reply.isError()) {
        if (meansAbsence(reply.error()))
            reportBlindness(QStringLiteral("there is no login manager"));
        else if (!m_isSleepAnnounced) // nothing can be held off any more then, which is no fault
            reportRefusal(reasonOf(reply.error()));
        return;
    }
    // Taken out, because the message keeps a descriptor of its own otherwise.
    const int descriptor = reply.value().takeFileDescriptor();
    if (descriptor < 0)
        return;
    SleepDelay inhibitor = std::make_shared<Inhibitor>(descriptor);
    // One that comes after the announcement would only hold the machine up.
    if (!m_isSleepAnnounced)
        m_inhibitor = std::move(inhibitor);
}

void LogindSleepMonitor::reportBlindness(const QString &reason) {
    if (m_isWatching && !std::exchange(m_hasReportedBlindness, true))
        LumvikLog::lifecycle().info(
            QStringLiteral("Sleep cannot be noticed on this system: %1.").arg(reason));
}

void LogindSleepMonitor::reportRefusal(const QString &reason) {
    if (m_isWatching && !std::exchange(m_hasReportedRefusal, true))
        LumvikLog::lifecycle().info(
            QStringLiteral("Sleep cannot be held off on this system: %1.").arg(reason));
}

} // namespace lumvik
