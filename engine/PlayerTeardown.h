#pragma once

#include <mpv/client.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace lumvik {

/// Destroys player instances, without letting the main thread wait for one that takes long.
///
/// Destroying an instance waits for the stream that it is opening. That is a matter of
/// milliseconds, except while it asks a name server that does not answer: nothing can break that
/// off, and it can take half a minute. Such an instance has no connection to the camera yet, so
/// that the next one may start beside it. Main thread only.
class PlayerTeardown {
  public:
    PlayerTeardown() = default;
    PlayerTeardown(const PlayerTeardown &) = delete;
    PlayerTeardown &operator=(const PlayerTeardown &) = delete;
    /// Leaves instances that still take long to themselves.
    ~PlayerTeardown();

    /// Destroys `player`, whose render context and other clients are gone. Returns once it is
    /// destroyed, or after a fifth of a second, in which case the rest happens on a thread of its
    /// own.
    void destroy(mpv_handle *player);

    /// Waits until every instance given to `destroy` is gone, for at most `deadline` in all, and
    /// answers whether they are. While one is not, the process must not end by returning from main,
    /// which would take the engine's ground away under it.
    [[nodiscard]] bool finish(std::chrono::milliseconds deadline);

  private:
    struct Pending {
        std::thread thread;
        std::future<void> destroyed;
    };
    std::vector<Pending> m_pending; // the instances that take long
};

} // namespace lumvik
