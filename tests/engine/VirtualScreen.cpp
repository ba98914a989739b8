#include "VirtualScreen.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace lumvik::test {

namespace {

constexpr int startTimeLimit = 30'000; // milliseconds; generous, because the machine may be busy

/// Returns the first line that can be read from `descriptor`. Returns an empty text if reading
/// fails or no line arrives in time.
std::string readLine(int descriptor) {
    std::string line;
    pollfd waited{descriptor, POLLIN, 0};
    while (poll(&waited, 1, startTimeLimit) > 0) {
        char character = 0;
        if (read(descriptor, &character, 1) != 1)
            return {};
        if (character == '\n')
            return line;
        line += character;
    }
    return {};
}

/// Replaces the child process with the server.
[[noreturn]] void serve(int descriptor) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nullDevice = open("/dev/null", O_RDWR);
    dup2(nullDevice, STDERR_FILENO);
    const std::string number = std::to_string(descriptor);
    execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "1280x1024x24", "-noreset",
           "-nolisten", "tcp", static_cast<char *>(nullptr));
    _exit(127);
}

} // namespace

VirtualScreen::VirtualScreen() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return;
    m_process = fork();
    if (m_process == 0) {
        close(ends[0]);
        serve(ends[1]);
    }
    close(ends[1]);
    const std::string number = m_process < 0 ? std::string() : readLine(ends[0]);
    close(ends[0]);
    if (!number.empty())
        m_display = ":" + number;
}

VirtualScreen::~VirtualScreen() {
    if (m_process <= 0)
        return;
    kill(m_process, SIGTERM);
    waitpid(m_process, nullptr, 0);
}

} // namespace lumvik::test
