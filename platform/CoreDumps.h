#pragma once

#include <sys/resource.h>

#include <optional>
#include <string>

namespace lumvik {

/// The user's core dump settings from before `forbidCoreDumps`, to be restored in the programs that
/// this process starts. May be used on any thread.
class CoreDumpSettings {
  public:
    CoreDumpSettings(std::optional<rlimit> limit, std::string filter);

    /// Restores the settings in this process. Call this function only in a child process, between
    /// fork and exec, where all functions that it uses are safe. The child must not share its
    /// parent's memory, because the core dump filter is a property of the memory and would also
    /// change for the parent.
    void restoreInChild() const noexcept;

  private:
    std::optional<rlimit> m_limit;
    std::string m_filter; ///< In the kernel's format; empty if the filter could not be read.
};

/// Keeps this process's memory, which contains the cameras' passwords, out of core dumps and thus
/// out of crash reports. Must be the first call in `main`. Child processes inherit the size limit
/// and the filter that this function sets.
///
/// Neither the size limit nor the filter is sufficient alone. A size limit of 0 prevents core
/// files, and the usual crash handlers respect it, but the kernel ignores it where dumps are piped
/// to a program. An empty filter leaves no memory in the dump that such a program receives.
/// Clearing PR_SET_DUMPABLE would have both effects, but would also make root the owner of the
/// process's entries in /proc. Desktop portals identify their clients by these entries and would
/// reject the program.
///
/// Only the soft limit is lowered, so the user's limit can be restored in a child process.
[[nodiscard]] CoreDumpSettings forbidCoreDumps();

} // namespace lumvik
