#pragma once

#include <QDBusConnection>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

class QObject;

namespace lumvik {

class SerialQueue;

/// Connects to a message bus without letting the main thread wait for one that accepts connections
/// and is silent from then on.
///
/// The work is done on a thread of its own, which exists only as long as it takes. Made, used and
/// destroyed on the main thread; destruction ends the connection too.
class BusConnector {
  public:
    struct Handlers {
        /// Runs on the connector's thread and may wait for the bus: subscribing, claiming a name.
        /// Answers what is in the way, in plain words, or nothing. Where something is, the
        /// connection ends, with all that was made on it.
        std::function<QString(QDBusConnection &bus)> prepare;
        /// On the main thread.
        std::function<void(const QDBusConnection &bus)> connected;
        /// On the main thread, with the reason in plain words ("there is no session bus").
        std::function<void(const QString &reason)> failed;
    };

    /// `busName` is what reasons call the bus ("system bus"), `label` that of the thread.
    BusConnector(QString busName, QString label);
    BusConnector(const BusConnector &) = delete;
    BusConnector &operator=(const BusConnector &) = delete;
    ~BusConnector();

    /// Connects to the first of `addresses` (as in DBUS_SESSION_BUS_ADDRESS) that answers within
    /// `limit`. Once. Handlers run only while `context` lives and nobody has called `disconnect`.
    void connect(QObject &context, const QString &addresses, std::chrono::milliseconds limit,
                 Handlers handlers);

    /// Gives the connection up, or the attempt at one. It takes no time, and no handler runs any
    /// more, but for a `prepare` that is running.
    void disconnect();

  private:
    class Abandonment;

    void run(QObject &context, const QString &addresses, std::chrono::milliseconds limit);
    void finish(const std::function<void()> &tell);

    const QString m_busName;
    const QString m_label;
    const QString m_connectionName; ///< Unlike any other's in this process.
    const std::shared_ptr<Abandonment> m_abandonment;
    Handlers m_handlers;
    std::unique_ptr<SerialQueue> m_thread; ///< While the bus is being connected to.
};

} // namespace lumvik
