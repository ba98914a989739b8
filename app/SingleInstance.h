#pragma once

#include "app/controller/LaunchRequest.h"
#include "platform/InstanceLock.h"

#include <QDeadlineTimer>
#include <QLocalServer>
#include <QString>

#include <chrono>

class QLocalSocket;

namespace lumvik {

/// Sees to it that one Lumvik runs for a user's camera list: a second start hands its request to
/// the first and ends. It needs no session bus.
///
/// A lock file says who is first, a local socket beside it takes the requests. Main thread only.
class SingleInstance {
  public:
    /// Lock and socket are `basePath` with ".lock" and ".socket" behind it.
    explicit SingleInstance(const QString &basePath = standardPath());

    /// In the user's runtime folder, named after the folder of the camera list: whoever has another
    /// list (a demonstration, a test) has another Lumvik.
    [[nodiscard]] static QString standardPath();

    enum class Outcome {
        first,      ///< This process is to go on. Also where no lock file can be made.
        handedOver, ///< Another has done what `request` asks.
        unanswered, ///< Another runs, but has not answered.
    };
    /// Finds out whether this process is the first, and hands `request` over where it is not. One
    /// that is just ending is waited for and followed. Blocks for at most `limit`.
    [[nodiscard]] Outcome claim(const LaunchRequest &request,
                                std::chrono::milliseconds limit = std::chrono::seconds(10));

    /// Has `handler` do what later starts ask, from now on; those that asked since `claim` too. For
    /// the first only.
    void listen(LaunchRequestHandler handler);

    /// Takes no requests any more. Who starts from now on waits for this process to end and takes
    /// its place.
    void close();

  private:
    [[nodiscard]] bool handOver(const LaunchRequest &request, const QDeadlineTimer &deadline) const;
    void openSocket();
    void greetVisitors();
    void answerVisitor(QLocalSocket &visitor);

    const QString m_socketPath;
    InstanceLock m_lock;
    QLocalServer m_server;
    LaunchRequestHandler m_handler;
};

} // namespace lumvik
