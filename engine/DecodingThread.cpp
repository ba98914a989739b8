#include "engine/DecodingThread.h"

namespace lumvik {

std::optional<ThreadTimes> decodingThreadTimes() {
    // A decoder without threads of its own decodes on the thread of libmpv's core. The first name
    // is that of libmpv 0.35, the second that of libmpv 0.40.
    return timesOfThreads({"mpv/mpv core", "core"});
}

} // namespace lumvik
