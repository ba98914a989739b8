#include "OnvifDevice.h"

#include <QTcpSocket>

#include <gtest/gtest.h>

#include <memory>

namespace lumvik::test {

OnvifDevice::OnvifDevice(Handler handler, const QHostAddress &address)
    : m_handler(std::move(handler)) {
    EXPECT_TRUE(m_server.listen(address));
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            const auto received = std::make_shared<QByteArray>();
            QObject::connect(socket, &QTcpSocket::readyRead, socket,
                             [this, socket, received] { read(*socket, *received); });
        }
    });
}

QUrl OnvifDevice::service() const {
    QUrl url(QStringLiteral("http://host/onvif/device_service"));
    url.setHost(m_server.serverAddress().toString());
    url.setPort(m_server.serverPort());
    return url;
}

QStringList OnvifDevice::calls() const {
    QStringList names;
    for (const OnvifQuestion &each : m_questions) {
        const bool hasLogin = each.token() != nullptr || !each.header("authorization").isEmpty();
        names.append(each.call + QLatin1String(hasLogin ? "+" : ""));
    }
    return names;
}

void OnvifDevice::read(QTcpSocket &socket, QByteArray &received) {
    received += socket.readAll();
    const qsizetype headEnd = received.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return;
    OnvifQuestion question;
    const QList<QByteArray> lines = received.first(headEnd).split('\n');
    question.target = lines[0].split(' ').value(1);
    for (const QByteArray &line : lines.sliced(1)) {
        const qsizetype colon = line.indexOf(':');
        question.headers[line.first(colon).toLower()] = line.sliced(colon + 1).trimmed();
    }
    const qsizetype length = question.header("content-length").toLongLong();
    if (received.size() < headEnd + 4 + length)
        return;
    const auto envelope = parsedXml(received.sliced(headEnd + 4, length));
    received.remove(0, headEnd + 4 + length);
    if (envelope)
        question.envelope = *envelope;
    if (const XmlElement *body = question.envelope.child(u"Body"); body && !body->children.empty())
        question.call = body->children[0].name;
    m_questions.append(question);
    const QByteArray answer = m_handler(question);
    if (answer == closeConnection)
        socket.disconnectFromHost();
    else
        socket.write(answer);
}

QByteArray OnvifDevice::reply(int status, const QByteArray &body, const QByteArray &headers) {
    return "HTTP/1.1 " + QByteArray::number(status) + " Reason\r\n" + headers +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray OnvifDevice::message(const QByteArray &content, int status, const QByteArray &headers) {
    return reply(status,
                 "<s:Envelope xmlns:s='http://www.w3.org/2003/05/soap-envelope' xmlns:t='t'>"
                 "<s:Body>" +
                     content + "</s:Body></s:Envelope>",
                 headers);
}

QByteArray OnvifDevice::notAuthorized() {
    return message("<s:Fault><s:Code><s:Value>s:Sender</s:Value><s:Subcode><s:Value>"
                   "t:NotAuthorized</s:Value></s:Subcode></s:Code></s:Fault>",
                   400);
}

QByteArray OnvifDevice::usualReply(const OnvifQuestion &question) {
    if (question.call == QLatin1String("GetSystemDateAndTime")) {
        return message(
            "<t:GetSystemDateAndTimeResponse><t:SystemDateAndTime><t:UTCDateTime><t:Time>"
            "<t:Hour>10</t:Hour><t:Minute>20</t:Minute><t:Second>30</t:Second></t:Time><t:Date>"
            "<t:Year>2021</t:Year><t:Month>2</t:Month><t:Day>3</t:Day></t:Date></t:UTCDateTime>"
            "<t:LocalDateTime><t:Time><t:Hour>12</t:Hour><t:Minute>20</t:Minute><t:Second>30"
            "</t:Second></t:Time><t:Date><t:Year>2021</t:Year><t:Month>2</t:Month><t:Day>3</t:Day>"
            "</t:Date></t:LocalDateTime></t:SystemDateAndTime></t:GetSystemDateAndTimeResponse>");
    }
    // The port in the host header is that of the device.
    const QByteArray port = question.header("host").split(':').last();
    const QByteArray address = "http://10.0.0.1:" + port + "/onvif/media";
    if (question.call == QLatin1String("GetServices")) {
        return message("<t:GetServicesResponse><t:Service><t:Namespace>"
                       "http://www.onvif.org/ver10/media/wsdl</t:Namespace><t:XAddr>" +
                       address + "</t:XAddr></t:Service></t:GetServicesResponse>");
    }
    if (question.call == QLatin1String("GetCapabilities")) {
        return message("<t:GetCapabilitiesResponse><t:Capabilities><t:Media><t:XAddr>" + address +
                       "</t:XAddr></t:Media></t:Capabilities></t:GetCapabilitiesResponse>");
    }
    if (question.call == QLatin1String("GetProfiles")) {
        const auto profile = [](const QByteArray &token, const QByteArray &width) {
            return "<t:Profiles token='" + token + "'><t:Name>" + token +
                   "</t:Name><t:VideoEncoderConfiguration><t:Encoding>H264</t:Encoding>"
                   "<t:Resolution><t:Width>" +
                   width +
                   "</t:Width><t:Height>360</t:Height></t:Resolution>"
                   "</t:VideoEncoderConfiguration></t:Profiles>";
        };
        return message("<t:GetProfilesResponse>" + profile("main", "640") + profile("sub", "320") +
                       "</t:GetProfilesResponse>");
    }
    const XmlElement *token = question.envelope.descendant(u"ProfileToken");
    return message("<t:GetStreamUriResponse><t:MediaUri><t:Uri>rtsp://10.0.0.1:554/" +
                   (token ? token->text.toUtf8() : QByteArray()) +
                   "</t:Uri></t:MediaUri></t:GetStreamUriResponse>");
}

} // namespace lumvik::test
