#pragma once

#include "app/controller/LaunchRequest.h"
#include "platform/BusConnector.h"

#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <chrono>

namespace lumvik {

/// The program on the session bus, under its own name: how menus, docks and other programs of the
/// desktop start it (org.freedesktop.Application, as the Desktop Entry Specification has it), and
/// reach the one that runs.
///
/// Where there is no session bus, or as long as the name belongs to somebody else (a Lumvik with
/// another list of cameras), one line in the log says so, and only later starts by command reach
/// this process. It waits for the name, and gets it when the other one ends. Main thread only; must
/// go before the application object.
class DesktopApplication final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    /// A bus that has not answered within `answerLimit` counts as absent.
    explicit DesktopApplication(QString busAddresses = addressesForName(),
                                std::chrono::milliseconds answerLimit = std::chrono::seconds(10));

    /// DBUS_SESSION_BUS_ADDRESS from the environment, or the bus in the user's runtime folder.
    [[nodiscard]] static QString sessionBusAddresses();
    /// The same, but empty when LUMVIK_SESSION_BUS is "no": for a Lumvik that is not the user's own
    /// and takes no name. The toolkit uses the bus all the same.
    [[nodiscard]] static QString addressesForName();

    /// Takes the name and hands requests to `handler` from then on. Once.
    void start(LaunchRequestHandler handler);
    /// Gives the name back.
    void stop();

  public Q_SLOTS: // called by the bus, by name
    // NOLINTBEGIN(readability-identifier-naming): the interface has them so.
    Q_SCRIPTABLE void Activate(const QVariantMap &platformData);
    /// There are no files that Lumvik opens: it comes to the front, no more.
    Q_SCRIPTABLE void Open(const QStringList &uris, const QVariantMap &platformData);
    Q_SCRIPTABLE void ActivateAction(const QString &name, const QVariantList &parameter,
                                     const QVariantMap &platformData);
    // NOLINTEND(readability-identifier-naming)

  private:
    void perform(LaunchRequest::Action action, const QVariantMap &platformData);

    const QString m_busAddresses;
    const std::chrono::milliseconds m_answerLimit;
    BusConnector m_connector;
    LaunchRequestHandler m_handler;
    bool m_isStarted = false;
};

} // namespace lumvik
