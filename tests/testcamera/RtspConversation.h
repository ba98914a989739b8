#pragma once

#include <QMap>
#include <QTcpSocket>
#include <QUrl>

#include <optional>

namespace lumvik::test {

/// A minimal RTSP client that receives the stream over its RTSP connection and records what the
/// camera sends. Main thread only.
class RtspConversation {
  public:
    struct Response {
        int status = 0;
        /// The headers by name. Header names are in lower case.
        QMap<QByteArray, QByteArray> headers;
        QByteArray body;
    };

    explicit RtspConversation(const QUrl &url) : m_url(url) {}

    /// Returns whether the connection was established.
    [[nodiscard]] bool connectToServer();
    /// Closes the connection with a reset, as happens when a program dies with unread data.
    void abort() { m_socket.abort(); }

    /// Sends a request and returns its response, or nothing if no response arrives in time.
    [[nodiscard]] std::optional<Response> request(const QByteArray &method,
                                                  const QByteArray &headers = {},
                                                  const QByteArray &suffix = {},
                                                  int milliseconds = 10000);
    /// Sends DESCRIBE, SETUP and PLAY. Returns the last status, which is 200 when the stream plays.
    [[nodiscard]] int play();

    /// Reads the data that has arrived and updates the counts.
    void readArrived();
    /// Returns the number of pictures so far, counted by RTP packets with the marker set.
    [[nodiscard]] int pictures();
    /// Returns the number of key frames so far.
    [[nodiscard]] int keyFrames();
    /// Returns the clockwise rotation in degrees from the last orientation message, or nothing
    /// before the first message.
    [[nodiscard]] std::optional<int> rotation();
    struct NumberedPicture {
        int number = 0;    ///< As `pictures` counts.
        quint32 stamp = 0; ///< In units of 1/90,000 s modulo 2^32.
    };
    [[nodiscard]] NumberedPicture lastPicture();
    /// Returns whether an RTCP BYE packet has arrived.
    [[nodiscard]] bool saidGoodbye();
    [[nodiscard]] bool isClosed();
    /// Returns the last error of the socket.
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
    quint32 m_lastStamp = 0;
    bool m_saidGoodbye = false;
};

} // namespace lumvik::test
