#include "testcamera/AccessUnit.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

QByteArray bytes(std::initializer_list<int> values) {
    QByteArray result;
    for (const int value : values)
        result.append(static_cast<char>(value));
    return result;
}

AccessUnit::Bytes view(const QByteArray &unit) {
    return {reinterpret_cast<const std::uint8_t *>(unit.constData()),
            static_cast<std::size_t>(unit.size())};
}

TEST(AccessUnit, ParameterSetsAreExtracted) {
    const QByteArray sets = bytes({0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 3});
    const QByteArray unit = sets + bytes({0, 0, 1, 0x06, 9, 0, 0, 0, 1, 0x65, 4, 5});
    EXPECT_EQ(AccessUnit::parameterSets(VideoCodec::H264, view(unit)), sets);
    EXPECT_TRUE(
        AccessUnit::parameterSets(VideoCodec::H264, view(bytes({0, 0, 1, 0x41, 1}))).isEmpty());
}

TEST(AccessUnit, OrientationIsInsertedBeforeTheFirstSlice) {
    const QByteArray head = bytes({0, 0, 0, 1, 0x67, 1});
    const QByteArray slices = bytes({0, 0, 0, 1, 0x65, 4, 0, 0, 1, 0x65, 5});
    // A quarter turn clockwise is three quarters of a turn anticlockwise. The encoded angle 0xC000
    // starts at the fourth bit.
    const QByteArray turn = bytes({0, 0, 0, 1, 0x06, 47, 3, 0x18, 0x00, 0x09, 0x80});
    EXPECT_EQ(AccessUnit::withOrientation(VideoCodec::H264, view(head + slices), 90),
              head + turn + slices);
}

TEST(AccessUnit, OrientationNeverContainsAStartCode) {
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
        const QByteArray slice = bytes({0, 0, 0, 1, codec == VideoCodec::H264 ? 0x65 : 0x26, 1, 7});
        for (const int degrees : {0, 90, 180, 270}) {
            const QByteArray unit = AccessUnit::withOrientation(codec, view(slice), degrees);
            const QByteArray message = unit.mid(4, unit.size() - slice.size() - 4);
            EXPECT_FALSE(message.contains(bytes({0, 0, 0}))) << degrees;
            EXPECT_FALSE(message.contains(bytes({0, 0, 1}))) << degrees;
        }
    }
}

} // namespace
} // namespace lumvik::test
