#include "engine/link/StreamBacklog.h"

#include <QtEndian>

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

/// Where the sequence number is in an interleaved packet: behind the length and two bytes of RTP.
constexpr qsizetype sequenceNumberPosition = 6;

} // namespace

void StreamBacklog::push(EngineData data, TimePoint now) {
    countBytes(data.bytes.size(), now);
    m_size += data.bytes.size();
    m_mayHaveKeyPicture = m_mayHaveKeyPicture || (data.video && data.video->isKeyPicture);
    const std::uint16_t omitted =
        data.video ? m_tracks[data.video->channel].omittedPackets : std::uint16_t(0);
    m_waiting.push_back({std::move(data), now, omitted});
}

QByteArray StreamBacklog::take(qsizetype unread, TimePoint now) {
    if (!m_waiting.empty() && now - m_waiting.front().arrival > longestWait && m_mayHaveKeyPicture)
        omitOldPictures();
    QByteArray bytes;
    const qsizetype limit = allowance(now);
    while (!m_waiting.empty() && unread + bytes.size() < limit)
        bytes += takeFront();
    return bytes;
}

QByteArray StreamBacklog::takeAll() {
    QByteArray bytes;
    while (!m_waiting.empty())
        bytes += takeFront();
    return bytes;
}

QByteArray StreamBacklog::takeFront() {
    Waiting front = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_size -= front.data.bytes.size();
    renumber(front);
    return front.data.bytes;
}

std::chrono::duration<double> StreamBacklog::oldestWait(TimePoint now) const {
    return m_waiting.empty() ? std::chrono::duration<double>(0) : now - m_waiting.front().arrival;
}

bool StreamBacklog::isLate(TimePoint now) {
    const auto age = m_waiting.empty() ? Clock::duration::zero() : now - m_waiting.front().arrival;
    if (age > lateAfter)
        m_isLate = true;
    else if (age < longestWait)
        m_isLate = false;
    return m_isLate;
}

/// Leaves out the packets of video before the newest key picture on their channel. The rest of a
/// picture of which the engine has received a part stays, because half a picture looks broken.
void StreamBacklog::omitOldPictures() {
    m_mayHaveKeyPicture = false;
    std::map<std::uint8_t, std::uint32_t> keyPictures; // the newest one on each channel
    for (const Waiting &each : m_waiting) {
        if (each.data.video && each.data.video->isKeyPicture)
            keyPictures[each.data.video->channel] = each.data.video->timeStamp;
    }
    std::map<std::uint8_t, bool> isBefore; // whether the key picture of a channel is still to come
    for (const auto &[channel, timeStamp] : keyPictures)
        isBefore[channel] = true;
    std::optional<std::pair<std::uint8_t, std::uint32_t>> lastOmitted;
    std::deque<Waiting> kept;
    for (Waiting &each : m_waiting) {
        const auto &video = each.data.video;
        const auto key = video ? keyPictures.find(video->channel) : keyPictures.end();
        if (key != keyPictures.end() && video->timeStamp == key->second)
            isBefore[video->channel] = false;
        if (key == keyPictures.end() || !isBefore[video->channel] || belongsToSentPicture(*video)) {
            if (key != keyPictures.end() && !isBefore[video->channel])
                each.omittedBefore = m_tracks[video->channel].omittedPackets;
            kept.push_back(std::move(each));
            continue;
        }
        const std::pair picture(video->channel, video->timeStamp);
        if (lastOmitted != picture)
            ++m_omittedPictures;
        lastOmitted = picture;
        ++m_tracks[video->channel].omittedPackets;
        m_size -= each.data.bytes.size();
    }
    m_waiting = std::move(kept);
}

bool StreamBacklog::belongsToSentPicture(const EngineData::VideoPacket &packet) {
    const Track &track = m_tracks[packet.channel];
    return track.hasSent && track.lastTimeStamp == packet.timeStamp;
}

/// A quarter of a second of the stream.
qsizetype StreamBacklog::allowance(TimePoint now) {
    countBytes(0, now);
    return std::max(smallestAllowance, m_bytesPerSecond / 4);
}

void StreamBacklog::countBytes(qsizetype bytes, TimePoint now) {
    const auto elapsed = now - m_rateSince;
    if (elapsed >= std::chrono::seconds(1)) {
        // A gap counts as silence.
        m_bytesPerSecond = elapsed < std::chrono::seconds(2) ? m_bytesThisSecond : 0;
        m_bytesThisSecond = 0;
        m_rateSince = now;
    }
    m_bytesThisSecond += bytes;
}

/// Closes the gap in the sequence numbers that omitted packets leave, at which the engine would
/// discard the first packets behind it.
void StreamBacklog::renumber(Waiting &packet) {
    if (!packet.data.video)
        return;
    Track &track = m_tracks[packet.data.video->channel];
    track.hasSent = true;
    track.lastTimeStamp = packet.data.video->timeStamp;
    if (packet.omittedBefore == 0)
        return;
    char *number = packet.data.bytes.data() + sequenceNumberPosition;
    qToBigEndian(static_cast<quint16>(qFromBigEndian<quint16>(number) - packet.omittedBefore),
                 number);
}

} // namespace lumvik
