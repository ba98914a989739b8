#include "engine/MPVEventLoop.h"

#include "platform/LumvikLog.h"

namespace lumvik {

namespace {

/// How long one wait for an event lasts at most, in seconds. Only a bound: `stop` wakes the wait.
constexpr double eventTimeout = 0.5;

} // namespace

MPVEventLoop::MPVEventLoop(mpv_handle *ofPlayer, std::int64_t withGeneration, MainQueue &onQueue,
                           Handler withHandler)
    : player(ofPlayer)
    , generation(withGeneration)
    , handler(std::move(withHandler))
    , mainQueue(onQueue)
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
            // The task gets copies of everything: it may run after this loop and its player are
            // gone.
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
