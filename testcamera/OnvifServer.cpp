#include "testcamera/OnvifServer.h"

#include "testcamera/CameraLogin.h"

#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QTcpSocket>
#include <QUdpSocket>

#include <algorithm>

namespace lumvik::test {

namespace {

constexpr qsizetype largestRequest = 65'536;
constexpr qsizetype rememberedProbes = 64;

/// Returns the value of a header, or an empty text. `head` begins with the start line.
QByteArray header(const QByteArray &head, const QByteArray &name) {
    const QList<QByteArray> lines = head.split('\n');
    for (const QByteArray &line : lines)
        if (line.size() > name.size() && line[name.size()] == ':' &&
            line.first(name.size()).compare(name, Qt::CaseInsensitive) == 0)
            return line.sliced(name.size() + 1).trimmed();
    return {};
}

QByteArray httpResponse(const QByteArray &status, const QByteArray &body,
                        const QByteArray &headers = {}) {
    const QByteArray date = QLocale::c()
                                .toString(QDateTime::currentDateTimeUtc(),
                                          QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"))
                                .toLatin1();
    return "HTTP/1.1 " + status + "\r\nDate: " + date +
           "\r\nContent-Type: application/soap+xml; charset=utf-8\r\n" + headers +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" +
           body;
}

/// Returns an address as it stands in a URL without brackets. Other computers do not know the
/// scopes of this one, and IPv4 addresses may have an IPv6 form.
QString hostText(QHostAddress address) {
    bool isVersion4 = false;
    const quint32 number = address.toIPv4Address(&isVersion4);
    if (isVersion4)
        return QHostAddress(number).toString();
    address.setScopeId({});
    return address.toString();
}

/// Returns the address of this computer from which `peer` is reached.
QString localAddressFor(const QHostAddress &peer) {
    QUdpSocket socket;
    constexpr std::uint16_t anyPort = 9; // nothing is sent there
    socket.connectToHost(peer, anyPort);
    return hostText(socket.localAddress());
}

bool hasAddress(const QNetworkInterface &interface, const QHostAddress &address) {
    const QList<QNetworkAddressEntry> entries = interface.addressEntries();
    return std::any_of(entries.begin(), entries.end(), [&address](const auto &entry) {
        return entry.ip().isEqual(address, QHostAddress::TolerantConversion);
    });
}

/// Whether everybody may make the call, according to ONVIF.
bool isPublic(const QString &call) {
    return call == QLatin1String("GetServices") || call == QLatin1String("GetCapabilities");
}

} // namespace

tl::expected<std::unique_ptr<OnvifServer>, QString>
OnvifServer::start(const CameraOptions &options, std::uint16_t rtspPort, LoginLock &lock) {
    std::unique_ptr<OnvifServer> server(new OnvifServer(options, lock));
    if (const auto listening = server->listen(rtspPort); !listening)
        return tl::unexpected(listening.error());
    return server;
}

OnvifServer::OnvifServer(const CameraOptions &options, LoginLock &lock)
    : m_options(options)
    , m_address(options.address)
    , m_login(options, lock) {}

OnvifServer::~OnvifServer() = default;

QString OnvifServer::url() const {
    const QString host = m_address.toString();
    return QStringLiteral("http://%1:%2%3")
        .arg(host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(host) : host)
        .arg(m_server.serverPort())
        .arg(OnvifReplies::devicePath());
}

tl::expected<void, QString> OnvifServer::listen(std::uint16_t rtspPort) {
    const bool isVersion6 = m_address.protocol() == QAbstractSocket::IPv6Protocol;
    const bool isAny = m_address == QHostAddress(QHostAddress::AnyIPv6);
    // Like the port of the streams, "::" stands for both versions.
    if (!m_server.listen(isAny ? QHostAddress(QHostAddress::Any) : m_address,
                         m_options.onvif.port.value_or(0)))
        return tl::unexpected(m_server.errorString());
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection())
            takeConnection(socket);
    });
    m_replies = std::make_unique<OnvifReplies>(m_options, rtspPort, m_server.serverPort());
    if (isVersion6)
        if (auto awaiting = awaitProbes(QHostAddress::AnyIPv6); !awaiting)
            return awaiting;
    if (!isVersion6 || isAny)
        return awaitProbes(QHostAddress::AnyIPv4);
    return {};
}

tl::expected<void, QString> OnvifServer::awaitProbes(const QHostAddress &any) {
    const bool isVersion6 = any.protocol() == QAbstractSocket::IPv6Protocol;
    const QHostAddress group(isVersion6 ? QStringLiteral("ff02::c")
                                        : QStringLiteral("239.255.255.250"));
    const bool isEverywhere = m_address == QHostAddress(QHostAddress::AnyIPv4) ||
                              m_address == QHostAddress(QHostAddress::AnyIPv6);
    auto socket = std::make_unique<QUdpSocket>();
    // Several cameras on one computer hear the same probes.
    if (!socket->bind(any, m_options.onvif.discoveryPort,
                      QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint))
        return tl::unexpected(socket->errorString());
    QSet<int> joined;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces)
        if ((isEverywhere || hasAddress(interface, m_address)) &&
            socket->joinMulticastGroup(group, interface))
            joined.insert(interface.index());
    if (joined.isEmpty())
        return tl::unexpected(socket->errorString());
    QObject::connect(socket.get(), &QUdpSocket::readyRead, socket.get(),
                     [this, raw = socket.get(), joined] { readProbes(*raw, joined); });
    m_sockets.push_back(std::move(socket));
    return {};
}

void OnvifServer::readProbes(QUdpSocket &socket, const QSet<int> &interfaces) {
    while (socket.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket.receiveDatagram();
        // Linux also delivers what other programs have joined on other interfaces.
        if (!interfaces.contains(static_cast<int>(datagram.interfaceIndex())))
            continue;
        const auto request = parseSoapRequest(datagram.data());
        if (!request || request->call != QLatin1String("Probe"))
            continue;
        const QString types = request->texts.value(QStringLiteral("Types"));
        const QString identifier = request->texts.value(QStringLiteral("MessageID"));
        const bool isMeant = types.isEmpty() ||
                             types.contains(QLatin1String("NetworkVideoTransmitter")) ||
                             types.contains(QLatin1String("Device"));
        // Like most cameras, this one replies to a repeated probe once.
        if (!isMeant || identifier.isEmpty() || m_answered.contains(identifier))
            continue;
        m_answered.append(identifier);
        while (m_answered.size() > rememberedProbes)
            m_answered.removeFirst();
        socket.writeDatagram(
            m_replies->probeMatches(identifier, localAddressFor(datagram.senderAddress())),
            datagram.senderAddress(), static_cast<quint16>(datagram.senderPort()));
    }
}

void OnvifServer::takeConnection(QTcpSocket *socket) {
    const auto received = std::make_shared<QByteArray>();
    QObject::connect(socket, &QTcpSocket::readyRead, socket,
                     [this, socket, received] { readRequest(*socket, *received); });
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::deleteLater);
}

void OnvifServer::readRequest(QTcpSocket &socket, QByteArray &received) {
    received += socket.readAll();
    if (received.size() > largestRequest)
        return socket.abort();
    const qsizetype headEnd = received.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return;
    const QByteArray head = received.first(headEnd);
    const qsizetype bodyBegin = headEnd + 4;
    if (received.size() < bodyBegin + header(head, "Content-Length").toLongLong())
        return;
    socket.write(response(head, received.sliced(bodyBegin), hostText(socket.localAddress())));
    socket.disconnectFromHost();
}

QByteArray OnvifServer::response(const QByteArray &head, const QByteArray &body,
                                 const QString &host) {
    const QByteArray target = head.split(' ').value(1);
    const bool isService = target == OnvifReplies::devicePath().toLatin1() ||
                           target == OnvifReplies::mediaPath().toLatin1();
    if (!head.startsWith("POST ") || !isService)
        return httpResponse("404 Not Found", {});
    const auto request = parseSoapRequest(body);
    if (!request)
        return httpResponse("400 Bad Request",
                            m_replies->fault(QStringLiteral("WellFormed"),
                                             QStringLiteral("The message cannot be read.")));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const bool isOpenClock = request->call == QLatin1String("GetSystemDateAndTime") &&
                             !m_options.onvif.faults.contains(OnvifFault::ClockWantsLogin);
    const auto verdict = isOpenClock || isPublic(request->call)
                             ? OnvifLogin::Verdict::Accepted
                             : m_login.judge(*request, header(head, "Authorization"), target, now,
                                             secondsSinceStart());
    if (verdict != OnvifLogin::Verdict::Accepted) {
        const QByteArray fault = m_replies->fault(QStringLiteral("NotAuthorized"),
                                                  QStringLiteral("Sender not authorized."));
        const QByteArray challenge = m_login.challenge();
        return httpResponse(challenge.isEmpty() ? "400 Bad Request" : "401 Unauthorized", fault,
                            challenge);
    }
    const QByteArray reply =
        m_replies->reply(request->call, request->texts.value(QStringLiteral("ProfileToken")),
                         m_login.cameraTime(now), host);
    if (reply.isEmpty())
        return httpResponse("500 Internal Server Error",
                            m_replies->fault(QStringLiteral("ActionNotSupported"),
                                             QStringLiteral("Not supported.")));
    return httpResponse("200 OK", reply);
}

} // namespace lumvik::test
