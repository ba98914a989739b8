#pragma once

#include <filesystem>
#include <iterator>

namespace lumvik::test {

/// How many descriptors this process has open, one of which is that of counting them. Tests that
/// nothing stays open compare two counts.
inline int openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace lumvik::test
