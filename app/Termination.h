#pragma once

#include <functional>

namespace lumvik {

class MainQueue;

/// Quits the program: from a menu, because the viewer has closed, or after a signal. Main thread
/// only.
class Termination {
  public:
    /// `end` closes the program's windows and ends the event loop. None of the windows may veto
    /// this.
    Termination(MainQueue &mainQueue, std::function<void()> end);

    /// Quits the program in a later turn of the event loop. The deferral is necessary because
    /// quitting closes the windows, and a request may be made while one of them is being closed.
    void request();

    /// Whether a request was made or a termination signal has arrived. The program must then no
    /// longer accept the requests of later instances.
    [[nodiscard]] bool isUnderWay() const;

  private:
    MainQueue &m_mainQueue;
    const std::function<void()> m_end;
    bool m_isRequested = false;
};

} // namespace lumvik
