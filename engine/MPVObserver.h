#pragma once

#include "platform/LumvikLog.h"
#include "platform/MainQueue.h"

#include <mpv/client.h>

#include <functional>
#include <memory>

namespace lumvik {

/// A second libmpv client of a player. The observer covers what the event loop does not: changes of
/// the decoded picture's shape, the end of a stream (at which the engine keeps showing the last
/// frame and sends no event), and the engine's own messages, which go to the log.
///
/// The observer has its own event queue, so that a flood of messages cannot overflow the queue that
/// playback supervision depends on. Use the observer on the main thread only. Delete the observer
/// before its player is destroyed; otherwise the destruction of the player waits for the observer.
class MPVObserver {
  public:
    /// The handlers run on the main thread when a property may have changed. No handler may be
    /// empty. The handlers receive no value, because a value could be outdated when the handler
    /// runs; query the player instead.
    struct Handlers {
        /// The size or rotation of the decoded picture changed, or a picture appeared or
        /// disappeared.
        std::function<void()> videoParametersChanged;
        /// The player reached the end of the stream, or is no longer at the end.
        std::function<void()> endReachedChanged;
        /// The engine has written an error or a warning, `text`, to its log. It is called for each
        /// of them, even if the log leaves out repetitions.
        std::function<void(const QString &text)> engineComplained;
    };

    /// Observes `player`. `logLevel` is the least severe level of engine messages to log, as a name
    /// that libmpv defines ("no" to "trace").
    MPVObserver(mpv_handle *player, MainQueue &mainQueue, const char *logLevel, Handlers handlers);
    MPVObserver(const MPVObserver &) = delete;
    MPVObserver &operator=(const MPVObserver &) = delete;
    ~MPVObserver();

  private:
    struct Client;
    std::shared_ptr<Client> m_client; // pending wake-ups on the main thread refer to it weakly
};

/// Returns the log level at which to log an engine message of `level`.
[[nodiscard]] LogLevel logLevelOfEngineMessage(mpv_log_level level);

} // namespace lumvik
