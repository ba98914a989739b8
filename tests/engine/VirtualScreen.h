#pragma once

#include <sys/types.h>

#include <string>

namespace lumvik::test {

/// An X server that draws into memory and chooses a free display number. The server ends when this
/// object is destroyed or the process exits for any reason. No application object is needed.
class VirtualScreen {
  public:
    /// Starts the server and waits until it is ready.
    VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;
    ~VirtualScreen();

    /// Returns the name of the display, such as ":12", or an empty text if the server could not be
    /// started.
    [[nodiscard]] const std::string &display() const { return m_display; }

  private:
    pid_t m_process = -1;
    std::string m_display;
};

} // namespace lumvik::test
