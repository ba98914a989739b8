#pragma once

#include "ChildProcess.h"

#include <QSize>
#include <QUrl>

namespace lumvik::test {

/// What a test camera is started with.
struct CameraSetup {
    QString name = QStringLiteral("Test");
    QSize size = QSize(640, 360);
    int framesPerSecond = 15;
    /// Frames from one key frame to the next.
    int keyFrameInterval = 15;
    /// The camera asks for these when the user is not empty.
    QString user;
    QString password;
    /// Whether the capture time stands in the picture (see camera/ClockPattern.h).
    bool withClock = false;
    /// The numerical address to serve on.
    QString address = QStringLiteral("127.0.0.1");
    /// A command that becomes the camera, whose path and arguments follow it, such as one that
    /// enters a namespace first.
    QStringList launcher;
    /// "h264" or "h265".
    QString codec = QStringLiteral("h264");
    /// The port to serve on; 0 takes one that is free. Another than 0 is for a camera that takes
    /// the place of one that has gone.
    int port = 0;
};

/// The test camera as a process of its own: a live RTSP server on the loopback interface. Main
/// thread only.
class CameraProcess {
  public:
    explicit CameraProcess(CameraSetup setup = {});

    /// Starts the camera and waits until it serves.
    [[nodiscard]] testing::AssertionResult start();

    /// The address with user and password where the camera asks for them, percent-encoded.
    [[nodiscard]] QString url() const;
    /// The same with another password, raw.
    [[nodiscard]] QString urlWithPassword(const QString &password) const;
    /// The port that it serves on, once it is started.
    [[nodiscard]] int port() const { return QUrl(m_address).port(); }
    [[nodiscard]] const CameraSetup &setup() const { return m_setup; }

    /// Sends one command ("freeze", "rotate 90", …) and answers the camera's answer line; empty,
    /// and a test failure, when none comes.
    QString command(const QByteArray &command);

    [[nodiscard]] ChildProcess &process() { return m_process; }

  private:
    [[nodiscard]] QStringList arguments() const;

    CameraSetup m_setup;
    ChildProcess m_process;
    QString m_address; // as the camera gives it, without credentials
};

} // namespace lumvik::test
