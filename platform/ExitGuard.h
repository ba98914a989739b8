#pragma once

namespace lumvik {

/// While an instance exists, std::exit ends the process at once, with status 1, and skips the exit
/// handlers that were registered earlier. Toolkits call std::exit from within the event loop when
/// the display connection is lost; the handlers would then destroy objects that other threads still
/// use. Handlers that libraries register after the guard was created or last renewed still run.
/// Only one instance may exist at a time, on the main thread.
class ExitGuard {
  public:
    ExitGuard();
    ~ExitGuard();
    ExitGuard(const ExitGuard &) = delete;
    ExitGuard &operator=(const ExitGuard &) = delete;

    /// Also covers exit handlers that were registered after the guard was created or last renewed.
    /// Only the first few calls have an effect, because each one takes memory until the process
    /// ends.
    void renew();

  private:
    int m_registrations = 0;
};

} // namespace lumvik
