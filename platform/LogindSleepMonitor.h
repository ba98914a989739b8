#pragma once

#include "platform/BusConnector.h"
#include "platform/SleepMonitor.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

class QDBusPendingCallWatcher;

namespace lumvik {

/// Learns of sleep from the login manager on the system bus (systemd-logind, or elogind).
///
/// While the machine is awake it holds an inhibitor of the kind "delay", which makes the login
/// manager wait a few seconds for whoever holds one; it is what `willSleep` hands on. A login
/// manager that starts later, or starts again, is taken up when it does.
///
/// Where there is no bus or no login manager, one line in the log says so and no handler runs.
/// Where only the inhibitor is refused, one line says so too, and the delay handed on is empty.
///
/// Everything happens on the main thread except connecting to the bus, which is done on a thread of
/// its own because a bus can accept a connection and then be silent. Owned by `main`; must go
/// before the application object.
class LogindSleepMonitor final : public QObject, public SleepMonitor {
    Q_OBJECT

  public:
    /// A bus that has not answered within `answerLimit` counts as absent. A machine that has run
    /// for `sleepLimit` after its sleep was announced counts as awake, whatever became of the sleep
    /// and of those who would tell.
    explicit LogindSleepMonitor(QString busAddress = systemBusAddress(),
                                std::chrono::milliseconds answerLimit = std::chrono::seconds(10),
                                std::chrono::milliseconds sleepLimit = std::chrono::seconds(60));
    ~LogindSleepMonitor() override;

    /// DBUS_SYSTEM_BUS_ADDRESS from the environment, or where the system bus is everywhere.
    [[nodiscard]] static QString systemBusAddress();

    void start(std::function<void(SleepDelay)> willSleep, std::function<void()> didWake) override;
    void stop() override;

    /// Whether the login manager has granted an inhibitor that is still this monitor's own.
    [[nodiscard]] bool holdsInhibitor() const { return m_inhibitor != nullptr; }

  private Q_SLOTS: // called by the bus, by name
    void prepareForSleep(bool isBeginning);
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

  private:
    void wake();
    void requestInhibitor();
    void inhibitorAnswered(const QDBusPendingCallWatcher &answer);
    void reportBlindness(const QString &reason);
    void reportRefusal(const QString &reason);

    const QString m_busAddress;
    const std::chrono::milliseconds m_answerLimit;
    BusConnector m_connector;

    bool m_isStarted = false;
    bool m_isWatching = false;
    std::function<void(SleepDelay)> m_willSleep;
    std::function<void()> m_didWake;

    QTimer m_sleepLimit; ///< Stands still while the machine sleeps.
    std::optional<QDBusConnection> m_bus;
    SleepDelay m_inhibitor;
    int m_lastRequest = 0; ///< Answers to earlier requests are not looked at.
    bool m_isRequestPending = false;
    bool m_isSleepAnnounced = false;
    bool m_hasReportedBlindness = false;
    bool m_hasReportedRefusal = false;
};

} // namespace lumvik
