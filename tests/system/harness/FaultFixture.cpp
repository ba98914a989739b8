#include "FaultFixture.h"

#include "ColourBars.h"
#include "Eventually.h"
#include "Pixels.h"

#include <algorithm>
#include <csignal>
#include <iostream>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString FaultFixture::user = QStringLiteral("viewer");
const QString FaultFixture::password = QStringLiteral("p@ss:w/rd%#");

const QString FaultFixture::anyScheduling =
    QStringLiteral("default playback: Scheduling recovery .*");
const QString FaultFixture::loading =
    QStringLiteral("default playback: Loading camera index \\d+ for selection generation \\d+\\.");
const QString FaultFixture::resumed =
    QStringLiteral("default playback: Live video frames resumed for player generation \\d+\\.");
const QString FaultFixture::streamEnded =
    QStringLiteral("error playback: mpv ended the stream: reason=\\d+, error=-?\\d+\\.");
const QString FaultFixture::probing = QStringLiteral(
    "debug network: Beginning private local-network preflight for camera index \\d+\\.");

namespace {

constexpr auto endLimit = 3s;

bool matches(const QString &pattern, const QString &line) {
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(line).hasMatch();
}

/// The first pattern of `story` that matches no line after the match of the previous pattern. Null
/// when `lines` match all patterns in order.
QString missingIn(const QStringList &lines, const QStringList &story) {
    auto line = lines.cbegin();
    for (const QString &pattern : story) {
        line = std::find_if(line, lines.cend(),
                            [&](const QString &one) { return matches(pattern, one); });
        if (line == lines.cend())
            return pattern;
        ++line;
    }
    return {};
}

} // namespace

QList<QByteArray> formsOfSecret(const QString &secret) {
    const QByteArray raw = secret.toUtf8();
    const QByteArray encoded = QUrl::toPercentEncoding(secret);
    return {raw, encoded, encoded.toLower(), raw.toBase64(), ("viewer:" + raw).toBase64()};
}

void FaultFixture::TearDown() {
    if (viewer && viewer->process().isRunning() && !HasFatalFailure())
        expectOrderlyEnd();
    ViewerFixture::TearDown();
}

CameraSetup FaultFixture::faultCamera() {
    CameraSetup setup;
    setup.user = user;
    setup.password = password;
    return setup;
}

CameraSetup FaultFixture::faultCameraWithClock() {
    CameraSetup setup = faultCamera();
    setup.withClock = true;
    return setup;
}

CameraProcess *FaultFixture::showCamera(const CameraSetup &setup) {
    CameraProcess *camera = startListedCamera(setup);
    if (camera == nullptr)
        return nullptr;
    // A small window is drawn quickly, so drawing adds little to the measured times.
    home.setPreference(QStringLiteral("mainWindowFrame"),
                       QStringLiteral("{{200, 200}, {480, 270}}"));
    startViewerAndWaitForPicture();
    if (HasFatalFailure())
        return nullptr;
    const auto isLive = pictureIsLive(20s);
    EXPECT_TRUE(isLive);
    return isLive ? camera : nullptr;
}

testing::AssertionResult FaultFixture::pictureIsLive(Milliseconds deadline) const {
    testing::AssertionResult bars = testing::AssertionFailure() << "no screenshot was taken";
    QImage before;
    bool moves = false;
    const bool isLive = eventually(deadline, [&] {
        const QImage picture = screen.window(viewer->window());
        bars = picture.isNull() ? testing::AssertionFailure() << "the window is not on the screen"
                                : showsColourBars(picture);
        if (!bars) {
            before = {}; // compare only pictures taken since the bars appeared
            return false;
        }
        const QImage moving = picture.copy(pixelsOf(PictureLayout::motion, picture.size()));
        moves = !before.isNull() && before.size() == moving.size() &&
                shareOfDifferentPixels(before, moving) > 0.001;
        if (before.size() != moving.size())
            before = moving;
        return moves;
    });
    if (isLive)
        return testing::AssertionSuccess() << "the picture is live";
    return testing::AssertionFailure() << "the picture is not live within " << deadline.count()
                                       << " ms: " << (bars ? "it does not change" : bars.message());
}

testing::AssertionResult FaultFixture::isLiveAgainWithin(Milliseconds limit, qsizetype mark) {
    if (const auto told = logShows({resumed}, mark, limit - sinceFault()); !told)
        return told;
    const auto isLive = pictureIsLive(std::max(limit - sinceFault(), Milliseconds::zero()));
    report("live again after", sinceFault(), limit);
    return isLive;
}

void FaultFixture::report(const char *what, Milliseconds measured, Milliseconds limit) {
    std::cout << "[ MEASURED ] " << what << " " << measured.count() << " ms of " << limit.count()
              << " ms" << std::endl;
    RecordProperty(QString::fromLatin1(what).replace(u' ', u'-').toStdString(),
                   std::to_string(measured.count()));
}

QStringList FaultFixture::logLines(qsizetype mark) const {
    QStringList lines;
    const QList<LogLine> log = viewer->log().mid(mark);
    for (const LogLine &line : log)
        lines.append(QStringLiteral("%1 %2: %3").arg(line.level, line.category, line.text));
    return lines;
}

testing::AssertionResult FaultFixture::logShows(const QStringList &story, qsizetype mark,
                                                Milliseconds deadline) const {
    QString missing;
    const bool isTold = eventually(std::max(deadline, Milliseconds::zero()), [&] {
        missing = missingIn(logLines(mark), story);
        return missing.isNull();
    });
    if (isTold)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "within " << deadline.count() << " ms the log contains no line for \""
           << missing.toStdString() << "\" in this order. The log:\n"
           << logLines(mark).join(u'\n').toStdString();
}

qsizetype FaultFixture::countInLog(const QString &pattern, qsizetype mark) const {
    const QStringList lines = logLines(mark);
    return std::count_if(lines.cbegin(), lines.cend(),
                         [&](const QString &line) { return matches(pattern, line); });
}

testing::AssertionResult FaultFixture::neverTwoAttemptsPending(qsizetype mark) const {
    // An attempt that runs logs its preflight. When an attempt becomes unnecessary, the viewer logs
    // the reason: resumed frames, another selected camera, a lost network or sleep.
    const QString ended =
        QStringLiteral("%1|%2|%3|debug network: The local-network preflight .*|info network: "
                       "Network path update: satisfied=false.*|default lifecycle: The Mac is .*")
            .arg(probing, resumed, loading);
    bool isPending = false;
    const QStringList lines = logLines(mark);
    for (const QString &line : lines) {
        const bool isScheduling = matches(anyScheduling, line);
        if (isScheduling && isPending) {
            return testing::AssertionFailure()
                   << "two attempts are pending at \"" << line.toStdString() << "\" in:\n"
                   << lines.join(u'\n').toStdString();
        }
        if (isScheduling || matches(ended, line))
            isPending = isScheduling;
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult FaultFixture::nothingScheduled(qsizetype mark) const {
    if (countInLog(anyScheduling, mark) == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "a recovery was scheduled:\n"
                                       << logLines(mark).join(u'\n').toStdString();
}

FaultFixture::Streams FaultFixture::streamsOf(CameraProcess &camera) {
    const QStringList words = camera.command("streams").split(u' ');
    EXPECT_EQ(words.size(), 4) << words.join(u' ').toStdString();
    return {words.value(1).toInt(), words.value(2).toInt(), words.value(3).toInt()};
}

void FaultFixture::expectOneStream(CameraProcess &camera) {
    EXPECT_TRUE(eventually(5s,
                           [&] {
                               return camera.command("clients") == QStringLiteral("ok 1") &&
                                      streamsOf(camera).now == 1;
                           }))
        << "the camera has " << camera.command("clients").toStdString() << " connections";
    EXPECT_EQ(streamsOf(camera).most, 1) << "more than one stream was played at once";
}

testing::AssertionResult FaultFixture::windowShowsNoPicture() const {
    const QImage picture = screen.window(viewer->window());
    if (picture.isNull())
        return testing::AssertionFailure() << "the window is not on the screen";
    if (!isDarkApartFromTexts(picture))
        return testing::AssertionFailure() << "the window is not black";
    return testing::AssertionSuccess() << "the window is black";
}

testing::AssertionResult FaultFixture::windowAdmitsThatNothingIsLive() const {
    const QImage picture = screen.window(viewer->window());
    if (picture.isNull())
        return testing::AssertionFailure() << "the window is not on the screen";
    if (isDarkApartFromTexts(picture) || hasWarningPill(picture))
        return testing::AssertionSuccess() << "the window says that nothing is live";
    return testing::AssertionFailure() << "the window looks live";
}

void FaultFixture::expectOrderlyEnd() {
    QElapsedTimer timer;
    timer.start();
    viewer->process().sendSignal(SIGTERM);
    const auto ended = viewer->exitsInOrder(endLimit);
    EXPECT_TRUE(ended);
    if (ended)
        report("gone after", Milliseconds(timer.elapsed()), endLimit);
    expectNeverWritten(password);
}

void FaultFixture::expectNeverWritten(const QString &secret) const {
    const QByteArray output = viewer->allOutput().toUtf8();
    ASSERT_FALSE(output.isEmpty());
    for (const QByteArray &form : formsOfSecret(secret))
        EXPECT_FALSE(output.contains(form)) << "the viewer has written " << form.toStdString();
}

QString FaultFixture::scheduling(const QString &number, const QString &reason) {
    return QStringLiteral("default playback: Scheduling recovery %1 in \\d+\\.\\d+ seconds; "
                          "recreate=(true|false); reason=%2\\.")
        .arg(number, reason);
}

QString FaultFixture::backingOff(int number, const QString &reason) {
    // The viewer adds a random time of up to 0.35 s to each delay.
    static const QStringList delays{
        QStringLiteral("0\\.[5-8]\\d+"),  QStringLiteral("1\\.[0-3]\\d+"),
        QStringLiteral("2\\.[0-3]\\d+"),  QStringLiteral("4\\.[0-3]\\d+"),
        QStringLiteral("8\\.[0-3]\\d+"),  QStringLiteral("15\\.[0-3]\\d+"),
        QStringLiteral("30\\.[0-3]\\d+"),
    };
    return QStringLiteral("default playback: Scheduling recovery %1 in %2 seconds; recreate=%3; "
                          "reason=%4\\.")
        .arg(QString::number(number), delays.at(std::min<qsizetype>(number, delays.size()) - 1),
             number % 3 == 0 ? QStringLiteral("true") : QStringLiteral("false"), reason);
}

} // namespace lumvik::test
