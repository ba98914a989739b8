#pragma once

#include "platform/FileDescriptor.h"
#include "platform/network/HostLookup.h"

#include <QObject>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class QSocketNotifier;

namespace lumvik {

/// A port of the loopback interface through which the engine reaches its link. It accepts one
/// connection, and only from this process, because whoever connects gets the camera's picture
/// without a password.
///
/// May be opened on any thread; everything else happens on one thread, which needs an event loop.
class EnginePort {
  public:
    /// The connection of the engine.
    struct Connection {
        FileDescriptor descriptor;  ///< This end.
        int engineDescriptor = -1;  ///< The engine's end; only for questions about unread bytes.
        SocketAddress engineSocket; ///< Of the engine's end.
    };
    struct Handlers {
        /// Called once. The port is closed before, and may be destroyed within.
        std::function<void(Connection connection)> accepted;
        /// Another process has tried to connect, which is called once only: a program that tries
        /// again and again must not fill the log.
        std::function<void()> intruderRefused;
    };

    /// Opens a port that the system chooses. Returns null if there is none.
    [[nodiscard]] static std::unique_ptr<EnginePort> open();
    EnginePort(const EnginePort &) = delete;
    EnginePort &operator=(const EnginePort &) = delete;
    ~EnginePort();

    [[nodiscard]] std::uint16_t number() const { return m_number; }

    /// Begins to accept connections. Those that were made before have waited.
    void listen(Handlers handlers);
    /// Refuses connections from now on.
    void close();

  private:
    EnginePort(FileDescriptor listener, std::uint16_t number);

    void accept();

    /// Deletes a notifier whose signal may be being handled.
    struct DeleteLater {
        void operator()(QObject *notifier) const;
    };

    const std::uint16_t m_number;
    FileDescriptor m_listener;
    std::unique_ptr<QSocketNotifier, DeleteLater> m_notifier;
    Handlers m_handlers;
    bool m_hasReportedIntruder = false;
};

} // namespace lumvik
