#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

namespace lumvik::test {

class RtspConversation;

/// Runs the event loop until `isDone` returns true or the time has passed. Returns the last result
/// of `isDone`.
[[nodiscard]] bool waitUntil(const std::function<bool()> &isDone, int milliseconds = 10000);

/// Runs the event loop for this time, to verify that something does not happen.
void observeFor(int milliseconds);

/// A process of lumvik-test-camera on a free port of the loopback interface. Main thread only. The
/// destructor ends the process.
class RunningTestCamera {
  public:
    /// The defaults are a small picture and a low frame rate. `arguments` follow them, and Qt uses
    /// the last value of an option.
    explicit RunningTestCamera(const QStringList &arguments = {});
    RunningTestCamera(const RunningTestCamera &) = delete;
    RunningTestCamera &operator=(const RunningTestCamera &) = delete;
    ~RunningTestCamera();

    /// The camera's address. Empty when the camera did not become ready.
    [[nodiscard]] QUrl url() const { return m_url; }
    [[nodiscard]] QProcess &process() { return m_process; }

    /// Sends one command and returns the reply.
    [[nodiscard]] QString command(const QByteArray &line);

    /// The number of connections that the camera reports.
    [[nodiscard]] int clients();

  private:
    [[nodiscard]] QString readLine();

    QProcess m_process;
    QUrl m_url;
};

/// Starts a conversation, and waits until its stream plays and has delivered pictures.
[[nodiscard]] std::unique_ptr<RtspConversation> watch(const RunningTestCamera &camera);

/// Splits a command line at single spaces.
[[nodiscard]] QStringList words(const char *line);

/// The path of the program under test.
[[nodiscard]] QString cameraProgram();

} // namespace lumvik::test
