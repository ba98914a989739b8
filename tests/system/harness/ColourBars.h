#pragma once

#include "testcamera/PictureLayout.h"

#include <QImage>
#include <QRect>
#include <QSize>

#include <gtest/gtest.h>

#include <optional>

namespace lumvik::test {

/// The pixels that a region of the test camera's picture occupies when the picture has the size
/// `size`.
[[nodiscard]] QRect pixelsOf(const PictureLayout::Region &region, QSize size);

/// Whether `picture` shows the test camera's colour bars. `picture` must contain the camera's whole
/// picture from edge to edge. In the middle of each bar, the mean red, green and blue may each
/// differ from the bar's colour by at most `tolerance` (of 255).
[[nodiscard]] testing::AssertionResult showsColourBars(const QImage &picture, int tolerance = 12);

/// The capture time in the picture of a camera with a clock, in milliseconds of CLOCK_MONOTONIC
/// modulo 2^32. Empty when no clock can be read.
[[nodiscard]] std::optional<quint32> captureTime(const QImage &picture);

/// The time since the camera captured the picture, in milliseconds. Empty when no clock can be
/// read.
[[nodiscard]] std::optional<int> pictureAge(const QImage &picture);

} // namespace lumvik::test
