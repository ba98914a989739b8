#include "testcamera/EncodedLoop.h"

#include "testcamera/Encoder.h"
#include "testcamera/Picture.h"
#include "testcamera/PictureLayout.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <optional>
#include <utility>

namespace lumvik::test {

namespace {

using std::chrono::nanoseconds;
using CodedPicture = EncodedLoop::CodedPicture;

constexpr nanoseconds second = std::chrono::seconds(1);
/// The longest time that the encoder may take for one picture. A failed encoder never delivers.
constexpr std::chrono::seconds longestEncoding{30};

nanoseconds position(std::int64_t number, int framesPerSecond) {
    return number * second / framesPerSecond;
}

/// Adds what makes a real camera's picture hard to code to the brightness of everything above the
/// clock pattern: a texture that moves across the whole picture, and a sensor's noise. Without
/// them, most blocks would be copies of the previous picture, which decoders skip.
class Scenery {
  public:
    Scenery() : m_texture(std::size_t{tile} * tile) {
        // Random values at the corners of a grid, interpolated between them.
        std::array<std::int8_t, std::size_t{corners} * corners> grid{};
        for (std::int8_t &corner : grid)
            corner = static_cast<std::int8_t>(random(textureAmplitude));
        const auto corner = [&grid](int x, int y) {
            return int{grid[static_cast<std::size_t>(y % corners) * corners +
                            static_cast<std::size_t>(x % corners)]};
        };
        for (int y = 0; y < tile; ++y) {
            for (int x = 0; x < tile; ++x) {
                const int left = x / cell;
                const int upper = y / cell;
                const int right = x % cell;
                const int lower = y % cell;
                const int sum =
                    (corner(left, upper) * (cell - right) + corner(left + 1, upper) * right) *
                        (cell - lower) +
                    (corner(left, upper + 1) * (cell - right) +
                     corner(left + 1, upper + 1) * right) *
                        lower;
                m_texture[textureIndex(x, y)] = static_cast<std::int8_t>(sum / (cell * cell));
            }
        }
    }

    /// Returns the planes of `picture`, the picture `number` of the loop, with the scenery.
    [[nodiscard]] std::vector<std::uint8_t> addedTo(const Picture &picture, std::int64_t number) {
        std::vector<std::uint8_t> planes = picture.data();
        const int width = picture.size().width();
        const auto rows = static_cast<int>(picture.size().height() * PictureLayout::pattern.top);
        const auto stride = (static_cast<std::size_t>(width) + 3) / 4 * 4; // as in GstVideoInfo
        const auto shift = static_cast<int>(number * stepsPerPicture);
        for (int y = 0; y < rows; ++y) {
            std::uint8_t *row = &planes[static_cast<std::size_t>(y) * stride];
            for (int x = 0; x < width; ++x)
                row[x] = static_cast<std::uint8_t>(std::clamp(
                    row[x] + texture(2 * x + shift, 2 * y + shift / 3) + random(noiseAmplitude), 0,
                    255));
        }
        return planes;
    }

  private:
    // The texture has two samples for each pixel, so that it can move by half pixels, which
    // decoders have to interpolate.
    static constexpr int tile = 1024;
    static constexpr int cell = 16;
    static constexpr int corners = tile / cell;
    static constexpr int stepsPerPicture = 3;
    static constexpr int textureAmplitude = 40;
    static constexpr int noiseAmplitude = 4;

    static std::size_t textureIndex(int x, int y) {
        return static_cast<std::size_t>(y % tile) * tile + static_cast<std::size_t>(x % tile);
    }
    [[nodiscard]] int texture(int x, int y) const { return m_texture[textureIndex(x, y)]; }

    /// Returns a pseudo-random number from -`amplitude` to `amplitude`. The seed is fixed, so that
    /// every loop is the same.
    int random(int amplitude) {
        m_state ^= m_state << 13U;
        m_state ^= m_state >> 17U;
        m_state ^= m_state << 5U;
        return static_cast<int>(m_state % static_cast<unsigned>(2 * amplitude + 1)) - amplitude;
    }

    std::uint32_t m_state = 2463534242U;
    std::vector<std::int8_t> m_texture;
};

/// Passes one picture at a time from the encoder's thread to the caller's.
class Handover {
  public:
    void put(const Encoder::CodedPicture &picture) {
        const std::lock_guard lock(m_mutex);
        // The encoder's buffer is reused, so its bytes are copied.
        m_picture = CodedPicture{GstBufferPointer(gst_buffer_copy_deep(picture.buffer)),
                                 picture.isKeyFrame};
        m_arrived.notify_all();
    }
    [[nodiscard]] std::optional<CodedPicture> take() {
        std::unique_lock lock(m_mutex);
        if (!m_arrived.wait_for(lock, longestEncoding, [this] { return m_picture.has_value(); }))
            return std::nullopt;
        return std::exchange(m_picture, std::nullopt);
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::optional<CodedPicture> m_picture;
};

} // namespace

tl::expected<EncodedLoop, QString> EncodedLoop::encode(const CameraOptions &options) {
    const std::int64_t seconds =
        lengthFor(options.framesPerSecond, options.keyFrameInterval, options.encodedAhead);
    if (seconds > longest)
        return tl::unexpected(QStringLiteral("a loop of whole seconds and whole key-frame "
                                             "intervals would last %1 seconds; the limit is %2")
                                  .arg(seconds)
                                  .arg(longest));
    EncodedLoop loop(options.codec, std::chrono::seconds(seconds));
    Handover handover; // outlives the encoder, whose thread uses it
    const auto encoder = Encoder::create(
        {options.codec, options.size, options.framesPerSecond, options.keyFrameInterval,
         Encoder::Effort::likeACamera, options.pixelRatio},
        [&handover](const auto &picture) { handover.put(picture); });
    if (!encoder)
        return tl::unexpected(encoder.error());
    Picture picture(options.size, options.name,
                    options.clockPattern ? Picture::Bottom::ClockPattern : Picture::Bottom::Ramp);
    Scenery scenery;
    const QTime begin = QTime::currentTime();
    for (std::int64_t number = 0; number < seconds * options.framesPerSecond; ++number) {
        const nanoseconds due = position(number, options.framesPerSecond);
        const auto milliseconds = static_cast<int>(due / std::chrono::milliseconds(1));
        picture.paint(static_cast<std::uint32_t>(milliseconds), begin.addMSecs(milliseconds));
        (*encoder)->encode(scenery.addedTo(picture, number),
                           static_cast<GstClockTime>(due.count()));
        auto coded = handover.take();
        if (!coded)
            return tl::unexpected(QStringLiteral("the encoder does not deliver pictures"));
        loop.m_pictures.push_back(*std::move(coded));
    }
    return loop;
}

std::int64_t EncodedLoop::lengthFor(int framesPerSecond, int keyFrameInterval, int wanted) {
    // The shortest period that consists of whole seconds and whole key-frame intervals.
    const std::int64_t period =
        std::max(1, keyFrameInterval / std::gcd(framesPerSecond, keyFrameInterval));
    return (wanted + period - 1) / period * period;
}

std::int64_t EncodedLoop::numberAt(Clock::time_point time) const {
    const auto loops = time.time_since_epoch() / m_length;
    const nanoseconds rest = time.time_since_epoch() % m_length;
    const nanoseconds whole = m_length;
    return loops * count() + (rest * count() + whole - nanoseconds(1)) / whole;
}

EncodedLoop::Clock::time_point EncodedLoop::dueAt(std::int64_t number) const {
    const std::int64_t loops = number / count();
    const nanoseconds whole = m_length;
    return Clock::time_point(loops * whole + number % count() * whole / count());
}

const EncodedLoop::CodedPicture &EncodedLoop::picture(std::int64_t number) const {
    return m_pictures[static_cast<std::size_t>(number % count())];
}

} // namespace lumvik::test
