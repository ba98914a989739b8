#include "NameFaultFixture.h"

#include <QUrl>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString NameFaultFixture::startedGeneration =
    QStringLiteral("default playback: Starting video engine generation %1\\.");
const QString NameFaultFixture::deafName = QStringLiteral("camera.example");

namespace {

// What a user notices. How much of it drawing and a busy machine take differs from run to run, so
// that it is reported only.
constexpr auto noticeableHold = 250ms;
// Half of the shortest look-up in these tests, which lasts two seconds for each of its attempts: a
// thread that waited for a name server would be held for longer than this on any machine.
constexpr auto longestHold = 1s;
const QString deafServer = QStringLiteral("192.0.2.53");

} // namespace

QString NameFaultFixture::named(const QString &name, int port) {
    QUrl url;
    url.setScheme(QStringLiteral("rtsp"));
    url.setUserName(user);
    // As it stands in an address: taken as it is, what means something there would do so.
    url.setPassword(QString::fromLatin1(QUrl::toPercentEncoding(password)), QUrl::TolerantMode);
    url.setHost(name);
    url.setPort(port);
    url.setPath(QStringLiteral("/front"));
    return url.toString(QUrl::FullyEncoded);
}

void NameFaultFixture::startNetworkWithDeafNameServer(const QByteArray &options) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers("nameserver " + deafServer.toLatin1() + "\noptions " +
                                           options + '\n',
                                       "127.0.0.1 localhost\n"));
    ASSERT_TRUE(network.addSwallowingAddress(deafServer));
}

void NameFaultFixture::startMeasuredViewer() {
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    // What starting takes is not the question here.
    ASSERT_TRUE(logTells({probing}, 0, 10s));
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
