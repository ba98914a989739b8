#pragma once

#include <QDBusConnection>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

class QObject;

namespace lumvik {

class SerialQueue;

/// Connects to a message bus without blocking the main thread, even if the bus accepts the
/// connection and then stops responding.
///
/// The connection is made on a separate thread that exists only while connecting. The connector
/// must be created, used and destroyed on the main thread. Destroying the connector also closes the
/// connection.
class BusConnector {
  public:
    struct Handlers {
        /// Runs on the connector's thread and may wait for the bus, for example to subscribe to
        /// signals or claim a name. Returns an empty string on success. Otherwise returns the
        /// problem in plain words, and the connection is closed together with everything set up on
        /// it.
        std::function<QString(QDBusConnection &bus)> prepare;
        /// Called on the main thread once `prepare` has succeeded.
        std::function<void(const QDBusConnection &bus)> connected;
        /// Called on the main thread with the reason in plain words, such as "there is no session
        /// bus".
        std::function<void(const QString &reason)> failed;
    };

    /// `busName` names the bus in error messages ("system bus"). `label` names the thread.
    BusConnector(QString busName, QString label);
    BusConnector(const BusConnector &) = delete;
    BusConnector &operator=(const BusConnector &) = delete;
    ~BusConnector();

    /// Connects to the first of `addresses` (as in DBUS_SESSION_BUS_ADDRESS) that responds within
    /// `limit`. Only the first call has an effect. `connected` and `failed` are called only while
    /// `context` exists and `disconnect` has not been called.
    void connect(QObject &context, const QString &addresses, std::chrono::milliseconds limit,
                 Handlers handlers);

    /// Closes the connection or abandons the attempt to connect. Returns at once. Afterwards,
    /// neither `connected` nor `failed` is called, but `prepare` may still run.
    void disconnect();

  private:
    class Abandonment;

    void run(QObject &context, const QString &addresses, std::chrono::milliseconds limit);
    void finish(const std::function<void()> &notify);

    const QString m_busName;
    const QString m_label;
    const QString m_connectionName; ///< Unique in this process.
    const std::shared_ptr<Abandonment> m_abandonment;
    Handlers m_handlers;
    std::unique_ptr<SerialQueue> m_thread; ///< Exists while connecting.
};

} // namespace lumvik
