#pragma once

namespace lumvik {

/// While one exists, std::exit leaves the process at once, with status 1, instead of running what
/// was registered to run at exit before. Toolkits call it when the display has gone, from the
/// middle of their event loop; other threads still use then what would be destroyed, and the log is
/// one of those things. To be made once, on the main thread, after the libraries have been loaded.
class ExitGuard {
  public:
    ExitGuard();
    ~ExitGuard();
    ExitGuard(const ExitGuard &) = delete;
    ExitGuard &operator=(const ExitGuard &) = delete;
};

} // namespace lumvik
