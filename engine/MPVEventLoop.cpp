#include "engine/MPVEventLoop.h"

#include "platform/LumvikLog.h"

namespace lumvik {

namespace {

/// The longest wait for one event, in seconds. `stop` does not take that long, because it wakes the
/// pump.
constexpr double eventTimeout = 0.5;

} // namespace

MPVEventLoop::MPVEventLoop(mpv_handle *playerHandle, std::int64_t playerGeneration,
                           MainQueue &mainThreadQueue, Handler eventHandler)
    : player(playerHandle)
    , generation(playerGeneration)
    , handler(std::move(eventHandler))
    , mainQueue(mainThreadQueue)
    , queue(QLatin1String(LumvikLog::subsystem) + QStringLiteral(".mpv-events")) {}

MPVEventLoop::~MPVEventLoop() {
    stop();
}

void MPVEventLoop::start() {
    {
        const std::scoped_lock guard(lock);
        if (didStart)
            return;
        didStart = true;
    }
    queue.async([this] { pump(); });
}

bool MPVEventLoop::stopIsRequested() {
    const std::scoped_lock guard(lock);
    return shouldStop;
}

void MPVEventLoop::pump() {
    while (!stopIsRequested()) {
        const mpv_event *event = mpv_wait_event(player, eventTimeout);
        if (event == nullptr)
            continue;
        if (const auto report = playbackEngineEvent(*event)) {
            // The task captures copies, because it may run after this loop and its player have been
            // destroyed.
            mainQueue.async([handler = handler, report = *report, generation = generation] {
                handler(report, generation);
            });
        }
    }
    stopped.release();
}

void MPVEventLoop::stop() {
    {
        const std::scoped_lock guard(lock);
        const bool wasStopping = shouldStop;
        shouldStop = true;
        if (!didStart || wasStopping)
            return;
    }
    mpv_wakeup(player);
    stopped.acquire();
}

} // namespace lumvik
