#pragma once

#include "platform/BusConnector.h"
#include "platform/Notifier.h"

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <optional>

class QDBusPendingCallWatcher;

namespace lumvik {

/// Shows notifications through the desktop's notification server on the session bus (Desktop
/// Notifications Specification). Connects to the bus when the first notification is shown.
///
/// Everything happens on the main thread except connecting to the bus. `main` owns the notifier and
/// must destroy it before the application object.
class DesktopNotifier final : public QObject, public Notifier {
    Q_OBJECT

  public:
    /// A bus that does not reply within `replyLimit` counts as absent.
    explicit DesktopNotifier(QString busAddresses,
                             std::chrono::milliseconds replyLimit = std::chrono::seconds(10));

    void show(const Notification &notification,
              std::function<void(const QByteArray &)> opened) override;
    void withdraw() override;
    /// Whether the server has confirmed the notification, and the user has not dismissed it.
    [[nodiscard]] bool isShown() const { return m_id != 0; }

  private Q_SLOTS: // called by name from the D-Bus library
    void tokenArrived(uint id, const QString &token);
    void actionInvoked(uint id, const QString &action);
    void notificationClosed(uint id, uint reason);
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

  private:
    void connectToBus();
    /// Sends what has changed since the last call, unless a call is under way.
    void send();
    void shown(const QDBusPendingCallWatcher &reply);
    void report(const QString &reason);

    const QString m_busAddresses;
    const std::chrono::milliseconds m_replyLimit;
    BusConnector m_connector;
    bool m_hasTriedToConnect = false;
    std::optional<QDBusConnection> m_bus;
    std::optional<Notification> m_wanted; ///< Empty if no notification is wanted.
    bool m_isSent = true;                 ///< Whether the server has been told of `m_wanted`.
    bool m_isCallPending = false;
    bool m_hasFailed = false; ///< The server was gone or refused; a new one is told again.
    uint m_id = 0;            ///< Of the notification on the screen; 0 if there is none.
    std::function<void(const QByteArray &)> m_opened;
    QByteArray m_token; ///< For the action that the server reports next.
    bool m_hasReported = false;
};

} // namespace lumvik
