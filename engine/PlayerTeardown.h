#pragma once

#include <mpv/client.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace lumvik {

/// Destroys players without blocking the main thread for long.
///
/// Destroying a player waits for the stream that it is opening. The wait takes milliseconds, except
/// while the engine looks up a host name and the name server does not reply: such a look-up cannot
/// be cancelled and may take half a minute. During the look-up the player has no connection to the
/// camera, so the next player can start alongside it. Use this class on the main thread only.
class PlayerTeardown {
  public:
    /// The longest time for which `destroy` blocks the main thread. A player whose stream is open
    /// or was refused is destroyed within this time. The window does not appear frozen during so
    /// short a wait.
    static constexpr std::chrono::milliseconds longestWait{200};

    PlayerTeardown() = default;
    PlayerTeardown(const PlayerTeardown &) = delete;
    PlayerTeardown &operator=(const PlayerTeardown &) = delete;
    /// Does not wait for players whose destruction is still in progress.
    ~PlayerTeardown();

    /// Destroys `player`, whose render context and other clients must already be destroyed. Returns
    /// when the player is destroyed, or after `longestWait`; in the latter case the destruction
    /// continues on a separate thread.
    void destroy(mpv_handle *player);

    /// Waits until every player passed to `destroy` is destroyed, for at most `timeLimit` in total.
    /// Returns whether all are destroyed. As long as a player is not destroyed, the process must
    /// not exit by returning from main, which would destroy static objects that the engine still
    /// uses.
    [[nodiscard]] bool finish(std::chrono::milliseconds timeLimit);

  private:
    struct Pending {
        std::thread thread;
        std::future<void> destroyed;
    };
    std::vector<Pending> m_pending; // the players whose destruction exceeded `longestWait`
};

} // namespace lumvik
