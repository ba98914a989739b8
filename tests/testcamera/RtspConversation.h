#pragma once

#include <QMap>
#include <QTcpSocket>
#include <QUrl>

#include <optional>

namespace lumvik::test {

/// An RTSP client that speaks the protocol word by word on one TCP connection, with the stream
/// interleaved, so that tests see exactly what a camera sends. Main thread only.
class RtspConversation {
  public:
    struct Response {
        int status = 0;
        /// Names in lower case.
        QMap<QByteArray, QByteArray> headers;
        QByteArray body;
    };

    explicit RtspConversation(const QUrl &url) : m_url(url) {}

    /// Answers whether the connection stands.
    [[nodiscard]] bool connectToServer();
    /// Closes with a reset, as a program that dies with unread data does.
    void abort() { m_socket.abort(); }

    /// Sends a request and waits for its response; nothing when none comes in time.
    [[nodiscard]] std::optional<Response> request(const QByteArray &method,
                                                  const QByteArray &headers = {},
                                                  const QByteArray &suffix = {},
                                                  int milliseconds = 10000);
    /// DESCRIBE, SETUP and PLAY; answers the last status, 200 when the stream plays.
    [[nodiscard]] int play();

    /// Reads what has arrived and brings the counts up to date.
    void readArrived();
    /// Pictures so far: RTP packets with the marker set.
    [[nodiscard]] int pictures();
    /// Pictures so far that a key frame's slice was in.
    [[nodiscard]] int keyFrames();
    /// The clockwise turn in degrees that the last orientation message asked for; nothing before
    /// one.
    [[nodiscard]] std::optional<int> rotation();
    /// Whether RTCP said goodbye.
    [[nodiscard]] bool saidGoodbye();
    [[nodiscard]] bool isClosed();
    /// The socket's error once it is closed.
    [[nodiscard]] QAbstractSocket::SocketError error() const { return m_socket.error(); }

  private:
    [[nodiscard]] bool takeInterleaved();
    [[nodiscard]] bool takeResponse();
    void countRtp(const QByteArray &packet);
    void readRtcp(const QByteArray &compound);

    QUrl m_url;
    QTcpSocket m_socket;
    QByteArray m_arrived;
    std::optional<Response> m_response;
    int m_sequence = 0;
    int m_pictures = 0;
    int m_keyFrames = 0;
    std::optional<int> m_rotation;
    bool m_saidGoodbye = false;
};

} // namespace lumvik::test
