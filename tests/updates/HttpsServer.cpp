#include "HttpsServer.h"

#include "platform/SerialQueue.h"

#include <QSslConfiguration>
#include <QSslServer>
#include <QSslSocket>
#include <QTimer>

#include <algorithm>
#include <future>
#include <utility>

namespace lumvik::test {

namespace {

/// The interval at which `Response::Then::drip` sends a byte.
constexpr std::chrono::milliseconds dripInterval{5};

/// Returns a header with its name in lower case. The names of headers are case-insensitive, and the
/// case that Qt sends differs between versions of Qt.
QByteArray withLowerCaseName(const QByteArray &header) {
    const qsizetype nameEnd = std::max<qsizetype>(header.indexOf(':'), 0);
    return header.first(nameEnd).toLower() + header.sliced(nameEnd);
}

} // namespace

QByteArray Request::header(const QByteArray &name) const {
    for (const QByteArray &entry : headers) {
        const qsizetype colon = entry.indexOf(':');
        if (entry.first(colon).compare(name, Qt::CaseInsensitive) == 0)
            return entry.sliced(colon + 1).trimmed();
    }
    return {};
}

Response responseWith(int status, const QByteArray &body, const QList<QByteArray> &headers) {
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(status) + " Reason\r\n";
    for (const QByteArray &header : headers)
        bytes += header + "\r\n";
    bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    return {.bytes = bytes};
}

HttpsServer::HttpsServer(const Credentials &credentials, Handler handler,
                         const QHostAddress &address)
    : m_handler(std::move(handler))
    , m_queue(std::make_unique<SerialQueue>(QStringLiteral("https-server"))) {
    std::promise<std::uint16_t> port;
    m_queue->async([&] {
        QSslConfiguration security = QSslConfiguration::defaultConfiguration();
        security.setLocalCertificate(credentials.certificate);
        security.setPrivateKey(credentials.key);
        m_server = new QSslServer;
        m_server->setSslConfiguration(security);
        QObject::connect(m_server, &QSslServer::pendingConnectionAvailable, m_server, [this] {
            while (auto *socket = qobject_cast<QSslSocket *>(m_server->nextPendingConnection()))
                serve(socket);
        });
        port.set_value(m_server->listen(address) ? m_server->serverPort() : 0);
    });
    m_port = port.get_future().get();
}

HttpsServer::~HttpsServer() {
    m_queue->async([this] { delete m_server; });
    m_queue.reset();
}

QList<Request> HttpsServer::requests() const {
    const std::scoped_lock lock(m_mutex);
    return m_requests;
}

int HttpsServer::openConnections() const {
    const std::scoped_lock lock(m_mutex);
    return m_openConnections;
}

void HttpsServer::serve(QSslSocket *socket) {
    {
        const std::scoped_lock lock(m_mutex);
        ++m_openConnections;
    }
    QObject::connect(socket, &QSslSocket::disconnected, socket, [this, socket] {
        const std::scoped_lock lock(m_mutex);
        --m_openConnections;
        socket->deleteLater();
    });
    auto received = std::make_shared<QByteArray>();
    QObject::connect(socket, &QSslSocket::readyRead, socket,
                     [this, socket, received] { read(socket, *received); });
    read(socket, *received);
}

void HttpsServer::read(QSslSocket *socket, QByteArray &received) {
    received += socket->readAll();
    const qsizetype end = received.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    QList<QByteArray> lines = received.first(end).split('\n');
    received.remove(0, end + 4);
    Request request{.line = lines.takeFirst().trimmed(), .headers = {}};
    for (const QByteArray &line : std::as_const(lines))
        request.headers.append(withLowerCaseName(line.trimmed()));
    {
        const std::scoped_lock lock(m_mutex);
        m_requests.append(request);
    }
    respond(socket, request);
}

void HttpsServer::respond(QSslSocket *socket, const Request &request) {
    const Response response = m_handler(request);
    socket->write(response.bytes);
    switch (response.then) {
    case Response::Then::close:
        socket->disconnectFromHost();
        break;
    case Response::Then::abort:
        // Send all bytes before aborting, so that the client receives the whole response.
        while (socket->bytesToWrite() > 0 || socket->encryptedBytesToWrite() > 0) {
            if (!socket->waitForBytesWritten())
                break;
        }
        socket->abort();
        break;
    case Response::Then::wait:
        break;
    case Response::Then::drip: {
        auto *timer = new QTimer(socket);
        QObject::connect(timer, &QTimer::timeout, socket,
                         [socket, byte = response.bytes.last(1)] { socket->write(byte); });
        timer->start(dripInterval);
        break;
    }
    }
}

} // namespace lumvik::test
