#include "engine/link/VideoUnits.h"

#include <algorithm>
#include <cstdint>

namespace lumvik {

namespace {

// The types of units and packets (RFC 6184, 5.2 and RFC 7798, 1.1.4 and 4.4).
constexpr int h264FirstSlice = 1;
constexpr int h264Idr = 5;
constexpr int h264StapA = 24;
constexpr int h264FuA = 28;
constexpr int h265FirstIrap = 16;
constexpr int h265LastIrap = 21;
constexpr int h265LastSlice = 31;
constexpr int h265Aggregation = 48;
constexpr int h265Fragment = 49;
/// Set in the first fragment of a unit.
constexpr std::uint8_t startBit = 0x80;

/// Whether a unit of this type is wanted.
using Predicate = bool (*)(int type, VideoCodec codec);

bool isSlice(int type, VideoCodec codec) {
    return codec == VideoCodec::H264 ? type >= h264FirstSlice && type <= h264Idr
                                     : type <= h265LastSlice;
}

bool isKeySlice(int type, VideoCodec codec) {
    return codec == VideoCodec::H264 ? type == h264Idr
                                     : type >= h265FirstIrap && type <= h265LastIrap;
}

std::uint8_t at(QByteArrayView content, qsizetype position) {
    return position < content.size() ? static_cast<std::uint8_t>(content[position]) : 0;
}

int typeOf(std::uint8_t firstByte, VideoCodec codec) {
    return codec == VideoCodec::H264 ? firstByte & 0x1f : firstByte >> 1 & 0x3f;
}

/// Whether a wanted unit is in a list of units, each behind its length in two bytes.
bool listContains(QByteArrayView list, VideoCodec codec, Predicate isWanted) {
    while (list.size() > 2) {
        if (isWanted(typeOf(at(list, 2), codec), codec))
            return true;
        const qsizetype length = at(list, 0) << 8 | at(list, 1);
        list = list.sliced(std::min(list.size(), length + 2));
    }
    return false;
}

/// Whether a wanted unit begins in a packet.
bool begins(QByteArrayView content, VideoCodec codec, Predicate isWanted) {
    if (content.isEmpty())
        return false;
    const bool isH264 = codec == VideoCodec::H264;
    const qsizetype headerSize = isH264 ? 1 : 2;
    const int type = typeOf(at(content, 0), codec);
    if (type == (isH264 ? h264StapA : h265Aggregation))
        return listContains(content.sliced(std::min(content.size(), headerSize)), codec, isWanted);
    if (type == (isH264 ? h264FuA : h265Fragment)) {
        const std::uint8_t fragment = at(content, headerSize);
        return (fragment & startBit) != 0 && isWanted(fragment & (isH264 ? 0x1f : 0x3f), codec);
    }
    return isWanted(type, codec);
}

} // namespace

bool beginsSlice(QByteArrayView content, VideoCodec codec) {
    return begins(content, codec, isSlice);
}

bool beginsKeyPicture(QByteArrayView content, VideoCodec codec) {
    return begins(content, codec, isKeySlice);
}

} // namespace lumvik
