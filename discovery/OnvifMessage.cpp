#include "discovery/OnvifMessage.h"

#include "discovery/PastedAddress.h"
#include "discovery/WsDiscoveryMessage.h"

#include <QCryptographicHash>
#include <QLocale>
#include <QTimeZone>
#include <QXmlStreamWriter>

#include <algorithm>
#include <array>
#include <cmath>

namespace lumvik {

namespace {

const QString soap = QStringLiteral("http://www.w3.org/2003/05/soap-envelope");
const QString deviceService = QStringLiteral("http://www.onvif.org/ver10/device/wsdl");
const QString mediaServiceName = QStringLiteral("http://www.onvif.org/ver10/media/wsdl");
const QString schema = QStringLiteral("http://www.onvif.org/ver10/schema");
const QString security = QStringLiteral(
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd");
const QString utility = QStringLiteral(
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd");
const QString digestType =
    QStringLiteral("http://docs.oasis-open.org/wss/2004/01/"
                   "oasis-200401-wss-username-token-profile-1.0#PasswordDigest");
const QString base64Type =
    QStringLiteral("http://docs.oasis-open.org/wss/2004/01/"
                   "oasis-200401-wss-soap-message-security-1.0#Base64Binary");

constexpr qsizetype longestToken = 200;
constexpr int largestPictureSide = 32'768;
constexpr double highestRate = 1000;

/// The subcodes of faults with which cameras refuse a login: ONVIF's, and those of WS-Security.
constexpr std::array<QLatin1String, 6> refusals = {
    QLatin1String("NotAuthorized"),   QLatin1String("FailedAuthentication"),
    QLatin1String("InvalidSecurity"), QLatin1String("InvalidSecurityToken"),
    QLatin1String("FailedCheck"),     QLatin1String("MessageExpired")};

QString nameOf(OnvifCall call) {
    switch (call) {
    case OnvifCall::getSystemDateAndTime:
        return QStringLiteral("GetSystemDateAndTime");
    case OnvifCall::getServices:
        return QStringLiteral("GetServices");
    case OnvifCall::getCapabilities:
        return QStringLiteral("GetCapabilities");
    case OnvifCall::getProfiles:
        return QStringLiteral("GetProfiles");
    case OnvifCall::getStreamUri:
        return QStringLiteral("GetStreamUri");
    }
    return {};
}

QString serviceOf(OnvifCall call) {
    const bool isMedia = call == OnvifCall::getProfiles || call == OnvifCall::getStreamUri;
    return isMedia ? mediaServiceName : deviceService;
}

/// Returns a time as it stands in a token. The digest is computed from this text.
QString createdText(const QDateTime &created) {
    return created.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"));
}

void writeToken(QXmlStreamWriter &writer, const UsernameToken &token) {
    writer.writeStartElement(security, QStringLiteral("Security"));
    writer.writeAttribute(soap, QStringLiteral("mustUnderstand"), QStringLiteral("1"));
    writer.writeStartElement(security, QStringLiteral("UsernameToken"));
    writer.writeTextElement(security, QStringLiteral("Username"), token.login.user);
    writer.writeStartElement(security, QStringLiteral("Password"));
    writer.writeAttribute(QStringLiteral("Type"), digestType);
    writer.writeCharacters(QString::fromLatin1(passwordDigest(token)));
    writer.writeEndElement();
    writer.writeStartElement(security, QStringLiteral("Nonce"));
    writer.writeAttribute(QStringLiteral("EncodingType"), base64Type);
    writer.writeCharacters(QString::fromLatin1(token.nonce.toBase64()));
    writer.writeEndElement();
    writer.writeTextElement(utility, QStringLiteral("Created"), createdText(token.created));
    writer.writeEndElement();
    writer.writeEndElement();
}

void writeArguments(QXmlStreamWriter &writer, OnvifCall call, const QString &profile) {
    switch (call) {
    case OnvifCall::getSystemDateAndTime:
    case OnvifCall::getProfiles:
        return;
    case OnvifCall::getServices:
        writer.writeTextElement(deviceService, QStringLiteral("IncludeCapability"),
                                QStringLiteral("false"));
        return;
    case OnvifCall::getCapabilities:
        writer.writeTextElement(deviceService, QStringLiteral("Category"), QStringLiteral("All"));
        return;
    case OnvifCall::getStreamUri:
        writer.writeStartElement(mediaServiceName, QStringLiteral("StreamSetup"));
        writer.writeTextElement(schema, QStringLiteral("Stream"), QStringLiteral("RTP-Unicast"));
        writer.writeStartElement(schema, QStringLiteral("Transport"));
        writer.writeTextElement(schema, QStringLiteral("Protocol"), QStringLiteral("RTSP"));
        writer.writeEndElement();
        writer.writeEndElement();
        writer.writeTextElement(mediaServiceName, QStringLiteral("ProfileToken"), profile);
        return;
    }
}

/// Returns a qualified name without its prefix.
QString localName(const QString &name) {
    return name.section(u':', -1);
}

bool isRefusal(const XmlElement &fault) {
    // Subcodes are nested, and a camera may add one of its own.
    const XmlElement *code = fault.child(u"Code");
    for (code = code == nullptr ? nullptr : code->child(u"Subcode"); code != nullptr;
         code = code->child(u"Subcode")) {
        const QString value = localName(code->textAt({u"Value"}));
        if (std::find(refusals.begin(), refusals.end(), value) != refusals.end())
            return true;
    }
    // SOAP 1.1, which some cameras use for faults only.
    const QString code11 = localName(fault.textAt({u"faultcode"}));
    if (std::find(refusals.begin(), refusals.end(), code11) != refusals.end())
        return true;
    const QString reason = fault.textAt({u"Reason", u"Text"}) + fault.textAt({u"faultstring"});
    return reason.contains(QLatin1String("not authorized"), Qt::CaseInsensitive);
}

std::optional<QDateTime> dateTime(const XmlElement *element) {
    if (element == nullptr)
        return std::nullopt;
    const auto number = [element](QStringView group, QStringView name) {
        bool isNumber = false;
        const int value = element->textAt({group, name}).toInt(&isNumber);
        return isNumber ? value : -1;
    };
    const QDate date(number(u"Date", u"Year"), number(u"Date", u"Month"), number(u"Date", u"Day"));
    const QTime time(number(u"Time", u"Hour"), number(u"Time", u"Minute"),
                     // A leap second has no number in Qt.
                     std::min(number(u"Time", u"Second"), 59));
    const QDateTime result(date, time, Qt::UTC);
    // Clocks that were never set begin in 1970 or later, and later years have no four digits.
    if (!time.isValid() || !result.isValid() || date.year() < 1970 || date.year() > 9999)
        return std::nullopt;
    return result;
}

std::optional<QUrl> onHost(const QString &address, const QHostAddress &host) {
    const QUrl url(address, QUrl::StrictMode);
    const bool isWeb =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isWeb || url.host().isEmpty() || url.port(80) < 1)
        return std::nullopt;
    return withHost(url, host);
}

int sideOf(const XmlElement &encoder, QStringView name) {
    const int side = encoder.textAt({u"Resolution", name}).toInt();
    return side > 0 && side <= largestPictureSide ? side : 0;
}

OnvifProfile profileOf(const XmlElement &element, const XmlElement *encoder) {
    OnvifProfile profile;
    profile.token = element.attribute(QStringLiteral("token"));
    profile.name = presentableText(element.textAt({u"Name"}));
    if (encoder == nullptr)
        return profile;
    profile.codec = presentableText(encoder->textAt({u"Encoding"}));
    const QSize size(sideOf(*encoder, u"Width"), sideOf(*encoder, u"Height"));
    if (!size.isEmpty())
        profile.size = size;
    const double rate = encoder->textAt({u"RateControl", u"FrameRateLimit"}).toDouble();
    if (std::isfinite(rate) && rate > 0 && rate <= highestRate)
        profile.framesPerSecond = rate;
    return profile;
}

} // namespace

QByteArray onvifRequest(OnvifCall call, const std::optional<UsernameToken> &token,
                        const QString &profile) {
    QByteArray message;
    QXmlStreamWriter writer(&message);
    writer.writeStartDocument();
    writer.writeNamespace(soap, QStringLiteral("s"));
    writer.writeNamespace(serviceOf(call), QStringLiteral("t"));
    if (call == OnvifCall::getStreamUri)
        writer.writeNamespace(schema, QStringLiteral("tt"));
    if (token) {
        writer.writeNamespace(security, QStringLiteral("wsse"));
        writer.writeNamespace(utility, QStringLiteral("wsu"));
    }
    writer.writeStartElement(soap, QStringLiteral("Envelope"));
    if (token) {
        writer.writeStartElement(soap, QStringLiteral("Header"));
        writeToken(writer, *token);
        writer.writeEndElement();
    }
    writer.writeStartElement(soap, QStringLiteral("Body"));
    writer.writeStartElement(serviceOf(call), nameOf(call));
    writeArguments(writer, call, profile);
    writer.writeEndDocument();
    return message;
}

QByteArray onvifContentType(OnvifCall call) {
    return "application/soap+xml; charset=utf-8; action=\"" + serviceOf(call).toLatin1() + '/' +
           nameOf(call).toLatin1() + '"';
}

QByteArray passwordDigest(const UsernameToken &token) {
    const QByteArray text =
        token.nonce + createdText(token.created).toUtf8() + token.login.password.toUtf8();
    return QCryptographicHash::hash(text, QCryptographicHash::Sha1).toBase64();
}

OnvifReply onvifReply(OnvifCall call, int httpStatus, const QByteArray &body) {
    if (httpStatus >= 300 && httpStatus <= 399)
        return {OnvifReplyKind::redirection, {}};
    if (httpStatus == 401 || httpStatus == 403)
        return {OnvifReplyKind::notAuthorized, {}};
    const auto envelope = parsedXml(body, onvifLimits);
    const XmlElement *content = envelope ? envelope->child(u"Body") : nullptr;
    if (content == nullptr || content->children.empty() ||
        envelope->name != QLatin1String("Envelope"))
        return {OnvifReplyKind::notOnvif, {}};
    if (const XmlElement *fault = content->child(u"Fault"))
        return {isRefusal(*fault) ? OnvifReplyKind::notAuthorized : OnvifReplyKind::fault, {}};
    const XmlElement *response = content->child(QString(nameOf(call) + QLatin1String("Response")));
    if (httpStatus < 200 || httpStatus > 299 || response == nullptr)
        return {OnvifReplyKind::notOnvif, {}};
    return {OnvifReplyKind::success, *response};
}

OnvifClock onvifClock(const XmlElement &content) {
    return {dateTime(content.find({u"SystemDateAndTime", u"UTCDateTime"})),
            dateTime(content.find({u"SystemDateAndTime", u"LocalDateTime"}))};
}

std::optional<QDateTime> httpDate(const QByteArray &value) {
    // RFC 9110, 5.6.7. The zone is always GMT, and the other forms are obsolete.
    const QDateTime date = QLocale::c().toDateTime(
        QString::fromLatin1(value.trimmed()), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"));
    if (!date.isValid())
        return std::nullopt;
    return QDateTime(date.date(), date.time(), Qt::UTC);
}

std::optional<QUrl> mediaService(OnvifCall call, const XmlElement &content,
                                 const QHostAddress &host) {
    if (call == OnvifCall::getCapabilities)
        return onHost(content.textAt({u"Capabilities", u"Media", u"XAddr"}), host);
    for (const XmlElement &service : content.children)
        if (service.textAt({u"Namespace"}) == mediaServiceName)
            if (auto url = onHost(service.textAt({u"XAddr"}), host))
                return url;
    return std::nullopt;
}

std::vector<OnvifProfile> onvifProfiles(const XmlElement &content) {
    std::vector<OnvifProfile> withVideo;
    std::vector<OnvifProfile> others;
    for (const XmlElement &element : content.children) {
        const QString token = element.attribute(QStringLiteral("token"));
        if (element.name != QLatin1String("Profiles") || token.isEmpty() ||
            token.size() > longestToken)
            continue;
        const XmlElement *encoder = element.child(u"VideoEncoderConfiguration");
        // The first media service cannot describe encoders of H.265, so that a profile with a
        // source only may be the camera's best one.
        const bool hasVideo =
            encoder != nullptr || element.child(u"VideoSourceConfiguration") != nullptr;
        auto &list = hasVideo ? withVideo : others;
        if (list.size() < mostOnvifProfiles)
            list.push_back(profileOf(element, encoder));
    }
    // Some cameras describe nothing of their profiles, and still have streams.
    return withVideo.empty() ? others : withVideo;
}

QString streamAddress(const XmlElement &content, const QHostAddress &host) {
    // Some cameras escape the address twice.
    const QString text =
        content.textAt({u"MediaUri", u"Uri"}).replace(QLatin1String("&amp;"), QLatin1String("&"));
    const QUrl url(text);
    const qsizetype authority = text.indexOf(QLatin1String("://")) + 3;
    const bool isStream =
        url.scheme() == QLatin1String("rtsp") || url.scheme() == QLatin1String("rtsps");
    if (!url.isValid() || !isStream || authority < 3)
        return {};
    const auto isEnd = [](QChar each) { return each == u'/' || each == u'?' || each == u'#'; };
    const qsizetype path = std::find_if(text.begin() + authority, text.end(), isEnd) - text.begin();
    QString place = host.toString();
    if (host.protocol() == QAbstractSocket::IPv6Protocol)
        place = u'[' + place + u']';
    if (url.port() > 0)
        place += u':' + QString::number(url.port());
    // The path is spelt as the camera spells it.
    return pastedAddress(QString(url.scheme() + QLatin1String("://") + place + text.sliced(path)))
        .value_or(QString());
}

} // namespace lumvik
