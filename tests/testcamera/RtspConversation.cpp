#include "RtspConversation.h"

#include "RunningTestCamera.h"

#include <QtEndian>

namespace lumvik::test {

namespace {

constexpr int rtpHeaderLength = 12;
constexpr int interleavedHeaderLength = 4;

unsigned byteAt(const QByteArray &bytes, qsizetype index) {
    return index < bytes.size() ? static_cast<unsigned char>(bytes.at(index)) : 0U;
}

qsizetype wordAt(const QByteArray &bytes, qsizetype index) {
    return static_cast<qsizetype>(byteAt(bytes, index) << 8U | byteAt(bytes, index + 1));
}

} // namespace

bool RtspConversation::connectToServer() {
    m_socket.connectToHost(m_url.host(), static_cast<quint16>(m_url.port()));
    return m_socket.waitForConnected(5000);
}

std::optional<RtspConversation::Response> RtspConversation::request(const QByteArray &method,
                                                                    const QByteArray &headers,
                                                                    const QByteArray &suffix,
                                                                    int milliseconds) {
    m_response.reset();
    m_socket.write(method + ' ' + m_url.toEncoded() + suffix + " RTSP/1.0\r\nCSeq: " +
                   QByteArray::number(++m_sequence) + "\r\n" + headers + "\r\n");
    [[maybe_unused]] const bool isAnswered = waitUntil(
        [this] {
            readArrived();
            return m_response || m_socket.state() != QAbstractSocket::ConnectedState;
        },
        milliseconds);
    return m_response;
}

int RtspConversation::play() {
    const auto described = request("DESCRIBE", "Accept: application/sdp\r\n");
    if (!described || described->status != 200)
        return described ? described->status : 0;
    const auto setUp =
        request("SETUP", "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n", "/stream=0");
    if (!setUp || setUp->status != 200)
        return setUp ? setUp->status : 0;
    const QByteArray session = setUp->headers.value("session").split(';').first();
    const auto played = request("PLAY", "Session: " + session + "\r\n");
    return played ? played->status : 0;
}

void RtspConversation::readArrived() {
    m_arrived += m_socket.readAll();
    while (takeInterleaved() || takeResponse()) {
    }
}

int RtspConversation::pictures() {
    readArrived();
    return m_pictures;
}

int RtspConversation::keyFrames() {
    readArrived();
    return m_keyFrames;
}

std::optional<int> RtspConversation::rotation() {
    readArrived();
    return m_rotation;
}

RtspConversation::NumberedPicture RtspConversation::lastPicture() {
    readArrived();
    return {m_pictures, m_lastStamp};
}

bool RtspConversation::saidGoodbye() {
    readArrived();
    return m_saidGoodbye;
}

bool RtspConversation::isClosed() {
    readArrived();
    return m_socket.state() == QAbstractSocket::UnconnectedState;
}

bool RtspConversation::takeInterleaved() {
    if (!m_arrived.startsWith('$') || m_arrived.size() < interleavedHeaderLength)
        return false;
    const qsizetype length = wordAt(m_arrived, 2);
    if (m_arrived.size() < interleavedHeaderLength + length)
        return false;
    const QByteArray packet = m_arrived.mid(interleavedHeaderLength, length);
    if (byteAt(m_arrived, 1) == 0)
        countRtp(packet);
    else
        readRtcp(packet);
    m_arrived.remove(0, interleavedHeaderLength + length);
    return true;
}

bool RtspConversation::takeResponse() {
    const qsizetype headEnd = m_arrived.startsWith("RTSP/") ? m_arrived.indexOf("\r\n\r\n") : -1;
    if (headEnd < 0)
        return false;
    QList<QByteArray> lines = m_arrived.left(headEnd).split('\n');
    Response response;
    response.status = lines.takeFirst().split(' ').value(1).toInt();
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        // Headers of the same name are joined, such as several authentication challenges.
        QByteArray &value = response.headers[line.left(colon).trimmed().toLower()];
        value += (value.isEmpty() ? "" : ", ") + line.mid(colon + 1).trimmed();
    }
    const qsizetype length = response.headers.value("content-length", "0").toLongLong();
    if (m_arrived.size() < headEnd + 4 + length)
        return false;
    response.body = m_arrived.mid(headEnd + 4, length);
    m_arrived.remove(0, headEnd + 4 + length);
    m_response = response;
    return true;
}

void RtspConversation::countRtp(const QByteArray &packet) {
    const unsigned indicator = byteAt(packet, rtpHeaderLength) & 0x1FU;
    constexpr unsigned message = 6;
    constexpr unsigned orientation = 47;
    if (indicator == message && byteAt(packet, rtpHeaderLength + 1) == orientation) {
        // The message begins with three flags and sixteen bits of anticlockwise rotation. The upper
        // two of the sixteen bits are quarter turns.
        const unsigned quarters = byteAt(packet, rtpHeaderLength + 3) >> 3U & 3U;
        m_rotation = static_cast<int>((4 - quarters) % 4 * 90);
    }
    const unsigned fragment = byteAt(packet, rtpHeaderLength + 1);
    constexpr unsigned keySlice = 5;
    constexpr unsigned fragmentUnit = 28;
    const bool beginsFragmentedKey =
        indicator == fragmentUnit && (fragment & 0x80U) != 0 && (fragment & 0x1FU) == keySlice;
    if (indicator == keySlice || beginsFragmentedKey)
        ++m_keyFrames;
    // Packets of parameter sets are not counted. In other packets, the marker indicates the end of
    // a picture.
    const bool holdsSlice = indicator == 1 || indicator == keySlice || indicator == fragmentUnit;
    if (holdsSlice && (byteAt(packet, 1) & 0x80U) != 0) {
        ++m_pictures;
        constexpr qsizetype stampOffset = 4;
        m_lastStamp = qFromBigEndian<quint32>(packet.constData() + stampOffset);
    }
}

void RtspConversation::readRtcp(const QByteArray &compound) {
    constexpr unsigned goodbye = 203;
    for (qsizetype at = 0; at + 4 <= compound.size(); at += (wordAt(compound, at + 2) + 1) * 4)
        m_saidGoodbye = m_saidGoodbye || byteAt(compound, at + 1) == goodbye;
}

} // namespace lumvik::test
