#pragma once

#include "platform/SerialQueue.h"

#include <future>
#include <memory>
#include <utility>

// Helpers for tests of code that runs on a serial queue.

namespace lumvik::test {

/// Runs `work` on the queue, after all work submitted earlier, and returns its result.
template<typename Work>
auto runOn(SerialQueue &queue, Work work) {
    auto task = std::make_shared<std::packaged_task<decltype(work())()>>(std::move(work));
    auto result = task->get_future();
    queue.async([task] { (*task)(); });
    return result.get();
}

/// Waits until the queue has finished all work submitted so far.
inline void drain(SerialQueue &queue) {
    runOn(queue, [] {});
}

} // namespace lumvik::test
