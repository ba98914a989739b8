#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

namespace lumvik::test {

class RtspConversation;

/// Runs the event loop until `isDone` or the deadline; answers whether it was done.
[[nodiscard]] bool waitUntil(const std::function<bool()> &isDone, int milliseconds = 10000);

/// Runs the event loop for so long, to see that something does not happen.
void observeFor(int milliseconds);

/// lumvik-test-camera as a process of its own, on a free port of the loopback interface. Used on
/// the main thread; the process ends with the object.
class RunningTestCamera {
  public:
    /// Small and quick unless the arguments say otherwise; Qt takes the last of two equal options.
    explicit RunningTestCamera(const QStringList &arguments = {});
    RunningTestCamera(const RunningTestCamera &) = delete;
    RunningTestCamera &operator=(const RunningTestCamera &) = delete;
    ~RunningTestCamera();

    /// Empty when it did not become ready.
    [[nodiscard]] QUrl url() const { return m_url; }
    [[nodiscard]] QProcess &process() { return m_process; }

    /// Gives one command and answers the line that came back.
    [[nodiscard]] QString command(const QByteArray &line);

    /// How many connections the camera counts.
    [[nodiscard]] int clients();

  private:
    [[nodiscard]] QString readLine();

    QProcess m_process;
    QUrl m_url;
};

/// A conversation whose stream plays and has shown pictures.
[[nodiscard]] std::unique_ptr<RtspConversation> watch(const RunningTestCamera &camera);

/// Arguments as they are written in a command line, parted by single spaces.
[[nodiscard]] QStringList words(const char *line);

/// The path of the program under test.
[[nodiscard]] QString cameraProgram();

} // namespace lumvik::test
