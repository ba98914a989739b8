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
};

/// The test camera as a process of its own: a live RTSP server on the loopback interface, on a port
/// that is free. Main thread only.
class CameraProcess {
  public:
    explicit CameraProcess(CameraSetup setup = {});

    /// Starts the camera and waits until it serves.
    [[nodiscard]] testing::AssertionResult start();

    /// The address with user and password where the camera asks for them, percent-encoded.
    [[nodiscard]] QString url() const;
    /// The same with another password, raw.
    [[nodiscard]] QString urlWithPassword(const QString &password) const;
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
