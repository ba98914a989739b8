#pragma once

#include "ViewerFixture.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QStringList>

#include <chrono>
#include <optional>

namespace lumvik::test {

/// The forms in which a secret may turn up in text: as it is, as it stands in an address, and as it
/// is sent in HTTP's basic authentication by the user "viewer".
[[nodiscard]] QList<QByteArray> formsOfSecret(const QString &secret);

/// What the tests of faults start from: the real viewer shows the real test camera, live; then
/// something breaks, for as long as it really takes, and the moving picture has to come back in
/// time.
///
/// The camera has a user and a password with every character that has a meaning in an address. At
/// the end of every test the viewer, unless the test ended it itself, must end within three seconds
/// of being asked to, with status 0, and must never have written a password.
class FaultFixture : public ViewerFixture {
  protected:
    using Milliseconds = std::chrono::milliseconds;

    using ViewerFixture::ViewerFixture;

    void TearDown() override;

    /// A small, cheap camera with a password.
    [[nodiscard]] static CameraSetup faultCamera();
    /// The same with the capture time in its picture.
    [[nodiscard]] static CameraSetup faultCameraWithClock();

    /// Starts the camera as the only one in the list, the viewer in a window of the smallest size,
    /// and waits until the picture moves. Null, and a test failure, when it does not.
    CameraProcess *showCamera(const CameraSetup &setup = faultCamera());

    /// Begins to measure: the fault is over, or has just happened where the limit counts from then.
    void faultIsOver() { m_sinceFault.start(); }
    [[nodiscard]] Milliseconds sinceFault() const { return Milliseconds(m_sinceFault.elapsed()); }

    /// Waits until the camera's colour bars fill the window and the parts of its picture that
    /// change do change.
    [[nodiscard]] testing::AssertionResult pictureIsLive(Milliseconds deadline) const;
    /// Waits until the viewer says, in its log from `mark` on, that frames are there again, and
    /// until the picture is live, all within `limit` of `faultIsOver`. Prints how long it took.
    [[nodiscard]] testing::AssertionResult isLiveAgainWithin(Milliseconds limit, qsizetype mark);
    /// Prints a measured time beside its limit, and keeps it with the test's results.
    static void report(const char *what, Milliseconds measured, Milliseconds limit);

    /// Waits until the log from line `mark` on tells this story: for each pattern a line that
    /// matches all of it, in this order, with any others between. A line is "level category: text"
    /// here, without its time.
    [[nodiscard]] testing::AssertionResult
    logTells(const QStringList &story, qsizetype mark,
             Milliseconds deadline = Milliseconds::zero()) const;
    /// The log's lines from `mark` on, as `logTells` sees them.
    [[nodiscard]] QStringList logLines(qsizetype mark) const;
    /// How many of them match `pattern` as a whole.
    [[nodiscard]] qsizetype countInLog(const QString &pattern, qsizetype mark) const;

    /// Whether every attempt at recovery that was scheduled since `mark` had come to its end (it
    /// ran, or frames or a camera's selection made it needless) before the next was scheduled.
    [[nodiscard]] testing::AssertionResult neverTwoAttemptsPending(qsizetype mark) const;
    /// Whether no recovery was scheduled since `mark`.
    [[nodiscard]] testing::AssertionResult nothingScheduled(qsizetype mark) const;

    /// Waits until the camera has one connection, which plays, and fails the test where two ever
    /// played at once.
    static void expectOneStream(CameraProcess &camera);

    /// Whether the window is all black, controls apart.
    [[nodiscard]] testing::AssertionResult windowIsBlack() const;

    /// Asks the viewer to end, as a session's end would: it must be gone within three seconds, with
    /// status 0, having written no password.
    void expectOrderlyEnd();
    /// Fails the test where the viewer has written `secret` in any form.
    void expectNeverWritten(const QString &secret) const;

    /// A pattern for the line that schedules attempt `number` ("1", "\\d+") for `reason`.
    [[nodiscard]] static QString scheduling(const QString &number, const QString &reason);

    /// The same for an attempt that waits as long as its number, 1 or more, asks for, and makes a
    /// new engine where its number is a multiple of three.
    [[nodiscard]] static QString backingOff(int number, const QString &reason);

    static const QString user;
    static const QString password;
    // Patterns for lines that nearly every story tells.
    static const QString anyScheduling;
    static const QString loading;
    static const QString resumed;
    static const QString streamEnded;
    static const QString probing;

    /// What a test camera counts of the connections that play.
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
