#pragma once

#include "platform/LumvikLog.h"
#include "platform/MainQueue.h"

#include <mpv/client.h>

#include <functional>
#include <memory>

namespace lumvik {

/// A second client of a player instance, for what the event loop leaves out: changes of the decoded
/// picture's shape, and the engine's own messages, which go to the log.
///
/// It has an event queue of its own, so that a flood of messages can never overflow the one that
/// the supervision depends on. Main thread only; it must be dropped before its player is destroyed,
/// which would wait for it otherwise.
class MPVObserver {
  public:
    /// Observes `player`. `videoParametersChanged` runs on the main thread whenever the size, the
    /// rotation or the presence of the decoded picture may have changed. `logLevel` is the least
    /// important kind of engine message that is logged, by libmpv's names ("no" to "trace").
    MPVObserver(mpv_handle *player, MainQueue &mainQueue, const char *logLevel,
                std::function<void()> videoParametersChanged);
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
