#include "RunningTestCamera.h"

#include <QTcpSocket>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

/// Sends bytes to the ONVIF side of a camera and returns all that it replies until it closes the
/// connection.
QByteArray replyTo(const QUrl &service, const QByteArray &bytes) {
    QTcpSocket socket;
    socket.connectToHost(service.host(), static_cast<quint16>(service.port()));
    EXPECT_TRUE(socket.waitForConnected());
    socket.write(bytes);
    EXPECT_TRUE(waitUntil([&] { return socket.state() == QAbstractSocket::UnconnectedState; }));
    return socket.readAll();
}

QByteArray post(const QByteArray &path, const QByteArray &body) {
    return "POST " + path +
           " HTTP/1.1\r\nHost: camera\r\ncontent-length: " + QByteArray::number(body.size()) +
           "\r\n\r\n" + body;
}

QByteArray call(const QByteArray &name) {
    return post("/onvif/device_service",
                "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope'><e:Body><" + name +
                    "/></e:Body></e:Envelope>");
}

QByteArray statusOf(const QByteArray &reply) {
    return reply.split('\r').first();
}

class OnvifServerTest : public testing::Test {
  protected:
    [[nodiscard]] QUrl service() {
        return QUrl(camera.command("onvif").sliced(3)); // without "ok "
    }

    RunningTestCamera camera{
        QStringList{QStringLiteral("--onvif"), QStringLiteral("0"), QStringLiteral("--user"),
                    QStringLiteral("anna"), QStringLiteral("--password"), QStringLiteral("x"),
                    // Nobody sends probes there.
                    QStringLiteral("--onvif-discovery-port"), QStringLiteral("3799")}};
};

TEST_F(OnvifServerTest, RepliesToCalls) {
    const QUrl url = service();
    EXPECT_EQ(url.path(), QStringLiteral("/onvif/device_service"));
    const QByteArray clock = replyTo(url, call("GetSystemDateAndTime"));
    EXPECT_EQ(statusOf(clock), "HTTP/1.1 200 OK");
    EXPECT_TRUE(clock.contains("UTCDateTime>"));
    EXPECT_TRUE(clock.contains("\r\nDate: "));
    EXPECT_EQ(statusOf(replyTo(url, call("GetProfiles"))), "HTTP/1.1 400 Bad Request");
    EXPECT_EQ(camera.command("refusals"), QStringLiteral("ok 0"));
}

TEST_F(OnvifServerTest, RefusesWhatItDoesNotUnderstand) {
    const QUrl url = service();
    EXPECT_EQ(statusOf(replyTo(url, "GET / HTTP/1.1\r\n\r\n")), "HTTP/1.1 404 Not Found");
    EXPECT_EQ(statusOf(replyTo(url, post("/elsewhere", "x"))), "HTTP/1.1 404 Not Found");
    EXPECT_EQ(statusOf(replyTo(url, post("/onvif/device_service", "<x"))),
              "HTTP/1.1 400 Bad Request");
    EXPECT_EQ(statusOf(replyTo(url, "\r\n\r\n")), "HTTP/1.1 404 Not Found");
    EXPECT_EQ(replyTo(url, QByteArray(100'000, 'x')), QByteArray());
    EXPECT_EQ(statusOf(replyTo(url, call("GetSystemDateAndTime"))), "HTTP/1.1 200 OK");
}

TEST(OnvifOff, TheCommandIsAnError) {
    RunningTestCamera camera;
    EXPECT_TRUE(camera.command("onvif").startsWith(QStringLiteral("error ")));
}

} // namespace
} // namespace lumvik::test
