#include "engine/PlayerTeardown.h"

#include "platform/LumvikLog.h"

#include <system_error>
#include <utility>

namespace lumvik {

namespace {

using namespace std::chrono_literals;

bool waitUntil(const std::future<void> &destroyed, std::chrono::steady_clock::time_point end) {
    return destroyed.wait_until(end) == std::future_status::ready;
}

} // namespace

PlayerTeardown::~PlayerTeardown() {
    for (Pending &player : m_pending)
        player.thread.detach();
}

void PlayerTeardown::destroy(mpv_handle *player) {
    (void)finish(0ms); // removes the players that have been destroyed in the meantime
    std::promise<void> promise;
    Pending pending{.thread = {}, .destroyed = promise.get_future()};
    try {
        pending.thread = std::thread([player, promise = std::move(promise)]() mutable {
            mpv_terminate_destroy(player);
            promise.set_value();
        });
    } catch (const std::system_error &) {
        // No thread can be created, so the main thread has to wait.
        mpv_terminate_destroy(player);
        return;
    }
    if (waitUntil(pending.destroyed, std::chrono::steady_clock::now() + longestWait)) {
        pending.thread.join();
        return;
    }
    m_pending.push_back(std::move(pending));
    LumvikLog::playback().info(
        QStringLiteral("The video engine is slow to stop; continuing without waiting for it "
                       "(%1 still stopping).")
            .arg(m_pending.size()));
}

bool PlayerTeardown::finish(std::chrono::milliseconds timeLimit) {
    const auto end = std::chrono::steady_clock::now() + timeLimit;
    std::erase_if(m_pending, [end](Pending &player) {
        if (!waitUntil(player.destroyed, end))
            return false;
        // Libraries release their thread-local data when the thread ends, so the player counts as
        // destroyed only after its thread has ended.
        player.thread.join();
        return true;
    });
    return m_pending.empty();
}

} // namespace lumvik
