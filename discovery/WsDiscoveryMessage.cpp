#include "discovery/WsDiscoveryMessage.h"

#include "discovery/XmlTree.h"

#include <QUuid>
#include <QXmlStreamWriter>

#include <algorithm>
#include <optional>

namespace lumvik {

namespace {

const QString soap = QStringLiteral("http://www.w3.org/2003/05/soap-envelope");
const QString addressing = QStringLiteral("http://schemas.xmlsoap.org/ws/2004/08/addressing");
const QString discovery = QStringLiteral("http://schemas.xmlsoap.org/ws/2005/04/discovery");
const QString networkTypes = QStringLiteral("http://www.onvif.org/ver10/network/wsdl");

/// The beginning of ONVIF's scopes.
constexpr QLatin1String scopePrefix("onvif://www.onvif.org/");

/// The path of the device service that ONVIF prescribes.
constexpr QLatin1String usualPath("/onvif/device_service");

constexpr qsizetype longestServiceAddress = 2048;
constexpr qsizetype longestPresentableText = 200;
/// A recorder may reply for its channels; more than this many matches are ignored.
constexpr std::size_t mostMatches = 64;

/// Returns an identifier in a form that can be compared. Some devices leave "urn:" out of a reply.
QString normalIdentifier(const QString &identifier) {
    const QString text = identifier.trimmed().toLower();
    return text.startsWith(QLatin1String("urn:")) ? text.sliced(4) : text;
}

QStringList words(const QString &text) {
    return text.simplified().split(u' ', Qt::SkipEmptyParts);
}

bool isCamera(const QStringList &types, const QStringList &scopes) {
    const auto isTransmitter = [](const QString &type) {
        return type.section(u':', -1) == QLatin1String("NetworkVideoTransmitter");
    };
    const auto isOnvif = [](const QString &scope) {
        return scope.startsWith(scopePrefix, Qt::CaseInsensitive);
    };
    return std::any_of(types.begin(), types.end(), isTransmitter) ||
           std::any_of(scopes.begin(), scopes.end(), isOnvif);
}

/// Returns what a camera says about itself under `key`, for example "name". Several values are
/// joined.
QString scopeValue(const QStringList &scopes, QLatin1String key) {
    const QString prefix = scopePrefix + key + u'/';
    QStringList values;
    for (const QString &scope : scopes) {
        if (!scope.startsWith(prefix, Qt::CaseInsensitive))
            continue;
        const QByteArray encoded = scope.sliced(prefix.size()).toUtf8();
        const QString value =
            presentableText(QString::fromUtf8(QByteArray::fromPercentEncoding(encoded)));
        if (!value.isEmpty() && !values.contains(value))
            values.append(value);
    }
    return presentableText(values.join(QLatin1String(", ")));
}

std::optional<QUrl> webAddress(const QString &text) {
    if (text.size() > longestServiceAddress)
        return std::nullopt;
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isWeb || url.host().isEmpty() || url.port(80) < 1)
        return std::nullopt;
    return url;
}

/// Returns the best of the service addresses. One of the sender comes first, and then one without
/// encryption: the certificates of cameras cannot be verified, and no password is sent in clear.
QUrl serviceAddress(const QStringList &addresses, const QHostAddress &sender) {
    std::optional<QUrl> best;
    int bestRank = 0;
    for (const QString &address : addresses) {
        const auto url = webAddress(address);
        if (!url)
            continue;
        const int rank = 1 + (isHost(url->host(), sender) ? 2 : 0) +
                         (url->scheme() == QLatin1String("http") ? 1 : 0);
        if (rank > bestRank) {
            best = url;
            bestRank = rank;
        }
    }
    if (!best) {
        best.emplace();
        best->setScheme(QStringLiteral("http"));
        best->setPath(usualPath);
    }
    return withHost(*best, sender);
}

std::optional<FoundCamera> cameraIn(const XmlElement &match, const QHostAddress &sender) {
    const QStringList scopes = words(match.textAt({u"Scopes"}));
    if (!isCamera(words(match.textAt({u"Types"})), scopes))
        return std::nullopt;
    FoundCamera camera;
    camera.identity = normalIdentifier(match.textAt({u"EndpointReference", u"Address"}));
    // Two long identities must not become equal by being shortened.
    if (camera.identity.isEmpty() || presentableText(camera.identity) != camera.identity)
        camera.identity = sender.toString();
    camera.serviceAddress = serviceAddress(words(match.textAt({u"XAddrs"})), sender);
    camera.name = scopeValue(scopes, QLatin1String("name"));
    camera.hardware = scopeValue(scopes, QLatin1String("hardware"));
    camera.location = scopeValue(scopes, QLatin1String("location"));
    return camera;
}

} // namespace

QString makeMessageId() {
    return QLatin1String("urn:uuid:") + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

QByteArray probeMessage(ProbeKind kind, const QString &messageId) {
    QByteArray message;
    QXmlStreamWriter writer(&message);
    writer.writeStartDocument();
    writer.writeNamespace(soap, QStringLiteral("s"));
    writer.writeNamespace(addressing, QStringLiteral("a"));
    writer.writeNamespace(discovery, QStringLiteral("d"));
    writer.writeNamespace(networkTypes, QStringLiteral("dn"));
    writer.writeStartElement(soap, QStringLiteral("Envelope"));
    writer.writeStartElement(soap, QStringLiteral("Header"));
    writer.writeTextElement(addressing, QStringLiteral("MessageID"), messageId);
    writer.writeTextElement(addressing, QStringLiteral("To"),
                            QStringLiteral("urn:schemas-xmlsoap-org:ws:2005:04:discovery"));
    writer.writeTextElement(addressing, QStringLiteral("Action"),
                            discovery + QLatin1String("/Probe"));
    writer.writeEndElement();
    writer.writeStartElement(soap, QStringLiteral("Body"));
    writer.writeStartElement(discovery, QStringLiteral("Probe"));
    if (kind == ProbeKind::videoTransmitters)
        writer.writeTextElement(discovery, QStringLiteral("Types"),
                                QStringLiteral("dn:NetworkVideoTransmitter"));
    writer.writeEndDocument();
    return message;
}

std::vector<FoundCamera> camerasInReply(const QByteArray &datagram, const QHostAddress &sender,
                                        const QStringList &messageIds) {
    const auto envelope = parsedXml(datagram);
    if (!envelope || envelope->name != QLatin1String("Envelope"))
        return {};
    const QString relatesTo = normalIdentifier(envelope->textAt({u"Header", u"RelatesTo"}));
    const bool isReply =
        std::any_of(messageIds.begin(), messageIds.end(), [&relatesTo](const QString &each) {
            return normalIdentifier(each) == relatesTo;
        });
    const XmlElement *matches = envelope->find({u"Body", u"ProbeMatches"});
    if (!isReply || matches == nullptr)
        return {};
    std::vector<FoundCamera> cameras;
    for (const XmlElement &match : matches->children) {
        if (cameras.size() >= mostMatches)
            break;
        auto camera = cameraIn(match, sender);
        const auto isSame = [&camera](const FoundCamera &each) {
            return each.identity == camera->identity;
        };
        if (match.name == QLatin1String("ProbeMatch") && camera &&
            std::none_of(cameras.begin(), cameras.end(), isSame))
            cameras.push_back(*std::move(camera));
    }
    return cameras;
}

QUrl withHost(QUrl url, const QHostAddress &host) {
    url.setHost(host.toString());
    return url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment);
}

bool isHost(const QString &host, const QHostAddress &address) {
    QHostAddress one(host);
    QHostAddress other(address);
    if (one.isNull())
        return false;
    if (one.scopeId().isEmpty() || other.scopeId().isEmpty()) {
        one.setScopeId({});
        other.setScopeId({});
    }
    return one == other;
}

QString presentableText(const QString &text) {
    QString result;
    for (const auto each : text.toUcs4()) { // some marks for the direction need two code units
        const QChar::Category category = QChar::category(each);
        if (QChar::isSpace(each) || category == QChar::Other_Control)
            result += u' ';
        else if (category != QChar::Other_Format)
            result += QChar::fromUcs4(each);
    }
    result = result.simplified();
    if (result.size() > longestPresentableText) {
        // Not between the two halves of a character.
        const bool isSplit = result[longestPresentableText - 1].isHighSurrogate();
        result.truncate(longestPresentableText - (isSplit ? 1 : 0));
    }
    return result.trimmed();
}

} // namespace lumvik
