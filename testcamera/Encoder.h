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

/// Encodes pictures without delay: no picture has to wait for the next one.
///
/// CameraFeed's painter thread owns the encoder and makes every call. The handler receives the
/// encoded pictures on the encoder's own thread until the destructor has returned.
class Encoder {
  public:
    /// Whether pictures are encoded as fast as possible, or into a stream that is as large and as
    /// costly to decode as that of a usual camera, for which the encoder takes its time.
    enum class Effort { fast, likeACamera };
    struct Settings {
        VideoCodec codec = VideoCodec::H264;
        QSize size;
        int framesPerSecond = 25;
        int keyFrameInterval = 25;
        Effort effort = Effort::fast;
        QSize pixelRatio = QSize(1, 1); ///< Width and height of one pixel, in any unit.
    };
    struct CodedPicture {
        /// A byte stream with the parameter sets before each key frame. Valid only during the call.
        GstBuffer *buffer = nullptr;
        bool isKeyFrame = false;
        /// The time at which the picture was painted, on CLOCK_MONOTONIC.
        GstClockTime capturedAt = 0;
    };
    using Handler = std::function<void(const CodedPicture &)>;

    /// Creates an encoder, or returns GStreamer's message, for example if the codec's element is
    /// not installed.
    [[nodiscard]] static tl::expected<std::unique_ptr<Encoder>, QString>
    create(const Settings &settings, Handler handler);
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;
    ~Encoder();

    /// Copies an I420 picture with the layout of Picture::data(). If more than two pictures are
    /// waiting to be encoded, the oldest one is dropped.
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
