#include "NameFaultFixture.h"

#include <QUrl>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString NameFaultFixture::startedGeneration =
    QStringLiteral("default playback: Starting video engine generation %1\\.");
const QString NameFaultFixture::hostName = QStringLiteral("camera.example");

namespace {

// The shortest delay that a user notices. Drawing and other load on the machine add a varying time,
// so a longer delay is reported but does not fail the test.
constexpr auto noticeableHold = 250ms;
// The longest delay that the tests accept. It is half the duration of the shortest look-up, which
// takes two seconds per attempt. A thread that waits for a name server is blocked for longer than
// this on any machine.
constexpr auto longestHold = 1s;
const QString unresponsiveServer = QStringLiteral("192.0.2.53");

} // namespace

QString NameFaultFixture::named(const QString &name, int port) {
    QUrl url;
    url.setScheme(QStringLiteral("rtsp"));
    url.setUserName(user);
    // The password is percent-encoded, because its special characters would change the meaning of
    // the address.
    url.setPassword(QString::fromLatin1(QUrl::toPercentEncoding(password)), QUrl::TolerantMode);
    url.setHost(name);
    url.setPort(port);
    url.setPath(QStringLiteral("/front"));
    return url.toString(QUrl::FullyEncoded);
}

void NameFaultFixture::startNetworkWithUnresponsiveNameServer(const QByteArray &options) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers("nameserver " + unresponsiveServer.toLatin1() +
                                           "\noptions " + options + '\n',
                                       "127.0.0.1 localhost\n"));
    ASSERT_TRUE(network.addBlackHoleAddress(unresponsiveServer));
}

void NameFaultFixture::startMeasuredViewer() {
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    // The measurement must not include the time that the viewer needs to start.
    ASSERT_TRUE(logShows({probing}, 0, 10s));
    responsiveness = std::make_unique<Responsiveness>(desktop.display(), viewer->window());
}

void NameFaultFixture::expectResponsive(const char *what) {
    const auto longest = responsiveness->longest();
    EXPECT_GT(responsiveness->answers(), 10);
    EXPECT_LE(longest, longestHold) << what;
    report(what, longest, noticeableHold);
    responsiveness.reset();
}

} // namespace lumvik::test
