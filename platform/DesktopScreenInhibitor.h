#pragma once

#include "platform/BusConnector.h"
#include "platform/ScreenInhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <chrono>
#include <functional>
#include <optional>

class QDBusError;
class QDBusPendingCallWatcher;

namespace lumvik {

/// Keeps the screen on through the session bus: through the screen saver of the desktop, or through
/// the portal where there is none. Connects to the bus when it is first needed. A screen saver that
/// is restarted is asked again.
///
/// Everything happens on the main thread except connecting to the bus. `main` owns the inhibitor
/// and must destroy it before the application object.
class DesktopScreenInhibitor final : public QObject, public ScreenInhibitor {
    Q_OBJECT

  public:
    /// A bus that does not reply within `replyLimit` counts as absent.
    explicit DesktopScreenInhibitor(
        QString busAddresses, std::chrono::milliseconds replyLimit = std::chrono::seconds(10));

    void keepScreenOn(bool keepsOn) override;

  private Q_SLOTS: // called by name from the D-Bus library
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

  private:
    void connectToBus();
    /// Brings the desktop's state in line with what is wanted, unless a call is under way.
    void update();
    void askScreenSaver();
    void askPortal(const QDBusError &screenSaverError);
    void ask(const QDBusMessage &request,
             const std::function<void(const QDBusPendingCallWatcher &)> &replied);
    void refused(const QDBusError &screenSaverError, const QDBusError &portalError);
    void report(const QString &reason);

    const QString m_busAddresses;
    const std::chrono::milliseconds m_replyLimit;
    BusConnector m_connector;
    bool m_hasTriedToConnect = false;
    std::optional<QDBusConnection> m_bus;
    bool m_isWanted = false;
    bool m_wasRefused = false; ///< Since it was last wanted.
    bool m_isCallPending = false;
    std::optional<QDBusMessage> m_release; ///< Ends the inhibition; empty if there is none.
    bool m_hasReported = false;
};

} // namespace lumvik
