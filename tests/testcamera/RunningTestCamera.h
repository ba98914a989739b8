#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

namespace lumvik::test {

class RtspConversation;

/// Runs the event loop until `isDone` returns true or `milliseconds` have passed. Returns the last
/// result of `isDone`.
[[nodiscard]] bool waitUntil(const std::function<bool()> &isDone, int milliseconds = 10000);

/// Runs the event loop for `milliseconds`. Tests use this function to verify that something does
/// not happen.
void observeFor(int milliseconds);

/// A process of lumvik-test-camera on a free port of the loopback interface. Main thread only. The
/// destructor ends the process.
class RunningTestCamera {
  public:
    /// By default, the camera uses any free port and sends a small picture. `arguments` override
    /// these defaults, because the last value of an option is used.
    explicit RunningTestCamera(const QStringList &arguments = {});
    RunningTestCamera(const RunningTestCamera &) = delete;
    RunningTestCamera &operator=(const RunningTestCamera &) = delete;
    ~RunningTestCamera();

    /// Returns the camera's address, which is empty if the camera did not become ready.
    [[nodiscard]] QUrl url() const { return m_url; }
    [[nodiscard]] QProcess &process() { return m_process; }

    /// Sends one command and returns the reply.
    [[nodiscard]] QString command(const QByteArray &line);

    /// Returns the number of connections that the camera reports.
    [[nodiscard]] int clients();

  private:
    [[nodiscard]] QString readLine();

    QProcess m_process;
    QUrl m_url;
};

/// Starts a conversation that plays the stream, and waits until pictures have arrived.
[[nodiscard]] std::unique_ptr<RtspConversation> watch(const RunningTestCamera &camera);

/// Splits a command line at single spaces.
[[nodiscard]] QStringList words(const char *line);

/// Returns the path of the program under test.
[[nodiscard]] QString cameraProgram();

} // namespace lumvik::test
