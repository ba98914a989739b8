#pragma once

#include "platform/LumvikLog.h"
#include "platform/MainQueue.h"

#include <mpv/client.h>

#include <functional>
#include <memory>

namespace lumvik {

/// A second client of a player instance, for what the event loop leaves out: changes of the decoded
/// picture's shape, the end of a stream (which the engine turns into a standing last frame without
/// any event), and the engine's own messages, which go to the log.
///
/// It has an event queue of its own, so that a flood of messages can never overflow the one that
/// the supervision depends on. Main thread only; it must be dropped before its player is destroyed,
/// which would wait for it otherwise.
class MPVObserver {
  public:
    /// What runs on the main thread when something may have changed; none may be empty. They say
    /// no new values: those of then and now can differ.
    struct Handlers {
        /// The size, the rotation or the presence of the decoded picture.
        std::function<void()> videoParametersChanged;
        /// Whether the stream's last frame was reached.
        std::function<void()> endReachedChanged;
    };

    /// Observes `player`. `logLevel` is the least important kind of engine message that is logged,
    /// by libmpv's names ("no" to "trace").
    MPVObserver(mpv_handle *player, MainQueue &mainQueue, const char *logLevel, Handlers handlers);
    MPVObserver(const MPVObserver &) = delete;
    MPVObserver &operator=(const MPVObserver &) = delete;
    ~MPVObserver();

  private:
    struct Client;
    std::shared_ptr<Client> m_client; // shared with wake-ups on their way to the main thread
};

/// The log level for an engine message.
[[nodiscard]] LogLevel logLevelOfEngineMessage(mpv_log_level level);

} // namespace lumvik
