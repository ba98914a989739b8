#pragma once

#include "ChildProcess.h"

#include <QSize>
#include <QUrl>

namespace lumvik::test {

/// The options that a test camera is started with.
struct CameraSetup {
    QString name = QStringLiteral("Test");
    QSize size = QSize(640, 360);
    int framesPerSecond = 15;
    /// Frames from one key frame to the next.
    int keyFrameInterval = 15;
    /// The camera requires this user name and password when the user is not empty.
    QString user;
    QString password;
    /// Whether the picture contains the capture time (see testcamera/ClockPattern.h).
    bool withClock = false;
    /// The numerical address to serve on.
    QString address = QStringLiteral("127.0.0.1");
    /// A command that executes the camera, whose path and arguments are appended. For example, it
    /// can enter a namespace first.
    QStringList launcher;
    /// "h264" or "h265".
    QString codec = QStringLiteral("h264");
    /// The port to serve on. 0 takes any free port. Another value lets a camera replace one that
    /// has ended.
    int port = 0;
};

/// The test camera as a process of its own: a live RTSP server on the loopback interface. Main
/// thread only.
class CameraProcess {
  public:
    explicit CameraProcess(CameraSetup setup = {});

    /// Starts the camera and waits until it serves.
    [[nodiscard]] testing::AssertionResult start();

    /// The address. It includes the percent-encoded user name and password when the camera requires
    /// them.
    [[nodiscard]] QString url() const;
    /// The same address with another password, which is given without percent-encoding.
    [[nodiscard]] QString urlWithPassword(const QString &password) const;
    /// The port of the started camera.
    [[nodiscard]] int port() const { return QUrl(m_address).port(); }
    [[nodiscard]] const CameraSetup &setup() const { return m_setup; }

    /// Sends one command ("freeze", "rotate 90", …) and returns the camera's reply. When no reply
    /// arrives, the test fails and the result is empty.
    QString command(const QByteArray &command);

    [[nodiscard]] ChildProcess &process() { return m_process; }

  private:
    [[nodiscard]] QStringList arguments() const;

    CameraSetup m_setup;
    ChildProcess m_process;
    QString m_address; // as the camera gives it, without credentials
};

} // namespace lumvik::test
