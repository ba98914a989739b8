#include "engine/link/RtspMessage.h"

#include <algorithm>

namespace lumvik {

namespace {

bool isNamed(const RtspHeader &header, const char *name) {
    return header.name.compare(name, Qt::CaseInsensitive) == 0;
}

/// The part of `text` with the given number, where parts are separated by single spaces. The last
/// part that is asked for ends at the next space, too.
QByteArray partOf(const QByteArray &text, int number) {
    const QByteArrayList parts = text.split(' ');
    return number < parts.size() ? parts[number] : QByteArray();
}

} // namespace

bool RtspMessage::isResponse() const {
    return startLine.startsWith("RTSP/");
}

int RtspMessage::status() const {
    if (!isResponse())
        return 0;
    bool isNumber = false;
    const int number = partOf(startLine, 1).toInt(&isNumber);
    return isNumber && number >= 100 && number <= 599 ? number : 0;
}

QByteArray RtspMessage::method() const {
    return isResponse() ? QByteArray() : partOf(startLine, 0);
}

QByteArray RtspMessage::uri() const {
    return isResponse() ? QByteArray() : partOf(startLine, 1);
}

void RtspMessage::setUri(const QByteArray &uri) {
    QByteArrayList parts = startLine.split(' ');
    if (parts.size() < 2)
        return;
    parts[1] = uri;
    startLine = parts.join(' ');
}

QByteArray RtspMessage::value(const char *name) const {
    const auto found =
        std::find_if(headers.begin(), headers.end(),
                     [name](const RtspHeader &header) { return isNamed(header, name); });
    return found == headers.end() ? QByteArray() : found->value;
}

QByteArrayList RtspMessage::values(const char *name) const {
    QByteArrayList values;
    for (const RtspHeader &header : headers) {
        if (isNamed(header, name))
            values.append(header.value);
    }
    return values;
}

bool RtspMessage::has(const char *name) const {
    return std::any_of(headers.begin(), headers.end(),
                       [name](const RtspHeader &header) { return isNamed(header, name); });
}

void RtspMessage::set(const char *name, const QByteArray &value) {
    const auto first =
        std::find_if(headers.begin(), headers.end(),
                     [name](const RtspHeader &header) { return isNamed(header, name); });
    if (first == headers.end()) {
        headers.push_back({name, value});
        return;
    }
    first->value = value;
    headers.erase(
        std::remove_if(first + 1, headers.end(),
                       [name](const RtspHeader &header) { return isNamed(header, name); }),
        headers.end());
}

void RtspMessage::remove(const char *name) {
    std::erase_if(headers, [name](const RtspHeader &header) { return isNamed(header, name); });
}

void RtspMessage::setBody(const QByteArray &newBody) {
    body = newBody;
    set("Content-Length", QByteArray::number(body.size()));
}

QByteArray RtspMessage::encoded() const {
    QByteArray text = startLine + "\r\n";
    for (const RtspHeader &header : headers)
        text += header.name + ": " + header.value + "\r\n";
    return text + "\r\n" + body;
}

} // namespace lumvik
