#pragma once

#include "engine/PlaybackEngineEvent.h"
#include "platform/MainQueue.h"
#include "platform/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <semaphore>

namespace lumvik {

/// Pumps the event queue of one player instance on a thread of its own and delivers the events that
/// matter to the main thread, each with the generation of the instance that produced it.
///
/// Made and started by the controller for each player instance, stopped before that instance is
/// destroyed, then dropped. Started and stopped at most once; further calls do nothing. `start`,
/// `stop` and destruction happen on the main thread.
class MPVEventLoop {
  public:
    /// Runs on the main thread for each event. Events may still arrive after `stop`: they carry the
    /// old generation, by which the receiver knows them.
    using Handler = std::function<void(const PlaybackEngineEvent &event, std::int64_t generation)>;

    /// `player` stays the caller's and must outlive the running pump. `mainQueue` must outlive it
    /// too.
    MPVEventLoop(mpv_handle *player, std::int64_t generation, MainQueue &mainQueue,
                 Handler handler);
    MPVEventLoop(const MPVEventLoop &) = delete;
    MPVEventLoop &operator=(const MPVEventLoop &) = delete;
    /// Stops the pump first.
    ~MPVEventLoop();

    void start();

    /// Asks the pump to leave and waits until it has. The pump is woken, so this takes no longer
    /// than the event that it is handling.
    void stop();

  private:
    void pump();
    [[nodiscard]] bool stopIsRequested();

    mpv_handle *player;
    std::int64_t generation;
    Handler handler;
    MainQueue &mainQueue;
    std::counting_semaphore<> stopped{0}; // signalled once, when the pump leaves
    std::mutex lock; // guards the two flags; never held across a call of libmpv
    bool shouldStop = false;
    bool didStart = false;
    // Last, so that its thread is joined before anything that the pump uses goes away.
    SerialQueue queue;
};

} // namespace lumvik
