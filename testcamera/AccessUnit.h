#pragma once

#include "testcamera/VideoCodec.h"

#include <QByteArray>

#include <cstdint>
#include <span>

namespace lumvik::test {

/// Functions for one coded picture in byte-stream format (units with start codes), in either codec.
namespace AccessUnit {

using Bytes = std::span<const std::uint8_t>;

/// Returns only the parameter sets, each with a start code. The parameter sets suffice for a
/// session description and contain no picture. The result is empty if `unit` contains none.
[[nodiscard]] QByteArray parameterSets(VideoCodec codec, Bytes unit);

/// Returns the unit with a display orientation message before the first slice. The message asks
/// players to turn the picture clockwise by `degrees` (0, 90, 180 or 270). A unit without a slice
/// is returned unchanged.
[[nodiscard]] QByteArray withOrientation(VideoCodec codec, Bytes unit, int degrees);

} // namespace AccessUnit

} // namespace lumvik::test
