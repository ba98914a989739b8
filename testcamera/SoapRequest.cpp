#include "testcamera/SoapRequest.h"

#include <QXmlStreamReader>

namespace lumvik::test {

std::optional<SoapRequest> parseSoapRequest(const QByteArray &message) {
    constexpr QLatin1String soap("http://www.w3.org/2003/05/soap-envelope");
    SoapRequest request;
    QXmlStreamReader reader(message);
    bool isInBody = false;
    QString current;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            current = reader.name().toString();
            if (isInBody && request.call.isEmpty()) {
                request.call = current;
                request.callNamespace = reader.namespaceUri().toString();
            }
            if (current == QLatin1String("Body") && reader.namespaceUri() == soap)
                isInBody = true;
            break;
        case QXmlStreamReader::EndElement:
            current.clear();
            break;
        case QXmlStreamReader::Characters:
            if (!current.isEmpty() && !reader.isWhitespace())
                request.texts[current] += reader.text();
            break;
        case QXmlStreamReader::NoToken:
        case QXmlStreamReader::Invalid:
        case QXmlStreamReader::StartDocument:
        case QXmlStreamReader::EndDocument:
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
        case QXmlStreamReader::ProcessingInstruction:
            break;
        }
    }
    if (reader.hasError() || request.call.isEmpty())
        return std::nullopt;
    for (QString &text : request.texts)
        text = text.trimmed();
    return request;
}

} // namespace lumvik::test
