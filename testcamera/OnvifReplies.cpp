#include "testcamera/OnvifReplies.h"

#include <QUrl>
#include <QUuid>

#include <algorithm>

namespace lumvik::test {

namespace {

/// A namespace, the prefix that stands for it in the texts below, and the one that replaces it if
/// the camera uses other prefixes.
struct Namespace {
    const char *prefix;
    const char *otherPrefix;
    const char *uri;
};

constexpr Namespace namespaces[] = {
    {"s", "SOAP-ENV", "http://www.w3.org/2003/05/soap-envelope"},
    {"a", "wsadis", "http://schemas.xmlsoap.org/ws/2004/08/addressing"},
    {"d", "", "http://schemas.xmlsoap.org/ws/2005/04/discovery"},
    {"dn", "ns0", "http://www.onvif.org/ver10/network/wsdl"},
    {"tds", "ns1", "http://www.onvif.org/ver10/device/wsdl"},
    {"trt", "ns2", "http://www.onvif.org/ver10/media/wsdl"},
    {"tt", "ns3", "http://www.onvif.org/ver10/schema"},
    {"ter", "ns4", "http://www.onvif.org/ver10/error"},
};

/// A host that documentation uses (RFC 5737), so that nobody is there.
constexpr QLatin1String wrongHost("203.0.113.9");

QString bracketed(const QString &host) {
    return host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
}

QString dateTimeText(const QString &name, const QDateTime &time) {
    return QStringLiteral("<{tt}%1><{tt}Time><{tt}Hour>%2</{tt}Hour><{tt}Minute>%3</{tt}Minute>"
                          "<{tt}Second>%4</{tt}Second></{tt}Time><{tt}Date><{tt}Year>%5</{tt}Year>"
                          "<{tt}Month>%6</{tt}Month><{tt}Day>%7</{tt}Day></{tt}Date></{tt}%1>")
        .arg(name)
        .arg(time.time().hour())
        .arg(time.time().minute())
        .arg(time.time().second())
        .arg(time.date().year())
        .arg(time.date().month())
        .arg(time.date().day());
}

QString scope(const QString &kind, const QString &value) {
    return QStringLiteral("onvif://www.onvif.org/%1/%2")
        .arg(kind, QString::fromLatin1(QUrl::toPercentEncoding(value)));
}

} // namespace

OnvifReplies::OnvifReplies(const CameraOptions &options, std::uint16_t rtspPort,
                           std::uint16_t onvifPort)
    : m_options(options)
    , m_rtspPort(rtspPort)
    , m_onvifPort(onvifPort)
    , m_identity(QUuid::createUuidV5(QUuid(), options.name + options.path)
                     .toString(QUuid::WithoutBraces)) {}

std::vector<OnvifReplies::Stream> OnvifReplies::streams(const CameraOptions &options) {
    std::vector<Stream> result{{QStringLiteral("main"), QStringLiteral("Main Stream"), options.path,
                                options.size, options.framesPerSecond}};
    if (options.onvif.faults.contains(OnvifFault::ThreeProfiles)) {
        result.push_back({QStringLiteral("sub"), QStringLiteral("Sub Stream"),
                          options.path + QLatin1String("-sub"), options.size / 2,
                          std::max(1, options.framesPerSecond / 2)});
        result.push_back({QStringLiteral("mobile"), QStringLiteral("Mobile <3>"),
                          options.path + QLatin1String("-mobile"), options.size / 4,
                          std::max(1, options.framesPerSecond / 5)});
    }
    return result;
}

QByteArray OnvifReplies::envelope(const QString &header, const QString &body) const {
    const bool isOther = m_options.onvif.faults.contains(OnvifFault::OtherPrefixes);
    QString declarations;
    QString text = QStringLiteral("<{s}Envelope%1><{s}Header>") + header +
                   QStringLiteral("</{s}Header><{s}Body>") + body +
                   QStringLiteral("</{s}Body></{s}Envelope>");
    for (const Namespace &each : namespaces) {
        const QString prefix = QLatin1String(isOther ? each.otherPrefix : each.prefix);
        declarations +=
            prefix.isEmpty()
                ? QStringLiteral(" xmlns=\"%1\"").arg(QLatin1String(each.uri))
                : QStringLiteral(" xmlns:%1=\"%2\"").arg(prefix, QLatin1String(each.uri));
        text.replace(QLatin1Char('{') + QLatin1String(each.prefix) + QLatin1Char('}'),
                     prefix.isEmpty() ? QString() : prefix + QLatin1Char(':'));
    }
    text.replace(QLatin1String("Envelope%1"), QLatin1String("Envelope") + declarations);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + text.toUtf8();
}

QString OnvifReplies::address(const QString &scheme, std::uint16_t port, const QString &path,
                              const QString &host) const {
    const bool isWrong = m_options.onvif.faults.contains(OnvifFault::WrongHost);
    return QStringLiteral("%1://%2:%3%4")
        .arg(scheme, isWrong ? wrongHost : bracketed(host))
        .arg(port)
        .arg(path)
        .toHtmlEscaped();
}

QByteArray OnvifReplies::probeMatches(const QString &relatesTo, const QString &host) const {
    const QString header =
        QStringLiteral("<{a}MessageID>urn:uuid:%1</{a}MessageID><{a}RelatesTo>%2</{a}RelatesTo>"
                       "<{a}To>http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous"
                       "</{a}To><{a}Action>http://schemas.xmlsoap.org/ws/2005/04/discovery/"
                       "ProbeMatches</{a}Action>")
            .arg(QUuid::createUuid().toString(QUuid::WithoutBraces), relatesTo.toHtmlEscaped());
    const QStringList scopes{scope(QStringLiteral("type"), QStringLiteral("video_encoder")),
                             scope(QStringLiteral("Profile"), QStringLiteral("Streaming")),
                             scope(QStringLiteral("name"), m_options.name),
                             scope(QStringLiteral("hardware"), QStringLiteral("Test Camera")),
                             scope(QStringLiteral("location"), QStringLiteral("this computer"))};
    const QString body =
        QStringLiteral("<{d}ProbeMatches><{d}ProbeMatch><{a}EndpointReference><{a}Address>urn:uuid:"
                       "%1</{a}Address></{a}EndpointReference><{d}Types>{dn}NetworkVideoTransmitter"
                       " {tds}Device</{d}Types><{d}Scopes>%2</{d}Scopes><{d}XAddrs>%3</{d}XAddrs>"
                       "<{d}MetadataVersion>1</{d}MetadataVersion></{d}ProbeMatch>"
                       "</{d}ProbeMatches>")
            .arg(m_identity, scopes.join(QLatin1Char(' ')),
                 address(QStringLiteral("http"), m_onvifPort, devicePath(), host));
    return envelope(header, body);
}

QByteArray OnvifReplies::reply(const QString &call, const QString &profile, const QDateTime &now,
                               const QString &host) const {
    QString body;
    if (call == QLatin1String("GetSystemDateAndTime"))
        body = dateAndTime(now);
    else if (call == QLatin1String("GetServices"))
        body = services(host);
    else if (call == QLatin1String("GetCapabilities"))
        body = capabilities(host);
    else if (call == QLatin1String("GetDeviceInformation"))
        body = deviceInformation();
    else if (call == QLatin1String("GetProfiles"))
        body = profiles();
    else if (call == QLatin1String("GetVideoSources"))
        body = videoSources();
    else if (call == QLatin1String("GetStreamUri"))
        body = streamUri(profile, host);
    return body.isEmpty() ? QByteArray() : envelope({}, body);
}

QByteArray OnvifReplies::fault(const QString &subcode, const QString &reason) const {
    return envelope({},
                    QStringLiteral("<{s}Fault><{s}Code><{s}Value>{s}Sender</{s}Value><{s}Subcode>"
                                   "<{s}Value>{ter}%1</{s}Value></{s}Subcode></{s}Code>"
                                   "<{s}Reason><{s}Text xml:lang=\"en\">%2</{s}Text></{s}Reason>"
                                   "</{s}Fault>")
                        .arg(subcode, reason));
}

QString OnvifReplies::dateAndTime(const QDateTime &now) const {
    const bool isLocal = m_options.onvif.faults.contains(OnvifFault::LocalTime);
    return QStringLiteral("<{tds}GetSystemDateAndTimeResponse><{tds}SystemDateAndTime>"
                          "<{tt}DateTimeType>NTP</{tt}DateTimeType><{tt}DaylightSavings>false"
                          "</{tt}DaylightSavings><{tt}TimeZone><{tt}TZ>%1</{tt}TZ></{tt}TimeZone>"
                          "%2%3</{tds}SystemDateAndTime></{tds}GetSystemDateAndTimeResponse>")
        .arg(isLocal ? QStringLiteral("EET-2") : QStringLiteral("UTC0"),
             dateTimeText(QStringLiteral("UTCDateTime"), now),
             dateTimeText(QStringLiteral("LocalDateTime"), now.addSecs(isLocal ? 2 * 3600 : 0)));
}

QString OnvifReplies::services(const QString &host) const {
    const auto service = [&](const char *uri, const QString &path) {
        return QStringLiteral("<{tds}Service><{tds}Namespace>%1</{tds}Namespace><{tds}XAddr>%2"
                              "</{tds}XAddr><{tds}Version><{tt}Major>2</{tt}Major><{tt}Minor>60"
                              "</{tt}Minor></{tds}Version></{tds}Service>")
            .arg(QLatin1String(uri), address(QStringLiteral("http"), m_onvifPort, path, host));
    };
    return QStringLiteral("<{tds}GetServicesResponse>") +
           service("http://www.onvif.org/ver10/device/wsdl", devicePath()) +
           service("http://www.onvif.org/ver10/media/wsdl", mediaPath()) +
           QStringLiteral("</{tds}GetServicesResponse>");
}

QString OnvifReplies::capabilities(const QString &host) const {
    return QStringLiteral("<{tds}GetCapabilitiesResponse><{tds}Capabilities><{tt}Device><{tt}XAddr>"
                          "%1</{tt}XAddr></{tt}Device><{tt}Media><{tt}XAddr>%2</{tt}XAddr>"
                          "<{tt}StreamingCapabilities><{tt}RTPMulticast>false</{tt}RTPMulticast>"
                          "<{tt}RTP_TCP>true</{tt}RTP_TCP><{tt}RTP_RTSP_TCP>true</{tt}RTP_RTSP_TCP>"
                          "</{tt}StreamingCapabilities></{tt}Media></{tds}Capabilities>"
                          "</{tds}GetCapabilitiesResponse>")
        .arg(address(QStringLiteral("http"), m_onvifPort, devicePath(), host),
             address(QStringLiteral("http"), m_onvifPort, mediaPath(), host));
}

QString OnvifReplies::deviceInformation() const {
    return QStringLiteral("<{tds}GetDeviceInformationResponse><{tds}Manufacturer>Lumvik"
                          "</{tds}Manufacturer><{tds}Model>Test Camera</{tds}Model>"
                          "<{tds}FirmwareVersion>1</{tds}FirmwareVersion><{tds}SerialNumber>%1"
                          "</{tds}SerialNumber><{tds}HardwareId>1</{tds}HardwareId>"
                          "</{tds}GetDeviceInformationResponse>")
        .arg(m_identity);
}

QString OnvifReplies::profiles() const {
    const QString codec =
        m_options.codec == VideoCodec::H264 ? QStringLiteral("H264") : QStringLiteral("H265");
    const QString sourceSize = QStringLiteral("width=\"%1\" height=\"%2\"")
                                   .arg(m_options.size.width())
                                   .arg(m_options.size.height());
    QString result = QStringLiteral("<{trt}GetProfilesResponse>");
    for (const Stream &stream : streams(m_options)) {
        result +=
            QStringLiteral("<{trt}Profiles token=\"%1\" fixed=\"true\"><{tt}Name>%2</{tt}Name>"
                           "<{tt}VideoSourceConfiguration token=\"source\"><{tt}Name>Source"
                           "</{tt}Name><{tt}UseCount>1</{tt}UseCount><{tt}SourceToken>sensor"
                           "</{tt}SourceToken><{tt}Bounds x=\"0\" y=\"0\" %3/>"
                           "</{tt}VideoSourceConfiguration>")
                .arg(stream.token, stream.name.toHtmlEscaped(), sourceSize);
        result += QStringLiteral(
                      "<{tt}VideoEncoderConfiguration token=\"encoder-%1\"><{tt}Name>Encoder"
                      "</{tt}Name><{tt}UseCount>1</{tt}UseCount><{tt}Encoding>%2</{tt}Encoding>"
                      "<{tt}Resolution><{tt}Width>%3</{tt}Width><{tt}Height>%4</{tt}Height>"
                      "</{tt}Resolution><{tt}Quality>5</{tt}Quality><{tt}RateControl>"
                      "<{tt}FrameRateLimit>%5</{tt}FrameRateLimit><{tt}EncodingInterval>1"
                      "</{tt}EncodingInterval><{tt}BitrateLimit>4096</{tt}BitrateLimit>"
                      "</{tt}RateControl><{tt}SessionTimeout>PT60S</{tt}SessionTimeout>"
                      "</{tt}VideoEncoderConfiguration></{trt}Profiles>")
                      .arg(stream.token, codec)
                      .arg(stream.size.width())
                      .arg(stream.size.height())
                      .arg(stream.framesPerSecond);
    }
    return result + QStringLiteral("</{trt}GetProfilesResponse>");
}

QString OnvifReplies::videoSources() const {
    return QStringLiteral("<{trt}GetVideoSourcesResponse><{trt}VideoSources token=\"sensor\">"
                          "<{tt}Framerate>%1</{tt}Framerate><{tt}Resolution><{tt}Width>%2"
                          "</{tt}Width><{tt}Height>%3</{tt}Height></{tt}Resolution>"
                          "</{trt}VideoSources></{trt}GetVideoSourcesResponse>")
        .arg(m_options.framesPerSecond)
        .arg(m_options.size.width())
        .arg(m_options.size.height());
}

QString OnvifReplies::streamUri(const QString &profile, const QString &host) const {
    const auto all = streams(m_options);
    const auto found = std::find_if(
        all.begin(), all.end(), [&profile](const Stream &each) { return each.token == profile; });
    if (found == all.end())
        return {};
    return QStringLiteral("<{trt}GetStreamUriResponse><{trt}MediaUri><{tt}Uri>%1</{tt}Uri>"
                          "<{tt}InvalidAfterConnect>false</{tt}InvalidAfterConnect>"
                          "<{tt}InvalidAfterReboot>false</{tt}InvalidAfterReboot>"
                          "<{tt}Timeout>PT0S</{tt}Timeout></{trt}MediaUri>"
                          "</{trt}GetStreamUriResponse>")
        .arg(address(QStringLiteral("rtsp"), m_rtspPort, found->path, host));
}

} // namespace lumvik::test
