#include "testcamera/AccessUnit.h"

#include <vector>

namespace lumvik::test::AccessUnit {

namespace {

constexpr int orientationPayloadType = 47;

/// The positions of a unit's start code, header and end in the stream.
struct Unit {
    std::size_t begin = 0;
    std::size_t header = 0;
    std::size_t end = 0;
};

std::vector<Unit> split(Bytes bytes) {
    std::vector<Unit> units;
    for (std::size_t n = 0; n + 3 < bytes.size(); ++n) {
        if (bytes[n] != 0 || bytes[n + 1] != 0 || bytes[n + 2] != 1)
            continue;
        const std::size_t begin = n > 0 && bytes[n - 1] == 0 ? n - 1 : n;
        if (!units.empty())
            units.back().end = begin;
        units.push_back({begin, n + 3, bytes.size()});
        n += 3;
    }
    return units;
}

bool isParameterSet(VideoCodec codec, std::uint8_t header) {
    if (codec == VideoCodec::H264)
        return (header & 0x1FU) == 7 || (header & 0x1FU) == 8;
    const unsigned type = (header >> 1U) & 0x3FU;
    return type >= 32 && type <= 34;
}

bool isSlice(VideoCodec codec, std::uint8_t header) {
    if (codec == VideoCodec::H264)
        return (header & 0x1FU) >= 1 && (header & 0x1FU) <= 5;
    return ((header >> 1U) & 0x3FU) < 32;
}

class BitWriter {
  public:
    void put(unsigned value, int bits) {
        for (int n = bits - 1; n >= 0; --n) {
            if (m_used % 8 == 0)
                m_bytes.append('\0');
            const unsigned bit = (value >> static_cast<unsigned>(n)) & 1U;
            const unsigned last = static_cast<std::uint8_t>(m_bytes.back());
            m_bytes.back() = static_cast<char>(last | bit << (7U - m_used % 8U));
            ++m_used;
        }
    }
    /// Returns the bytes, after appending a one bit and then zero bits up to the end of an
    /// incomplete last byte.
    [[nodiscard]] QByteArray aligned() {
        if (m_used % 8 != 0)
            put(1, 1);
        return m_bytes;
    }

  private:
    QByteArray m_bytes;
    unsigned m_used = 0;
};

/// Inserts a byte of value 3 after two zero bytes that precede a value below 4, because such a
/// sequence inside a unit could be mistaken for a start code.
QByteArray withEmulationPrevention(const QByteArray &raw) {
    QByteArray result;
    int zeros = 0;
    for (const char byte : raw) {
        if (zeros == 2 && static_cast<std::uint8_t>(byte) <= 3) {
            result.append('\3');
            zeros = 0;
        }
        result.append(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return result;
}

QByteArray orientationUnit(VideoCodec codec, int degrees) {
    BitWriter payload;
    payload.put(0, 1); // not cancelled
    payload.put(0, 2); // not mirrored in either direction
    // The message specifies an anticlockwise rotation, and 2^16 is a full turn.
    payload.put(static_cast<unsigned>((360 - degrees) % 360) * 65536U / 360U, 16);
    if (codec == VideoCodec::H264) {
        payload.put(0b010, 3); // repetition period 1: applies until the next message
        payload.put(0, 1);     // no extension
    } else {
        payload.put(1, 1); // applies until the next message
    }
    const QByteArray body = payload.aligned();

    QByteArray raw;
    raw.append(static_cast<char>(orientationPayloadType));
    raw.append(static_cast<char>(body.size()));
    raw.append(body);
    raw.append('\x80');

    QByteArray unit("\0\0\0\1", 4);
    if (codec == VideoCodec::H264)
        unit.append('\x06');
    else
        unit.append("\x4E\x01", 2); // prefix message, layer 0, temporal level 0
    return unit + withEmulationPrevention(raw);
}

void append(QByteArray &target, Bytes bytes) {
    target.append(reinterpret_cast<const char *>(bytes.data()),
                  static_cast<qsizetype>(bytes.size()));
}

} // namespace

QByteArray parameterSets(VideoCodec codec, Bytes unit) {
    QByteArray result;
    for (const Unit &part : split(unit)) {
        if (isParameterSet(codec, unit[part.header]))
            append(result, unit.subspan(part.begin, part.end - part.begin));
    }
    return result;
}

QByteArray withOrientation(VideoCodec codec, Bytes unit, int degrees) {
    QByteArray result;
    bool isInserted = false;
    for (const Unit &part : split(unit)) {
        if (!isInserted && isSlice(codec, unit[part.header])) {
            result.append(orientationUnit(codec, degrees));
            isInserted = true;
        }
        append(result, unit.subspan(part.begin, part.end - part.begin));
    }
    return result;
}

} // namespace lumvik::test::AccessUnit
