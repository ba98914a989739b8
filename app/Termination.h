#pragma once

#include <functional>

namespace lumvik {

class MainQueue;

/// The program's end at the user's wish: from a menu, or because the viewer has closed, or at a
/// signal. Main thread only.
class Termination {
  public:
    /// `end` is what ends the event loop. No window of the program's refuses to be closed by it.
    Termination(MainQueue &mainQueue, std::function<void()> end);

    /// Ends the program in a later turn, because that closes the windows, and may be asked for
    /// while one closes. A window that is open is closed first, by its own order.
    void request();

    /// Whether the program will end, so that it is not the one to do what later starts ask. True
    /// from the request, or the signal, on.
    [[nodiscard]] bool isUnderWay() const;

  private:
    MainQueue &m_mainQueue;
    const std::function<void()> m_end;
    bool m_isRequested = false;
};

} // namespace lumvik
