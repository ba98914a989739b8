#pragma once

namespace lumvik {

/// Keeps the screen from being blanked or locked for want of input. Main thread only.
class ScreenInhibitor {
  public:
    ScreenInhibitor() = default;
    ScreenInhibitor(const ScreenInhibitor &) = delete;
    ScreenInhibitor &operator=(const ScreenInhibitor &) = delete;
    virtual ~ScreenInhibitor() = default;

    /// Keeps the screen on, or no longer. Does nothing, but for one line in the log, where the
    /// desktop does not offer that. The screen is no longer kept on when the process has ended.
    virtual void keepScreenOn(bool keepsOn) = 0;
};

} // namespace lumvik
