#pragma once

#include "TestAuthority.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

class QSslServer;
class QSslSocket;

namespace lumvik {
class SerialQueue;
}

namespace lumvik::test {

/// A request as the server received it.
struct Request {
    QByteArray line;           ///< For example "GET / HTTP/1.1".
    QList<QByteArray> headers; ///< Header names are in lower case. Line breaks are removed.

    [[nodiscard]] QByteArray path() const { return line.split(' ').value(1); }
    /// Returns the value of a header, which is null if the header is missing.
    [[nodiscard]] QByteArray header(const QByteArray &name) const;
};

/// The server's response to a request.
struct Response {
    enum class Then {
        close, ///< Closes the connection properly.
        abort, ///< Aborts the connection.
        wait,  ///< Keeps the connection open and sends nothing more.
        drip,  ///< Repeats the last byte every few milliseconds.
    };
    QByteArray bytes = {};
    Then then = Then::close;
};

/// Returns a complete response with `status`, `headers`, a Content-Length header and `body`.
[[nodiscard]] Response responseWith(int status, const QByteArray &body,
                                    const QList<QByteArray> &headers = {});

/// An HTTPS server on the loopback interface. The server runs on its own thread.
class HttpsServer {
  public:
    /// Returns the response to a request. The handler runs on the server's thread.
    using Handler = std::function<Response(const Request &)>;

    HttpsServer(const Credentials &credentials, Handler handler,
                const QHostAddress &address = QHostAddress::LocalHost);
    HttpsServer(const HttpsServer &) = delete;
    HttpsServer &operator=(const HttpsServer &) = delete;
    ~HttpsServer();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Returns all requests received so far.
    [[nodiscard]] QList<Request> requests() const;
    /// Returns the number of open connections whose TLS handshake is complete.
    [[nodiscard]] int openConnections() const;

  private:
    void serve(QSslSocket *socket);
    void read(QSslSocket *socket, QByteArray &received);
    void respond(QSslSocket *socket, const Request &request);

    const Handler m_handler;
    std::unique_ptr<SerialQueue> m_queue;
    QSslServer *m_server = nullptr; // Used on m_queue's thread only.
    std::uint16_t m_port = 0;

    mutable std::mutex m_mutex; // Guards the members below.
    QList<Request> m_requests;
    int m_openConnections = 0;
};

} // namespace lumvik::test
