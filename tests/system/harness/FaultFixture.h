#pragma once

#include "ViewerFixture.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QStringList>

#include <chrono>
#include <optional>

namespace lumvik::test {

/// A pattern for the log line that the viewer writes when the engine begins to open a stream.
inline const QString began =
    QStringLiteral("debug playback: mpv began opening the selected stream\\.");

/// The forms in which a secret may appear in text: plain, percent-encoded as in an address, and
/// encoded as in HTTP basic authentication by the user "viewer".
[[nodiscard]] QList<QByteArray> formsOfSecret(const QString &secret);

/// The starting point of the fault tests. The real viewer shows the live picture of the test
/// camera. Then a fault occurs in real time, and the moving picture must return within a limit.
///
/// The camera requires a user name and a password with every character that has a special meaning
/// in an address. At the end of every test the viewer must exit with status 0 within three seconds
/// of SIGTERM, unless the test has ended it already. It must never have written a password.
class FaultFixture : public ViewerFixture {
  protected:
    using Milliseconds = std::chrono::milliseconds;

    using ViewerFixture::ViewerFixture;

    void TearDown() override;

    /// A camera with a password and a small picture that is cheap to decode.
    [[nodiscard]] static CameraSetup faultCamera();
    /// The same with the capture time in its picture.
    [[nodiscard]] static CameraSetup faultCameraWithClock();

    /// Starts the camera as the only one in the list and the viewer in a window of the smallest
    /// size, and waits until the picture moves. When it does not, the test fails and the result is
    /// null.
    CameraProcess *showCamera(const CameraSetup &setup = faultCamera());

    /// Starts the measurement. The fault is over, or has just occurred when the limit counts from
    /// its beginning.
    void faultIsOver() { m_sinceFault.start(); }
    [[nodiscard]] Milliseconds sinceFault() const { return Milliseconds(m_sinceFault.elapsed()); }

    /// Waits until the camera's colour bars fill the window and the changing parts of its picture
    /// change.
    [[nodiscard]] testing::AssertionResult pictureIsLive(Milliseconds deadline) const;
    /// Waits until the viewer's log from `mark` on reports frames and the picture is live, both
    /// within `limit` of `faultIsOver`. Prints the time that this took.
    [[nodiscard]] testing::AssertionResult isLiveAgainWithin(Milliseconds limit, qsizetype mark);
    /// Prints a measured time beside its limit, and keeps it with the test's results.
    static void report(const char *what, Milliseconds measured, Milliseconds limit);

    /// Waits until the log from line `mark` on contains a line for each pattern, in this order.
    /// Each pattern must match its line completely, and other lines may come in between. Lines have
    /// the form "level category: text", without the time.
    [[nodiscard]] testing::AssertionResult
    logShows(const QStringList &story, qsizetype mark,
             Milliseconds deadline = Milliseconds::zero()) const;
    /// The log's lines from `mark` on, as `logShows` sees them.
    [[nodiscard]] QStringList logLines(qsizetype mark) const;
    /// How many of them match `pattern` as a whole.
    [[nodiscard]] qsizetype countInLog(const QString &pattern, qsizetype mark) const;

    /// Whether every recovery attempt that was scheduled since `mark` ended before the next one was
    /// scheduled. An attempt ends when it runs, or when frames or the selection of a camera make it
    /// unnecessary.
    [[nodiscard]] testing::AssertionResult neverTwoAttemptsPending(qsizetype mark) const;
    /// Whether no recovery was scheduled since `mark`.
    [[nodiscard]] testing::AssertionResult nothingScheduled(qsizetype mark) const;

    /// Waits until the camera has exactly one connection, which plays, and fails the test when two
    /// connections ever played at once.
    static void expectOneStream(CameraProcess &camera);

    /// Whether the window is black apart from its controls.
    [[nodiscard]] testing::AssertionResult windowIsBlack() const;

    /// Sends SIGTERM to the viewer, as the end of a session does. It must exit with status 0 within
    /// three seconds and must not have written a password.
    void expectOrderlyEnd();
    /// Fails the test when the viewer has written `secret` in any form.
    void expectNeverWritten(const QString &secret) const;

    /// A pattern for the line that schedules attempt `number` ("1", "\\d+") for `reason`.
    [[nodiscard]] static QString scheduling(const QString &number, const QString &reason);

    /// The same for an attempt with the delay that its number, 1 or more, implies. Every third
    /// attempt creates a new engine.
    [[nodiscard]] static QString backingOff(int number, const QString &reason);

    static const QString user;
    static const QString password;
    // Patterns of log lines that nearly every test expects.
    static const QString anyScheduling;
    static const QString loading;
    static const QString resumed;
    static const QString streamEnded;
    static const QString probing;

    /// A test camera's statistics of its playing connections.
    struct Streams {
        int now = 0;
        int most = 0; ///< At once, ever.
        int all = 0;  ///< Since the camera was started.
    };
    static Streams streamsOf(CameraProcess &camera);

  private:
    QElapsedTimer m_sinceFault;
};

} // namespace lumvik::test
