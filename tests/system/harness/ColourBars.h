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

/// Whether `picture`, which is the test camera's picture from edge to edge, shows its colour bars:
/// the middle of each has its colour, off by at most `tolerance` (of 255) in red, green and blue.
[[nodiscard]] testing::AssertionResult showsColourBars(const QImage &picture, int tolerance = 12);

/// The capture time in the picture of a camera with a clock, in milliseconds of CLOCK_MONOTONIC
/// modulo 2^32; nothing when no clock can be read.
[[nodiscard]] std::optional<quint32> captureTime(const QImage &picture);

/// How long ago the camera took the picture, in milliseconds; nothing when no clock can be read.
[[nodiscard]] std::optional<int> pictureAge(const QImage &picture);

} // namespace lumvik::test
