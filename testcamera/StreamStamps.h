#pragma once

#include <gst/gst.h>

#include <atomic>
#include <cstdint>
#include <optional>

namespace lumvik::test {

/// Changes the time stamps of video streams, like a camera whose clock is wrong: in the RTP packets
/// and, because they are derived from these, in the sender reports.
///
/// `jump` may be called on any thread. The object must outlive the streams.
class StreamStamps {
  public:
    /// If `rate` is not 0, pictures are stamped as if there were this many a second, whenever they
    /// were taken.
    explicit StreamStamps(double rate) : m_rate(rate) {}
    StreamStamps(const StreamStamps &) = delete;
    StreamStamps &operator=(const StreamStamps &) = delete;
    ~StreamStamps() = default;

    /// Changes the stamps of the stream that this payloader creates.
    void attachTo(GstElement *payloader);
    /// From now on, all stamps are later by `seconds`, or earlier if negative.
    void jump(double seconds);

  private:
    struct Stream {
        const StreamStamps *stamps = nullptr;
        std::optional<std::uint32_t> original; // of the last picture
        std::uint32_t first = 0;
        std::int64_t pictures = 0; // since the first picture
    };

    static void change(GstBuffer *&buffer, Stream &stream);
    [[nodiscard]] std::uint32_t changed(std::uint32_t original, Stream &stream) const;

    const double m_rate;
    std::atomic<std::uint32_t> m_offset = 0; // in units of the stamps, modulo 2^32
};

} // namespace lumvik::test
