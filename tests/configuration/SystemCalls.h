#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace lumvik::test {

/// Hooks for the system calls that change files. A test can observe each call before it is
/// executed, make it fail or kill the process at that point. The linker redirects the calls (see
/// CMakeLists.txt). Without hooks, every call goes straight to the system.
struct SystemCalls {
    /// Called before each system call with its name ("write", "rename", …) and its descriptor,
    /// which is -1 for calls with a path. Returns 0 to execute the call, or the errno value to fail
    /// with.
    std::function<int(const std::string &call, int descriptor)> before;

    /// The type of every file system, as in `statfs::f_type`, if it is set.
    std::optional<long> fileSystem;

    /// The maximum number of bytes that one call of `write` accepts.
    std::size_t largestWrite = static_cast<std::size_t>(-1);
};

/// Returns the current hooks. Main thread only.
SystemCalls &systemCalls();

/// Removes all hooks at the end of its scope.
struct SystemCallsRestored {
    SystemCallsRestored() = default;
    SystemCallsRestored(const SystemCallsRestored &) = delete;
    SystemCallsRestored &operator=(const SystemCallsRestored &) = delete;
    ~SystemCallsRestored() { systemCalls() = {}; }
};

} // namespace lumvik::test
