#pragma once

#include <sys/resource.h>

#include <optional>
#include <string>

namespace lumvik {

/// What the user had decided about core dumps before `forbidCoreDumps`, for the programs that this
/// one starts. A plain value; usable on any thread.
class UsersCoreDumps {
  public:
    UsersCoreDumps(std::optional<rlimit> limit, std::string filter);

    /// Puts it back for this process. Only for a child of its own memory between fork and exec: it
    /// calls nothing that is unsafe there. In a child that shares its parent's memory it would
    /// change the parent.
    void restoreInChild() const noexcept;

  private:
    std::optional<rlimit> m_limit;
    std::string m_filter; ///< As the kernel writes it; empty when it could not be read.
};

/// Keeps the memory of this process, in which the cameras' passwords are, out of core dumps, and
/// with them out of crash reports. Called first of all; both settings pass on to children.
///
/// Two settings, because neither is enough. The size limit of 0 prevents core files, and the usual
/// handlers keep to it; but the kernel ignores it where dumps are piped to a program. The empty
/// filter leaves no memory in what such a program is given. PR_SET_DUMPABLE would do both, but it
/// also makes the process's entries in /proc root's, and the desktop's portals, which look there
/// for whom they are talking to, would turn the program away.
///
/// Only the soft limit changes, so that a child can have the user's own again.
[[nodiscard]] UsersCoreDumps forbidCoreDumps();

} // namespace lumvik
