#pragma once

#include "testcamera/VideoCodec.h"

#include <QByteArray>

#include <cstdint>
#include <span>

namespace lumvik::test {

/// Work on one coded picture as a byte stream (units behind start codes), for both codecs.
namespace AccessUnit {

using Bytes = std::span<const std::uint8_t>;

/// Only the parameter sets, each behind a start code: enough for a session description, and no
/// picture. Empty when there are none.
[[nodiscard]] QByteArray parameterSets(VideoCodec codec, Bytes unit);

/// The same unit with a display orientation message before the first slice, which tells players to
/// turn the picture clockwise by `degrees` (0, 90, 180 or 270). The unit unchanged when it has no
/// slice.
[[nodiscard]] QByteArray withOrientation(VideoCodec codec, Bytes unit, int degrees);

} // namespace AccessUnit

} // namespace lumvik::test
