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

/// Codes pictures as one goes in, one comes out, with nothing held back.
///
/// Owned by CameraFeed's painter thread, which makes every call; the coded pictures arrive at the
/// handler on the encoder's own thread until the destructor has returned.
class Encoder {
  public:
    struct Settings {
        VideoCodec codec = VideoCodec::H264;
        QSize size;
        int framesPerSecond = 25;
        int keyFrameInterval = 25;
    };
    struct CodedPicture {
        /// A byte stream, with the parameter sets in front of each key frame. Lent for the call.
        GstBuffer *buffer = nullptr;
        bool isKeyFrame = false;
        /// When the picture was painted, on CLOCK_MONOTONIC.
        GstClockTime capturedAt = 0;
    };
    using Handler = std::function<void(const CodedPicture &)>;

    /// The error is GStreamer's, for example that the codec's element is not installed.
    [[nodiscard]] static tl::expected<std::unique_ptr<Encoder>, QString>
    create(const Settings &settings, Handler handler);
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;
    ~Encoder();

    /// Takes a copy of an I420 picture laid out as Picture::data(). When the encoder is behind by
    /// more than two pictures, the oldest waiting one is dropped.
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
