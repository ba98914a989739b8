#pragma once

namespace lumvik {

/// While one exists, std::exit leaves the process at once, with status 1, instead of running what
/// was registered to run at exit before. Toolkits call it when the display has gone, from the
/// middle of their event loop; other threads still use then what would be destroyed. What libraries
/// register after the guard was made and last renewed runs all the same. One at a time; main thread
/// only.
class ExitGuard {
  public:
    ExitGuard();
    ~ExitGuard();
    ExitGuard(const ExitGuard &) = delete;
    ExitGuard &operator=(const ExitGuard &) = delete;

    /// Has this guard also against what was registered since. The first few calls count: each takes
    /// memory for good.
    void renew();

  private:
    int m_registrations = 0;
};

} // namespace lumvik
