#pragma once

#include <sys/types.h>

#include <string>

namespace lumvik::test {

/// An X server that draws into memory, on a display number of its own choice. It ends with this
/// object, or with the process, whatever ends that. Needs no application object.
class VirtualScreen {
  public:
    /// Starts the server and waits until it serves.
    VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;
    ~VirtualScreen();

    /// The display's name, ":12"; empty when the server could not be started.
    [[nodiscard]] const std::string &display() const { return m_display; }

  private:
    pid_t m_process = -1;
    std::string m_display;
};

} // namespace lumvik::test
