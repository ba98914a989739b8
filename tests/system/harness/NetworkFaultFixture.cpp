#include "NetworkFaultFixture.h"

#include "Eventually.h"

#include <iostream>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString NetworkFaultFixture::pathLost = QStringLiteral(
    "info network: Network path update: satisfied=false, wifi=false, ethernet=false\\.");
const QString NetworkFaultFixture::pathFound = QStringLiteral(
    "info network: Network path update: satisfied=true, wifi=false, ethernet=true\\.");
const QString NetworkFaultFixture::networkReason =
    QStringLiteral("network path became usable or changed");

const QString NetworkFaultFixture::engineStarted =
    QStringLiteral("default playback: Starting video engine generation \\d+\\.");

const NetworkFaultFixture::Cut NetworkFaultFixture::interfaceDown = {
    "InterfaceDown",
    [](CameraNetwork &net) { return net.viewer().run(QStringLiteral("ip link set viewer0 down")); },
    [](CameraNetwork &net) { return net.viewer().run(QStringLiteral("ip link set viewer0 up")); }};
const NetworkFaultFixture::Cut NetworkFaultFixture::cableOut = {
    "CableOut",
    [](CameraNetwork &net) { return net.camera().run(QStringLiteral("ip link set camera0 down")); },
    [](CameraNetwork &net) { return net.camera().run(QStringLiteral("ip link set camera0 up")); }};

namespace {

constexpr auto recoveryLimit = 5s;
constexpr auto closingLimit = 3s;
/// The time after the interruption within which a still picture must disappear. The viewer hides a
/// picture that is ten seconds old, and checks the age of the picture every two seconds. The
/// remaining time is for frames that were in transit.
constexpr auto blackLimit = 12500ms;

} // namespace

void NetworkFaultFixture::SetUp() {
    if (const QString obstacle = NetworkNamespace::obstacle(); !obstacle.isNull())
        GTEST_SKIP() << obstacle.toStdString();
    FaultFixture::SetUp();
}

void NetworkFaultFixture::startNetwork(CameraNetwork::Cable cable) {
    ASSERT_TRUE(network.start(cable));
    viewerLauncher = network.viewer().launcher();
}

CameraSetup NetworkFaultFixture::networkCamera() const {
    CameraSetup setup = faultCamera();
    setup.address = CameraNetwork::cameraAddress;
    setup.launcher = network.camera().launcher();
    return setup;
}

void NetworkFaultFixture::showCameraOverNetwork() {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(showCamera(networkCamera()));
}

void NetworkFaultFixture::startSmallViewer() {
    home.setPreference(QStringLiteral("mainWindowFrame"),
                       QStringLiteral("{{200, 200}, {480, 270}}"));
    startViewer();
}

void NetworkFaultFixture::testInterruption(const Cut &cut, Milliseconds duration) {
    ASSERT_NO_FATAL_FAILURE(showCameraOverNetwork());
    const qsizetype mark = viewer->logMark();
    ASSERT_TRUE(cut.begin(network));
    QElapsedTimer sinceCut;
    sinceCut.start();
    ASSERT_TRUE(logShows({pathLost}, mark, 3s));
    bool wasBlack = false;
    expectThroughout(duration - Milliseconds(sinceCut.elapsed()), [&] {
        const auto isBlack = windowShowsNoPicture();
        if (!wasBlack && isBlack)
            report("black after", Milliseconds(sinceCut.elapsed()), blackLimit);
        wasBlack = wasBlack || isBlack;
        if ((wasBlack || sinceCut.elapsed() > Milliseconds(blackLimit).count()) && !isBlack)
            return isBlack;
        return nothingScheduled(mark);
    });
    EXPECT_EQ(countInLog(probing, mark), 0);
    EXPECT_EQ(wasBlack, duration > blackLimit);

    const qsizetype upMark = viewer->logMark();
    faultIsOver();
    ASSERT_TRUE(cut.end(network));
    expectOneAttempt(upMark, Connection::mayLiveOn);
    EXPECT_TRUE(
        logShows({pathFound, scheduling(QStringLiteral("1"), networkReason), resumed}, upMark));
}

void NetworkFaultFixture::expectOneAttempt(qsizetype mark, Connection connection) {
    ASSERT_TRUE(isLiveAgainWithin(recoveryLimit, mark));
    const QString immediate =
        QStringLiteral("default playback: Scheduling recovery \\d+ in 0\\.\\d+ seconds; "
                       "recreate=true; reason=%1\\.")
            .arg(networkReason);
    // The picture of a connection that lives on may return before the network path is noticed.
    EXPECT_TRUE(eventually(recoveryLimit, [&] {
        return bool{logShows({immediate, resumed}, mark)};
    })) << logShows({immediate, resumed}, mark).message();
    const qsizetype started = countInLog(engineStarted, mark);
    if (connection == Connection::isDead || started > 0) {
        EXPECT_TRUE(logShows(
            {immediate, probing,
             QStringLiteral("debug network: The local-network preflight reached ready state\\."),
             engineStarted, loading, resumed},
            mark));
    }
    std::cout << "[          ] "
              << (started > 0 ? "live through a new player" : "live through the old connection")
              << std::endl;
    // A second recovery attempt would follow within one second of the end of the first attempt.
    expectThroughout(2s, [&]() -> testing::AssertionResult {
        if (countInLog(anyScheduling, mark) == 1 && countInLog(engineStarted, mark) <= 1)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "there was not exactly one attempt:\n"
                                           << logLines(mark).join(u'\n').toStdString();
    });
    EXPECT_TRUE(pictureIsLive(1s));
}

void NetworkFaultFixture::expectThroughout(
    Milliseconds duration, const std::function<testing::AssertionResult()> &condition) {
    testing::AssertionResult verdict = testing::AssertionSuccess();
    const bool held = always(duration, [&] {
        verdict = condition();
        return static_cast<bool>(verdict);
    });
    EXPECT_TRUE(held) << verdict.message();
}

void NetworkFaultFixture::expectWindowMoves() {
    const QRect before = viewer->geometry();
    const QPoint way(90, 60);
    pointer.moveTo(before.center());
    ASSERT_TRUE(pointer.pressToDrag(before.center() + way));
    pointer.glideTo(before.center() + way);
    EXPECT_TRUE(eventually(2s, [&] {
        return (viewer->geometry().topLeft() - before.topLeft() - way).manhattanLength() <=
               2 * Pointer::dragStart;
    })) << "the window does not follow the pointer";
    pointer.release();
}

void NetworkFaultFixture::expectCloseButtonEndsViewer() {
    ASSERT_NO_FATAL_FAILURE(showControls());
    pointer.moveTo(onScreen(controls().close()));
    QElapsedTimer timer;
    timer.start();
    pointer.click();
    EXPECT_TRUE(viewer->exitsInOrder(closingLimit));
    report("closed after", Milliseconds(timer.elapsed()), closingLimit);
}

} // namespace lumvik::test
