#pragma once

#include "app/controller/LaunchRequest.h"
#include "platform/InstanceLock.h"

#include <QDeadlineTimer>
#include <QLocalServer>
#include <QString>

#include <chrono>

class QLocalSocket;

namespace lumvik {

/// Ensures that at most one instance runs per camera list of a user. A second instance passes its
/// request to the first and exits. This works without a session bus.
///
/// The first instance holds a lock file, and accepts requests at a local socket beside it. Main
/// thread only.
class SingleInstance {
  public:
    /// The lock file is `basePath` with the suffix ".lock", the socket the one with ".socket".
    explicit SingleInstance(const QString &basePath = standardPath());

    /// Returns a path in the user's runtime folder. It contains a hash of the camera list's folder,
    /// so that a test or a demonstration with its own list has its own instance. Links in the
    /// folder's path are resolved, so that two paths to the same folder share an instance.
    [[nodiscard]] static QString standardPath();

    enum class Outcome {
        first,      ///< This is the first instance, or no lock file can be created.
        handedOver, ///< Another instance has carried out the request.
        unanswered, ///< Another instance is running but has not replied.
    };
    /// The exit status of a process whose request another instance has not answered.
    static constexpr int unansweredExitStatus = 1;
    /// Determines whether this is the first instance, and otherwise passes `request` to the first
    /// one. If the first instance is exiting, waits and takes its place. Blocks for at most
    /// `limit`.
    [[nodiscard]] Outcome claim(const LaunchRequest &request,
                                std::chrono::milliseconds limit = std::chrono::seconds(10));

    /// From now on, passes the requests of later instances to `handler`, including those that have
    /// arrived since `claim`. Only for the first instance.
    void listen(LaunchRequestHandler handler);

    /// Stops accepting requests. An instance that starts from now on waits for this process to exit
    /// and takes its place.
    void close();

  private:
    [[nodiscard]] bool handOver(const LaunchRequest &request, const QDeadlineTimer &deadline) const;
    void openSocket();
    void acceptClients();
    void replyTo(QLocalSocket &client);

    const QString m_socketPath;
    InstanceLock m_lock;
    QLocalServer m_server;
    LaunchRequestHandler m_handler;
};

} // namespace lumvik
