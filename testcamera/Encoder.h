#pragma once

#include "testcamera/GStreamerHandles.h"
#include "testcamera/VideoCodec.h"

#include <QSize>
#include <QString>

#include <cstdint>
#include <functional>
#include <tl/expected.hpp>
#include <vector>

namespace lumvik::test {

/// Encodes pictures without delay: each picture that goes in comes out before the next one.
///
/// Owned by CameraFeed's painter thread, which makes every call. The handler receives the encoded
/// pictures on the encoder's own thread until the destructor has returned.
class Encoder {
  public:
    struct Settings {
        VideoCodec codec = VideoCodec::H264;
        QSize size;
        int framesPerSecond = 25;
        int keyFrameInterval = 25;
    };
    struct CodedPicture {
        /// A byte stream with the parameter sets before each key frame. Valid only during the call.
        GstBuffer *buffer = nullptr;
        bool isKeyFrame = false;
        /// When the picture was painted, on CLOCK_MONOTONIC.
        GstClockTime capturedAt = 0;
    };
    using Handler = std::function<void(const CodedPicture &)>;

    /// The error is GStreamer's message, for example when the codec's element is not installed.
    [[nodiscard]] static tl::expected<std::unique_ptr<Encoder>, QString>
    create(const Settings &settings, Handler handler);
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;
    ~Encoder();

    /// Copies an I420 picture with the layout of Picture::data(). When more than two pictures are
    /// waiting, the oldest one is dropped.
    void encode(const std::vector<std::uint8_t> &picture, GstClockTime capturedAt);

    /// Makes the next picture a key frame.
    void forceKeyFrame();

  private:
    Encoder() = default;
    void deliverSample();
    [[nodiscard]] bool preparePool(std::size_t bytes);

    Handler m_handler;
    GstObjectPointer<GstElement> m_pipeline;
    GstObjectPointer<GstElement> m_source;
    GstObjectPointer<GstElement> m_sink;
    GstObjectPointer<GstBufferPool> m_pool;
};

} // namespace lumvik::test
