#include "NameFaultFixture.h"

#include <QUrl>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString NameFaultFixture::startedGeneration =
    QStringLiteral("default playback: Starting video engine generation %1\\.");
const QString NameFaultFixture::hostName = QStringLiteral("camera.example");

namespace {

// A delay that a user notices. Drawing and a busy machine contribute a varying part, so this limit
// is only reported.
constexpr auto noticeableHold = 250ms;
// Half of the shortest look-up in these tests, which takes two seconds per attempt. A thread that
// waited for a name server would be blocked for longer than this on any machine.
constexpr auto longestHold = 1s;
const QString unresponsiveServer = QStringLiteral("192.0.2.53");

} // namespace

QString NameFaultFixture::named(const QString &name, int port) {
    QUrl url;
    url.setScheme(QStringLiteral("rtsp"));
    url.setUserName(user);
    // Percent-encoded as in an address, because a plain password would change the meaning of the
    // address.
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
    // The time that starting takes must not count.
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
