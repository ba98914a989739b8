#include "engine/PlayerTeardown.h"

#include "platform/LumvikLog.h"

#include <system_error>
#include <utility>

namespace lumvik {

namespace {

using namespace std::chrono_literals;

/// Longer than any instance needs whose stream is open or refused, and short enough for a window
/// to stand still.
constexpr auto patience = 200ms;

bool waitUntil(const std::future<void> &destroyed, std::chrono::steady_clock::time_point end) {
    return destroyed.wait_until(end) == std::future_status::ready;
}

} // namespace

PlayerTeardown::~PlayerTeardown() {
    for (Pending &player : m_pending)
        player.thread.detach();
}

void PlayerTeardown::destroy(mpv_handle *player) {
    (void)finish(0ms); // forgets those that have gone meanwhile
    std::promise<void> promise;
    Pending pending{.thread = {}, .destroyed = promise.get_future()};
    try {
        pending.thread = std::thread([player, promise = std::move(promise)]() mutable {
            mpv_terminate_destroy(player);
            promise.set_value();
        });
    } catch (const std::system_error &) {
        // No thread is to be had, so that the main thread has to wait after all.
        mpv_terminate_destroy(player);
        return;
    }
    if (waitUntil(pending.destroyed, std::chrono::steady_clock::now() + patience)) {
        pending.thread.join();
        return;
    }
    m_pending.push_back(std::move(pending));
    LumvikLog::playback().info(
        QStringLiteral("The video engine takes long to stop; going on without waiting for it "
                       "(%1 in all).")
            .arg(m_pending.size()));
}

bool PlayerTeardown::finish(std::chrono::milliseconds deadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    std::erase_if(m_pending, [end](Pending &player) {
        if (!waitUntil(player.destroyed, end))
            return false;
        // Joined, because what the thread leaves behind in libraries is cleared up as it ends.
        player.thread.join();
        return true;
    });
    return m_pending.empty();
}

} // namespace lumvik
