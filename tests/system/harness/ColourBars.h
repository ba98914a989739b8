#pragma once

#include "testcamera/PictureLayout.h"

#include <QImage>
#include <QRect>
#include <QSize>

#include <gtest/gtest.h>

#include <optional>

namespace lumvik::test {

/// Where a region of the test camera's picture is when the picture fills `size` pixels.
[[nodiscard]] QRect pixelsOf(const PictureLayout::Region &region, QSize size);

/// Whether `picture`, which must be the test camera's picture from edge to edge, shows the colour
/// bars. The middle of each bar may differ from its colour by at most `tolerance` (of 255) in red,
/// green and blue.
[[nodiscard]] testing::AssertionResult showsColourBars(const QImage &picture, int tolerance = 12);

/// The capture time in the picture of a camera with a clock, in milliseconds of CLOCK_MONOTONIC
/// modulo 2^32. Empty when no clock can be read.
[[nodiscard]] std::optional<quint32> captureTime(const QImage &picture);

/// The time since the camera captured the picture, in milliseconds. Empty when no clock can be
/// read.
[[nodiscard]] std::optional<int> pictureAge(const QImage &picture);

} // namespace lumvik::test
