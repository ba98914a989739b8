#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace lumvik::test {

/// Stands between the code under test and the calls that change a file, so that tests can look at
/// each one before it happens, make it fail, or end the process there. The calls are redirected
/// when the test program is linked (see CMakeLists.txt); without hooks they go straight to the
/// system.
struct SystemCalls {
    /// Is told each call's name ("write", "rename", …) and the descriptor or path that it is about
    /// (the first path of two; the descriptor is -1 for calls with a path), and answers 0 to let it
    /// through or the errno value to fail with.
    std::function<int(const std::string &call, int descriptor, const std::string &path)> before;

    /// How many bytes one write takes at most.
    std::size_t largestWrite = static_cast<std::size_t>(-1);
};

/// The hooks in force. Main thread only.
SystemCalls &systemCalls();

/// Sets the hooks back when it goes.
struct SystemCallsRestored {
    SystemCallsRestored() = default;
    SystemCallsRestored(const SystemCallsRestored &) = delete;
    SystemCallsRestored &operator=(const SystemCallsRestored &) = delete;
    ~SystemCallsRestored() { systemCalls() = {}; }
};

} // namespace lumvik::test
