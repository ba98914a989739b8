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

/// Plays a stream without a window and without any delay that can be avoided, keeping the last
/// picture. Used on the main thread; pictures arrive on a thread of GStreamer's.
class StreamPlayer {
  public:
    explicit StreamPlayer(const QUrl &url, VideoCodec codec = VideoCodec::H264);
    StreamPlayer(const StreamPlayer &) = delete;
    StreamPlayer &operator=(const StreamPlayer &) = delete;
    ~StreamPlayer();

    [[nodiscard]] int pictures() const;
    /// In colour, as a player shows it; null while there is none.
    [[nodiscard]] QImage picture() const;
    /// The time that the last picture shows in its pattern.
    [[nodiscard]] std::optional<std::uint32_t> shownTime() const;
    /// For each picture with a readable time: milliseconds from painting until it was decoded.
    [[nodiscard]] std::vector<int> delays() const;
    /// Whether the stream has ended or failed.
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
    std::vector<int> m_delays;
};

} // namespace lumvik::test
