#pragma once

#include "app/controller/LaunchRequest.h"
#include "platform/BusConnector.h"

#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <chrono>

namespace lumvik {

/// The program's object on the session bus, under the program's own name. Menus, docks and other
/// programs of the desktop use it to start the program and to reach the running instance. It
/// implements the interface org.freedesktop.Application of the Desktop Entry Specification.
///
/// Without a session bus, or while another process owns the name (a Lumvik with a different camera
/// list), one line is logged, and only later instances on the command line reach this process. The
/// bus transfers the name when its owner exits. Main thread only; must be destroyed before the
/// application object.
class DesktopApplication final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    /// A bus that does not reply within `replyLimit` counts as absent.
    explicit DesktopApplication(QString busAddresses = addressesForName(),
                                std::chrono::milliseconds replyLimit = std::chrono::seconds(10));

    /// Returns DBUS_SESSION_BUS_ADDRESS from the environment, or else the address of the bus in the
    /// user's runtime folder.
    [[nodiscard]] static QString sessionBusAddresses();
    /// Returns the addresses of the bus on which to request the name: `sessionBusAddresses`, or
    /// none if LUMVIK_SESSION_BUS is "no". That setting is for instances in tests and
    /// demonstrations, which must not take the name from the user's own instance. Qt still uses the
    /// bus.
    [[nodiscard]] static QString addressesForName();

    /// Requests the name and from then on passes requests to `handler`. Only the first call has an
    /// effect.
    void start(LaunchRequestHandler handler);
    /// Releases the name. `start` has no effect afterwards.
    void stop();

  public Q_SLOTS: // called by other programs through the bus
    // NOLINTBEGIN(readability-identifier-naming): the interface prescribes these names.
    Q_SCRIPTABLE void Activate(const QVariantMap &platformData);
    /// Does the same as `Activate`, because Lumvik opens no files.
    Q_SCRIPTABLE void Open(const QStringList &uris, const QVariantMap &platformData);
    Q_SCRIPTABLE void ActivateAction(const QString &name, const QVariantList &parameter,
                                     const QVariantMap &platformData);
    // NOLINTEND(readability-identifier-naming)

  private:
    void perform(LaunchRequest::Action action, const QVariantMap &platformData);

    const QString m_busAddresses;
    const std::chrono::milliseconds m_replyLimit;
    BusConnector m_connector;
    LaunchRequestHandler m_handler;
    bool m_isStarted = false;
};

} // namespace lumvik
