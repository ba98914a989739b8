#pragma once

#include "engine/PlaybackEngineEvent.h"
#include "platform/MainQueue.h"
#include "platform/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <semaphore>

namespace lumvik {

/// Pumps the event queue of one player on a dedicated thread. The loop delivers the relevant events
/// to the main thread, each with the generation of the player that produced it.
///
/// The controller creates and starts one loop for each player, and stops and deletes it before it
/// destroys the player. A loop starts and stops at most once; further calls of `start` and `stop`
/// do nothing. `start`, `stop` and the destructor must be called on the main thread.
class MPVEventLoop {
  public:
    /// Runs on the main thread for each event. Events may still arrive after `stop`; the receiver
    /// recognises them by their outdated generation.
    using Handler = std::function<void(const PlaybackEngineEvent &event, std::int64_t generation)>;

    /// The caller keeps ownership of the player. The player and the main queue must both outlive
    /// the running pump.
    MPVEventLoop(mpv_handle *player, std::int64_t generation, MainQueue &mainQueue,
                 Handler handler);
    MPVEventLoop(const MPVEventLoop &) = delete;
    MPVEventLoop &operator=(const MPVEventLoop &) = delete;
    /// Stops the pump before the members are destroyed.
    ~MPVEventLoop();

    void start();

    /// Asks the pump to finish and waits for it. The pump is woken, so the wait lasts no longer
    /// than the handling of one event.
    void stop();

  private:
    void pump();
    [[nodiscard]] bool stopIsRequested();

    mpv_handle *player;
    std::int64_t generation;
    Handler handler;
    MainQueue &mainQueue;
    std::counting_semaphore<> stopped{0}; // released once, when the pump finishes
    std::mutex lock; // guards the two flags below; never held while calling libmpv
    bool shouldStop = false;
    bool didStart = false;
    // The queue is declared last, so that its thread is joined before any member that the pump uses
    // is destroyed.
    SerialQueue queue;
};

} // namespace lumvik
