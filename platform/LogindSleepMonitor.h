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

/// Receives sleep announcements from the login manager on the system bus (systemd-logind or
/// elogind).
///
/// While the machine is awake, the monitor holds a "delay" inhibitor, which makes the login manager
/// wait a few seconds before the machine sleeps. `willSleep` receives this inhibitor as its delay.
/// A login manager that starts or restarts later is picked up automatically.
///
/// If there is no bus or no login manager, the monitor logs one line and no handler runs. If only
/// the inhibitor is refused, the monitor also logs one line, and `willSleep` receives an empty
/// delay.
///
/// Everything happens on the main thread except connecting to the bus, which has a thread of its
/// own because a bus may accept a connection and never reply. `main` owns the monitor and must
/// destroy it before the application object.
class LogindSleepMonitor final : public QObject, public SleepMonitor {
    Q_OBJECT

  public:
    /// A bus that has not replied within `answerLimit` counts as absent. If the machine is still
    /// running `sleepLimit` after its sleep was announced, it counts as awake. `sleepLimit` covers
    /// a sleep that was cancelled and a login manager that stopped before it announced the wake-up.
    explicit LogindSleepMonitor(QString busAddress = systemBusAddress(),
                                std::chrono::milliseconds answerLimit = std::chrono::seconds(10),
                                std::chrono::milliseconds sleepLimit = std::chrono::seconds(60));
    ~LogindSleepMonitor() override;

    /// Returns DBUS_SYSTEM_BUS_ADDRESS from the environment, or the standard address of the system
    /// bus.
    [[nodiscard]] static QString systemBusAddress();

    void start(std::function<void(SleepDelay)> willSleep, std::function<void()> didWake) override;
    void stop() override;

    /// Returns whether the login manager has granted an inhibitor and `willSleep` has not yet
    /// received it.
    [[nodiscard]] bool holdsInhibitor() const { return m_inhibitor != nullptr; }

  private Q_SLOTS: // called by name from the D-Bus library
    void prepareForSleep(bool isBeginning);
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

  private:
    void wake();
    void requestInhibitor();
    void inhibitorAnswered(const QDBusPendingCallWatcher &answer);
    void reportUndetectable(const QString &reason);
    void reportRefusal(const QString &reason);

    const QString m_busAddress;
    const std::chrono::milliseconds m_answerLimit;
    BusConnector m_connector;

    bool m_isStarted = false;
    bool m_isWatching = false;
    std::function<void(SleepDelay)> m_willSleep;
    std::function<void()> m_didWake;

    QTimer m_sleepLimit; ///< Paused while the machine sleeps.
    std::optional<QDBusConnection> m_bus;
    SleepDelay m_inhibitor;
    int m_lastRequest = 0; ///< Replies to earlier requests are ignored.
    bool m_isRequestPending = false;
    bool m_isSleepAnnounced = false;
    bool m_hasReportedUndetectable = false;
    bool m_hasReportedRefusal = false;
};

} // namespace lumvik
