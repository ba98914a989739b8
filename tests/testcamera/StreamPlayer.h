#pragma once

#include "testcamera/GStreamerHandles.h"
#include "testcamera/VideoCodec.h"

#include <QImage>
#include <QUrl>

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace lumvik::test {

/// Plays a stream without a window and with minimal latency, and keeps the last picture. The player
/// is used on the main thread. Pictures arrive on a thread of GStreamer.
class StreamPlayer {
  public:
    explicit StreamPlayer(const QUrl &url, VideoCodec codec = VideoCodec::H264);
    StreamPlayer(const StreamPlayer &) = delete;
    StreamPlayer &operator=(const StreamPlayer &) = delete;
    ~StreamPlayer();

    /// The time in a picture's clock pattern, and when the picture was decoded (CLOCK_MONOTONIC, in
    /// milliseconds).
    struct ShownTime {
        std::int64_t seen = 0;
        std::uint32_t time = 0;
    };

    [[nodiscard]] int pictures() const;
    /// Returns the last picture in RGB, or a null image before the first picture.
    [[nodiscard]] QImage picture() const;
    /// Returns the time in the clock pattern of the last picture.
    [[nodiscard]] std::optional<std::uint32_t> shownTime() const;
    /// Returns the times of all pictures with a readable clock pattern.
    [[nodiscard]] std::vector<ShownTime> shownTimes() const;
    /// Returns the time from painting to decoding in milliseconds for each picture with a readable
    /// clock pattern.
    [[nodiscard]] std::vector<int> delays() const;
    /// Returns whether the stream has ended or failed.
    [[nodiscard]] bool hasEnded() const;

  private:
    void takeSample();

    GstObjectPointer<GstElement> m_pipeline;
    GstObjectPointer<GstElement> m_sink;
    mutable std::mutex m_mutex;
    mutable bool m_hasEnded = false;
    int m_pictures = 0;
    QImage m_picture;
    std::optional<std::uint32_t> m_shownTime;
    std::vector<ShownTime> m_shownTimes;
};

} // namespace lumvik::test
