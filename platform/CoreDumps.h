#pragma once

#include <sys/resource.h>

#include <optional>
#include <string>

namespace lumvik {

/// The user's core dump settings from before `forbidCoreDumps`, for the programs that this process
/// starts. A plain value, usable on any thread.
class CoreDumpSettings {
  public:
    CoreDumpSettings(std::optional<rlimit> limit, std::string filter);

    /// Restores the settings in this process. Call it only in a child with its own memory, between
    /// fork and exec; it uses only functions that are safe there. In a child that shares its
    /// parent's memory it would change the parent.
    void restoreInChild() const noexcept;

  private:
    std::optional<rlimit> m_limit;
    std::string m_filter; ///< In the kernel's format; empty if it could not be read.
};

/// Keeps this process's memory, which contains the cameras' passwords, out of core dumps and thus
/// out of crash reports. Must be the first call in `main`. Children inherit both settings.
///
/// Neither of the two settings is enough alone. A size limit of 0 prevents core files, and the
/// usual crash handlers respect it, but the kernel ignores it where dumps are piped to a program.
/// An empty filter leaves no memory in the dump that such a program receives. PR_SET_DUMPABLE would
/// do both, but it also gives root the ownership of the process's entries in /proc. Desktop portals
/// identify their clients by these entries and would reject the program.
///
/// Only the soft limit changes, so a child can get the user's limit back.
[[nodiscard]] CoreDumpSettings forbidCoreDumps();

} // namespace lumvik
