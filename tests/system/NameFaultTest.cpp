#include "NameFaultTest.h"

#include <QUrl>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString NameFaultTest::startedGeneration =
    QStringLiteral("default playback: Starting video engine generation %1\\.");
const QString NameFaultTest::deafName = QStringLiteral("camera.example");

namespace {

constexpr auto longestHold = 250ms;
const QString deafServer = QStringLiteral("192.0.2.53");

} // namespace

QString NameFaultTest::named(const QString &name, int port) {
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

void NameFaultTest::startNetworkWithDeafNameServer(const QByteArray &options) {
    ASSERT_NO_FATAL_FAILURE(startNetwork());
    ASSERT_TRUE(network.useNameServers("nameserver " + deafServer.toLatin1() + "\noptions " +
                                           options + '\n',
                                       "127.0.0.1 localhost\n"));
    ASSERT_TRUE(network.addSwallowingAddress(deafServer));
}

void NameFaultTest::startMeasuredViewer() {
    ASSERT_NO_FATAL_FAILURE(startSmallViewer());
    // What starting takes is not the question here.
    ASSERT_TRUE(logTells({probing}, 0, 10s));
    responsiveness = std::make_unique<Responsiveness>(desktop.display(), viewer->window());
}

void NameFaultTest::expectResponsive(const char *what) {
    const auto longest = responsiveness->longest();
    EXPECT_GT(responsiveness->answers(), 10);
    EXPECT_LE(longest, longestHold) << what;
    report(what, longest, longestHold);
    responsiveness.reset();
}

} // namespace lumvik::test
