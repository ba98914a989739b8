#include "engine/link/VideoUnits.h"

#include <algorithm>
#include <cstdint>

namespace lumvik {

namespace {

// The types of units and packets (RFC 6184, 5.2 and RFC 7798, 1.1.4 and 4.4).
constexpr int h264Slice = 1;
constexpr int h264PartitionA = 2;
constexpr int h264Idr = 5;
constexpr int h264StapA = 24;
constexpr int h264FuA = 28;
constexpr int h265FirstIrap = 16;
constexpr int h265LastIrap = 21;
constexpr int h265LastTrailingSlice = 9; // the types from 10 to 15 are reserved
constexpr int h265Aggregation = 48;
constexpr int h265Fragment = 49;
/// Set in the first fragment of a unit.
constexpr std::uint8_t startBit = 0x80;
constexpr std::uint8_t firstSliceBit = 0x80;

/// Whether a unit of this type is wanted. `start` is the byte behind its header.
using Predicate = bool (*)(int type, std::uint8_t start, VideoCodec codec);

/// In both formats, the first bit of a slice tells whether it is the first one of its picture: the
/// number of its first macroblock is 0, or a flag says so.
bool isFirstSlice(int type, std::uint8_t start, VideoCodec codec) {
    const bool isSlice =
        codec == VideoCodec::H264
            ? type == h264Slice || type == h264PartitionA || type == h264Idr
            : type <= h265LastTrailingSlice || (type >= h265FirstIrap && type <= h265LastIrap);
    return isSlice && (start & firstSliceBit) != 0;
}

bool isKeySlice(int type, std::uint8_t /*start*/, VideoCodec codec) {
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
    const qsizetype start = codec == VideoCodec::H264 ? 3 : 4;
    while (list.size() > 2) {
        if (isWanted(typeOf(at(list, 2), codec), at(list, start), codec))
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
        return (fragment & startBit) != 0 &&
               isWanted(fragment & (isH264 ? 0x1f : 0x3f), at(content, headerSize + 1), codec);
    }
    return isWanted(type, at(content, headerSize), codec);
}

} // namespace

bool beginsPicture(QByteArrayView content, VideoCodec codec) {
    return begins(content, codec, isFirstSlice);
}

bool beginsKeyPicture(QByteArrayView content, VideoCodec codec) {
    return begins(content, codec, isKeySlice);
}

} // namespace lumvik
