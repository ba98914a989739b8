#pragma once

#include "platform/ThreadTimes.h"

#include <optional>

namespace lumvik {

/// Returns the times of the thread that decodes the video while "vd-lavc-threads" is 1, or nothing
/// while there is no player. With more threads, this thread no longer decodes. Any thread.
[[nodiscard]] std::optional<ThreadTimes> decodingThreadTimes();

} // namespace lumvik
