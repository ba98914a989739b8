#include "engine/link/SessionDescription.h"

#include <QByteArrayList>

#include <algorithm>
#include <array>

namespace lumvik {

namespace {

constexpr const char *controlPrefix = "a=control:";
constexpr qsizetype controlPrefixSize = 10;

/// Splits "96 H264/90000" into 96 and "H264/90000". Returns nothing without a number.
std::optional<std::pair<int, QByteArray>> numbered(const QByteArray &text) {
    const qsizetype space = text.indexOf(' ');
    bool isNumber = false;
    const int number = text.first(space < 0 ? text.size() : space).toInt(&isNumber);
    if (!isNumber || space < 0)
        return std::nullopt;
    return std::pair(number, text.sliced(space + 1).trimmed());
}

std::optional<VideoCodec> codecNamed(const QByteArray &name) {
    const QByteArray upper = name.toUpper();
    if (upper == "H264")
        return VideoCodec::H264;
    if (upper == "H265" || upper == "HEVC")
        return VideoCodec::H265;
    return std::nullopt;
}

/// The value of a parameter such as "sprop-max-don-diff=0" in a list separated by ";", or 0.
int formatParameter(const QByteArray &list, const QByteArray &name) {
    for (const QByteArray &each : list.split(';')) {
        const QByteArray parameter = each.trimmed();
        const qsizetype equals = parameter.indexOf('=');
        if (equals > 0 && parameter.first(equals).toLower() == name)
            return parameter.sliced(equals + 1).toInt();
    }
    return 0;
}

/// Packets of these modes carry decoding order numbers (RFC 6184, 5.7 and RFC 7798, 4.4).
bool hasDecodingOrder(const QByteArray &parameters) {
    return formatParameter(parameters, "packetization-mode") > 1 ||
           formatParameter(parameters, "sprop-max-don-diff") > 0 ||
           formatParameter(parameters, "sprop-depack-buf-nalus") > 0;
}

/// Whether `line` is the information, address, mail address or telephone number of the sender, or
/// the host from which it sends (RFC 4566, 5.4 to 5.6, and RFC 4570).
bool namesSender(const QByteArray &line) {
    constexpr std::array<const char *, 5> beginnings{"i=", "u=", "e=", "p=", "a=source-filter:"};
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&line](const char *beginning) { return line.startsWith(beginning); });
}

void readMediaLine(const QByteArray &line, MediaDescription &medium) {
    if (line.startsWith(controlPrefix)) {
        medium.control = line.sliced(controlPrefixSize).trimmed();
    } else if (line.startsWith("a=rtpmap:")) {
        const auto map = numbered(line.sliced(9));
        const auto codec =
            map ? codecNamed(map->second.split('/').constFirst()) : std::optional<VideoCodec>();
        if (codec)
            medium.videoFormats[map->first].codec = *codec;
    } else if (line.startsWith("a=fmtp:")) {
        const auto parameters = numbered(line.sliced(7));
        const auto format =
            parameters ? medium.videoFormats.find(parameters->first) : medium.videoFormats.end();
        if (format != medium.videoFormats.end())
            format->second.hasDecodingOrder = hasDecodingOrder(parameters->second);
    }
}

} // namespace

std::optional<SessionDescription> parseSessionDescription(QByteArrayView text) {
    SessionDescription description;
    for (const QByteArray &rawLine : text.toByteArray().split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith("m=")) {
            if (description.media.size() >= mostMedia)
                return std::nullopt;
            MediaDescription medium;
            medium.kind = line.sliced(2).split(' ').constFirst().toLower();
            description.media.push_back(medium);
        } else if (!description.media.empty()) {
            readMediaLine(line, description.media.back());
        }
    }
    return description;
}

QByteArray withoutCameraAddresses(const QByteArray &text,
                                  const std::function<QByteArray(const QByteArray &)> &translate) {
    QByteArrayList lines;
    for (QByteArray &line : text.split('\n')) {
        const QByteArray ending = line.endsWith('\r') ? QByteArray("\r") : QByteArray();
        line = line.trimmed() + ending; // the engine skips spaces at the beginning
        if (line.startsWith(controlPrefix))
            line = controlPrefix + translate(line.sliced(controlPrefixSize).trimmed()) + ending;
        else if (line.startsWith("o="))
            line = "o=- 0 0 IN IP4 127.0.0.1" + ending;
        else if (line.startsWith("c="))
            line = "c=IN IP4 127.0.0.1" + ending;
        else if (namesSender(line))
            continue;
        lines.append(line);
    }
    return lines.join('\n');
}

} // namespace lumvik
