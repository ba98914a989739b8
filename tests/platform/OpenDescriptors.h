#pragma once

#include <filesystem>
#include <iterator>

namespace lumvik::test {

/// Returns the number of open descriptors of this process, including the one used for counting.
/// Compare two counts to check that nothing stays open.
inline int openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace lumvik::test
