#include "engine/PlayerTeardown.h"

#include "platform/LumvikLog.h"

#include <system_error>
#include <thread>
#include <utility>

namespace lumvik {

namespace {

using namespace std::chrono_literals;

/// Longer than any instance needs whose stream is open or refused, and short enough for a window
/// to stand still.
constexpr auto patience = 250ms;

bool isReady(const std::future<void> &future) {
    return future.wait_for(0s) == std::future_status::ready;
}

} // namespace

void PlayerTeardown::destroy(mpv_handle *player) {
    std::promise<void> promise;
    std::future<void> destroyed = promise.get_future();
    try {
        std::thread([player, promise = std::move(promise)]() mutable {
            mpv_terminate_destroy(player);
            promise.set_value();
        }).detach();
    } catch (const std::system_error &) {
        // No thread is to be had, so that the main thread has to wait after all.
        mpv_terminate_destroy(player);
        return;
    }
    if (destroyed.wait_for(patience) == std::future_status::ready)
        return;
    LumvikLog::playback().info(
        QStringLiteral("The video engine takes long to stop; going on without waiting for it."));
    std::erase_if(m_pending, isReady);
    m_pending.push_back(std::move(destroyed));
}

bool PlayerTeardown::finish(std::chrono::milliseconds deadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    std::erase_if(m_pending, [end](const std::future<void> &player) {
        return player.wait_until(end) == std::future_status::ready;
    });
    return m_pending.empty();
}

} // namespace lumvik
