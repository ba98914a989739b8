#pragma once

#include "platform/SerialQueue.h"

#include <future>
#include <memory>
#include <utility>

// For tests of what works on a serial queue.

namespace lumvik::test {

/// Runs `work` on the queue, behind what was submitted before, and answers what it answers.
template<typename Work>
auto runOn(SerialQueue &queue, Work work) {
    auto task = std::make_shared<std::packaged_task<decltype(work())()>>(std::move(work));
    auto result = task->get_future();
    queue.async([task] { (*task)(); });
    return result.get();
}

/// Waits until the queue has done all that was submitted to it.
inline void drain(SerialQueue &queue) {
    runOn(queue, [] {});
}

} // namespace lumvik::test
