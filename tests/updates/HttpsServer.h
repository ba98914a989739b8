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
    QList<QByteArray> headers; ///< Without line ends; the names in small letters.

    [[nodiscard]] QByteArray path() const { return line.split(' ').value(1); }
    /// The value of a header, null when there is none.
    [[nodiscard]] QByteArray header(const QByteArray &name) const;
};

/// What the server does about a request.
struct Answer {
    enum class Then {
        close,    ///< Ends the connection in order.
        breakOff, ///< Ends it without a word.
        wait,     ///< Keeps it and says nothing more.
        drip,     ///< Sends the last byte again every few milliseconds.
    };
    QByteArray bytes = {};
    Then then = Then::close;
};

/// The answer with `status`, these headers, a length and `body`.
[[nodiscard]] Answer answerWith(int status, const QByteArray &body,
                                const QList<QByteArray> &headers = {});

/// A server for HTTPS on loopback, with a thread of its own.
class HttpsServer {
  public:
    /// Runs on the server's thread.
    using Handler = std::function<Answer(const Request &)>;

    HttpsServer(const Credentials &credentials, Handler handler,
                const QHostAddress &address = QHostAddress::LocalHost);
    HttpsServer(const HttpsServer &) = delete;
    HttpsServer &operator=(const HttpsServer &) = delete;
    ~HttpsServer();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// All requests so far.
    [[nodiscard]] QList<Request> requests() const;
    /// How many connections are open and have been encrypted.
    [[nodiscard]] int openConnections() const;

  private:
    void serve(QSslSocket *socket);
    void read(QSslSocket *socket, QByteArray &received);
    void answer(QSslSocket *socket, const Request &request);

    const Handler m_handler;
    std::unique_ptr<SerialQueue> m_queue;
    QSslServer *m_server = nullptr; // lives on m_queue's thread
    std::uint16_t m_port = 0;

    mutable std::mutex m_mutex; // guards what follows
    QList<Request> m_requests;
    int m_openConnections = 0;
};

} // namespace lumvik::test
