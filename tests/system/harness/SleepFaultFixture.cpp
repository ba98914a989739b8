#include "SleepFaultFixture.h"

#include "Eventually.h"

#include <QFile>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString SleepFaultFixture::sleeping =
    QStringLiteral("default lifecycle: The Mac is sleeping; playback recovery is suspended\\.");
const QString SleepFaultFixture::waking =
    QStringLiteral("default lifecycle: The Mac woke; scheduling a fresh camera connection\\.");

namespace {

constexpr auto wakeRecoveryLimit = 5s;
/// By default, the login manager waits at most this long for an inhibitor before the machine
/// sleeps.
constexpr auto inhibitLimit = 5s;

/// The number of established TCP connections to a port.
int establishedConnections(int port) {
    QFile file(QStringLiteral("/proc/net/tcp"));
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    const QByteArray remote = ":" + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    int count = 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        count += static_cast<int>(words.value(2).endsWith(remote) && words.value(3) == "01");
    }
    return count;
}

} // namespace

void SleepFaultFixture::SetUp() {
    if (!bus.isRunning())
        GTEST_SKIP() << "there is no dbus-daemon";
    FaultFixture::SetUp();
    logind = std::make_unique<LogindDouble>(bus.address());
    ASSERT_TRUE(logind->isPresent());
    viewerVariables = {{QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address()}};
}

void SleepFaultFixture::showCameraAndAwaitInhibitor() {
    camera = showCamera();
    ASSERT_TRUE(camera);
    ASSERT_TRUE(eventually(10s, [this] { return logind->openInhibitors() == 1; }));
}

void SleepFaultFixture::fallAsleep() {
    const qsizetype mark = viewer->logMark();
    QElapsedTimer timer;
    timer.start();
    logind->announceSleep();
    ASSERT_TRUE(eventually(inhibitLimit, [this] { return logind->openInhibitors() == 0; }));
    // The connections are counted before any further wait, because a real machine would sleep now.
    EXPECT_EQ(establishedConnections(camera->port()), 0);
    report("asleep after", Milliseconds(timer.elapsed()), inhibitLimit);
    EXPECT_TRUE(logShows({sleeping}, mark, 1s));
    // The camera notices slightly later that its connection was closed.
    EXPECT_TRUE(
        eventually(1s, [this] { return camera->command("clients") == QStringLiteral("ok 0"); }));
}

void SleepFaultFixture::testSleep(Milliseconds duration) {
    ASSERT_NO_FATAL_FAILURE(showCameraAndAwaitInhibitor());
    const qsizetype mark = viewer->logMark();
    ASSERT_NO_FATAL_FAILURE(fallAsleep());
    // The viewer keeps running during this simulated sleep. Programs on a real machine also run for
    // a while before the machine sleeps.
    testing::AssertionResult verdict = testing::AssertionSuccess();
    EXPECT_TRUE(eventually(1s, [this] { return bool{windowShowsNoPicture()}; }));
    EXPECT_TRUE(always(duration, [&] {
        verdict = nothingScheduled(mark);
        if (verdict)
            verdict = windowShowsNoPicture();
        return static_cast<bool>(verdict);
    })) << verdict.message();
    EXPECT_EQ(countInLog(probing, mark), 0);
    EXPECT_EQ(countInLog(loading, mark), 0);
    EXPECT_EQ(camera->command("clients"), QStringLiteral("ok 0"));

    const qsizetype wakeMark = viewer->logMark();
    faultIsOver();
    logind->announceWake();
    ASSERT_TRUE(isLiveAgainWithin(wakeRecoveryLimit, wakeMark));
    EXPECT_TRUE(logShows(
        {waking,
         QStringLiteral("default playback: Scheduling recovery 1 in 0\\.\\d+ seconds; "
                        "recreate=true; reason=system wake\\."),
         probing, QStringLiteral("default playback: Starting video engine generation 2\\."),
         loading, resumed},
        wakeMark));
    EXPECT_TRUE(always(2s, [&] { return countInLog(anyScheduling, wakeMark) == 1; }));
    EXPECT_TRUE(pictureIsLive(1s));
    EXPECT_TRUE(eventually(2s, [this] { return logind->openInhibitors() == 1; }))
        << "the viewer holds no inhibitor for the next sleep";
}

} // namespace lumvik::test
