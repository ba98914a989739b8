#pragma once

#include "ChildProcess.h"

#include <QSize>
#include <QUrl>

namespace lumvik::test {

/// The options with which a test camera is started.
struct CameraSetup {
    QString name = QStringLiteral("Test");
    QSize size = QSize(640, 360);
    /// The width and the height of one pixel, in any unit.
    QSize pixelRatio = QSize(1, 1);
    int framesPerSecond = 15;
    /// The number of frames from one key frame to the next.
    int keyFrameInterval = 15;
    /// The camera requires this user name and `password` when the user name is not empty.
    QString user;
    QString password;
    /// The number of wrong passwords in a row after which the camera refuses all logins; 0 for
    /// never.
    int lockAfter = 0;
    /// Whether the picture contains the capture time (see testcamera/ClockPattern.h).
    bool withClock = false;
    /// The numerical IP address at which the camera serves.
    QString address = QStringLiteral("127.0.0.1");
    /// A command that starts the camera, for example after entering a network namespace. The
    /// camera's path and arguments are appended to the command.
    QStringList launcher;
    /// "h264" or "h265".
    QString codec = QStringLiteral("h264");
    /// The transports that the camera accepts: "any", "tcp" or "udp".
    QString transport = QStringLiteral("any");
    /// The port at which the camera serves. 0 selects any free port. A fixed port lets a camera
    /// take the place of an earlier camera.
    int port = 0;
    /// Whether the camera replies to searches and questions by ONVIF.
    bool isFoundByOnvif = false;
};

/// The test camera as a process of its own: a live RTSP server, by default on the loopback
/// interface. Main thread only.
class CameraProcess {
  public:
    explicit CameraProcess(CameraSetup setup = {});

    /// Starts the camera and waits until the camera is ready.
    [[nodiscard]] testing::AssertionResult start();

    /// The camera's address, which includes the percent-encoded user name and password when the
    /// camera requires them.
    [[nodiscard]] QString url() const;
    /// The camera's address with `password` in place of its own password. `password` must not be
    /// percent-encoded.
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
    QString m_address; // as the camera reports it, without user name and password
};

} // namespace lumvik::test
