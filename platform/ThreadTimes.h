#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>

namespace lumvik {

/// What threads have done since they were started, in seconds.
struct ThreadTimes {
    double running = 0; ///< The time for which a processor core has executed them.
    double waiting = 0; ///< The time for which they were ready, but no core was free for them.
};

/// Returns the times of the threads of this process with one of the given names. The times of
/// several such threads are added up. Returns nothing if there is no such thread or if the kernel
/// does not account for waiting. The system cuts off names after 15 characters. Any thread.
[[nodiscard]] std::optional<ThreadTimes>
timesOfThreads(std::initializer_list<std::string_view> names);

} // namespace lumvik
