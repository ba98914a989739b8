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

/// Returns the forms in which a secret may appear in text: plain, percent-encoded as in an address,
/// and Base64-encoded, with and without the user name "viewer", as in basic authentication.
[[nodiscard]] QList<QByteArray> formsOfSecret(const QString &secret);

/// The base of the fault tests. In each test, the viewer first shows the live picture of a test
/// camera. Then a fault occurs, and the live picture must return within a time limit.
///
/// The camera requires a user name and a password that contains characters with a special meaning
/// in an address. If the viewer still runs at the end of a test, it must exit with status 0 within
/// three seconds of SIGTERM, and must never have written the password.
class FaultFixture : public ViewerFixture {
  protected:
    using Milliseconds = std::chrono::milliseconds;

    using ViewerFixture::ViewerFixture;

    void TearDown() override;

    /// A camera with a password and a small picture that is cheap to decode.
    [[nodiscard]] static CameraSetup faultCamera();
    /// The camera of `faultCamera`, with the capture time in its picture.
    [[nodiscard]] static CameraSetup faultCameraWithClock();

    /// Starts the camera, which becomes the only entry of the camera list, and the viewer in a
    /// window of the smallest size. Then waits until the picture is live. When the picture does not
    /// become live, the test fails and the result is null.
    CameraProcess *showCamera(const CameraSetup &setup = faultCamera());

    /// Starts to measure the recovery time. To be called when the fault ends, or when the fault
    /// begins if the limit counts from its beginning.
    void faultIsOver() { m_sinceFault.start(); }
    [[nodiscard]] Milliseconds sinceFault() const { return Milliseconds(m_sinceFault.elapsed()); }

    /// Waits until the camera's colour bars fill the window and the moving part of the picture
    /// changes.
    [[nodiscard]] testing::AssertionResult pictureIsLive(Milliseconds deadline) const;
    /// Waits until the viewer's log from line `mark` on reports resumed frames and the picture is
    /// live. Both must happen within `limit` of the call of `faultIsOver`. Prints the measured
    /// time.
    [[nodiscard]] testing::AssertionResult isLiveAgainWithin(Milliseconds limit, qsizetype mark);
    /// Prints a measured time and its limit, and records the time in the test's results.
    static void report(const char *what, Milliseconds measured, Milliseconds limit);

    /// Waits until the log from line `mark` on contains a line for each pattern, in this order.
    /// Each pattern must match its line completely, and other lines may be in between. Log lines
    /// have the form "level category: text", without the time.
    [[nodiscard]] testing::AssertionResult
    logShows(const QStringList &story, qsizetype mark,
             Milliseconds deadline = Milliseconds::zero()) const;
    /// The log's lines from line `mark` on, in the form that `logShows` uses.
    [[nodiscard]] QStringList logLines(qsizetype mark) const;
    /// The number of log lines from line `mark` on that match `pattern` completely.
    [[nodiscard]] qsizetype countInLog(const QString &pattern, qsizetype mark) const;

    /// Whether every recovery attempt that was scheduled since log line `mark` ended before the
    /// next attempt was scheduled. An attempt ends when it runs, or when resumed frames, another
    /// selected camera, a lost network or sleep make it unnecessary.
    [[nodiscard]] testing::AssertionResult neverTwoAttemptsPending(qsizetype mark) const;
    /// Whether no recovery was scheduled since log line `mark`.
    [[nodiscard]] testing::AssertionResult nothingScheduled(qsizetype mark) const;

    /// Waits until the camera has exactly one connection and this connection plays a stream. Fails
    /// the test if two connections have ever played at the same time.
    static void expectOneStream(CameraProcess &camera);

    /// Whether the window is black, apart from texts. The controls must be hidden.
    [[nodiscard]] testing::AssertionResult windowShowsNoPicture() const;
    /// Whether nobody can take the window for a live picture: it shows none, or a pill says that
    /// the picture is not live.
    [[nodiscard]] testing::AssertionResult windowAdmitsThatNothingIsLive() const;

    /// Sends SIGTERM to the viewer, as happens at the end of a desktop session. The viewer must
    /// exit with status 0 within three seconds and must not have written the password.
    void expectOrderlyEnd();
    /// Fails the test when the viewer has written `secret` in any form.
    void expectNeverWritten(const QString &secret) const;

    /// A pattern for the log line that schedules recovery attempt `number` for `reason`. `number`
    /// is itself a pattern, such as "1" or "\\d+".
    [[nodiscard]] static QString scheduling(const QString &number, const QString &reason);

    /// A pattern for the log line that schedules recovery attempt `number` with the delay that
    /// belongs to this number, which is at least 1. Every third attempt creates a new player.
    [[nodiscard]] static QString backingOff(int number, const QString &reason);

    static const QString user;
    static const QString password;
    // Patterns for log lines that nearly every test expects.
    static const QString anyScheduling;
    static const QString loading;
    static const QString resumed;
    static const QString streamEnded;
    static const QString probing;

    /// A test camera's statistics about the connections that play a stream.
    struct Streams {
        int now = 0;  ///< The current number.
        int most = 0; ///< The largest number at the same time.
        int all = 0;  ///< The total since the camera was started.
    };
    static Streams streamsOf(CameraProcess &camera);

  private:
    QElapsedTimer m_sinceFault;
};

} // namespace lumvik::test
