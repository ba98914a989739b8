#pragma once

#include "testcamera/CameraOptions.h"
#include "testcamera/GStreamerHandles.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <tl/expected.hpp>
#include <vector>

namespace lumvik::test {

/// A few seconds of coded pictures that the camera sends again and again. The pictures are encoded
/// before the camera serves, so that a camera with large pictures leaves the processor to the
/// programs that are measured.
///
/// The pictures are as large and as costly to decode as those of a usual camera with a moving
/// scene: a texture moves across the picture, a sensor's noise lies over it, the bit rate is a
/// usual one, and each picture is a single slice. The loop begins with a key frame. Each picture is
/// due at a fixed position of the loop, and the loops are aligned to the steady clock: a picture
/// that is due `t` after the begin of the loop is sent when the clock modulo the loop's length is
/// `t`. The clock pattern in a picture contains `t`, so that the latency remains measurable (see
/// LoopLatency). After construction, the loop does not change.
class EncodedLoop {
  public:
    using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC
    struct CodedPicture {
        GstBufferPointer buffer;
        bool isKeyFrame = false;
    };

    /// The longest loop, in seconds.
    static constexpr int longest = 60;

    /// Paints and encodes a loop of at least `options.encodedAhead` seconds, which takes several
    /// times as long for large pictures. The loop consists of whole seconds and whole key-frame
    /// intervals. The error is a message, for example that such a loop would be longer than
    /// `longest`.
    [[nodiscard]] static tl::expected<EncodedLoop, QString> encode(const CameraOptions &options);

    /// Returns the loop's length in whole seconds for a frame rate, a key-frame interval in frames
    /// and the shortest length that is wanted, in seconds.
    [[nodiscard]] static std::int64_t lengthFor(int framesPerSecond, int keyFrameInterval,
                                                int wanted);

    [[nodiscard]] VideoCodec codec() const { return m_codec; }
    [[nodiscard]] std::chrono::seconds length() const { return m_length; }
    /// Returns the number of pictures in the loop.
    [[nodiscard]] std::int64_t count() const {
        return static_cast<std::int64_t>(m_pictures.size());
    }

    /// Pictures are numbered from the begin of the steady clock. Returns the number of the first
    /// picture that is due at `time` or later.
    [[nodiscard]] std::int64_t numberAt(Clock::time_point time) const;
    /// Returns when the picture `number` is due.
    [[nodiscard]] Clock::time_point dueAt(std::int64_t number) const;
    [[nodiscard]] const CodedPicture &picture(std::int64_t number) const;

  private:
    EncodedLoop(VideoCodec codec, std::chrono::seconds length) : m_codec(codec), m_length(length) {}

    VideoCodec m_codec;
    std::chrono::seconds m_length;
    std::vector<CodedPicture> m_pictures;
};

} // namespace lumvik::test
