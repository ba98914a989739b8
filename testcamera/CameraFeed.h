#pragma once

#include "testcamera/CameraOptions.h"
#include "testcamera/EncodedLoop.h"
#include "testcamera/Encoder.h"
#include "testcamera/GStreamerHandles.h"
#include "testcamera/Picture.h"

#include <QByteArray>

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace lumvik::test {

/// Simulates the sensor and the encoders of the camera. The feed paints a picture at each tick of
/// the frame rate, encodes the picture once per codec in use, and passes it to every playing
/// stream.
///
/// Each RTSP stream has an outlet, which feeds an appsrc of its own. At first, an outlet gets only
/// the parameter sets. A session can therefore be described without waiting for a picture, and no
/// outdated picture waits in a queue. When the outlet's client starts to play, the outlet gets a
/// key frame and then every picture. Nothing is painted or encoded while no client is connected.
///
/// A feed with an EncodedLoop sends the loop's pictures instead and paints nothing. An outlet then
/// waits for the loop's next key frame, and the pictures' size and codec cannot be changed.
///
/// CameraServer owns the feed. The public functions are thread-safe. Pictures are painted on a
/// separate thread.
class CameraFeed {
  public:
    class Outlet;

    explicit CameraFeed(const CameraOptions &options,
                        std::optional<EncodedLoop> loop = std::nullopt);
    CameraFeed(const CameraFeed &) = delete;
    CameraFeed &operator=(const CameraFeed &) = delete;
    ~CameraFeed();

    /// Creates an outlet that feeds `source`, an appsrc that has not been started yet. The outlet
    /// stays registered until `removeOutlet`.
    [[nodiscard]] std::shared_ptr<Outlet> addOutlet(GstElement *source, VideoCodec codec);
    void removeOutlet(const std::shared_ptr<Outlet> &outlet);
    void play(const std::shared_ptr<Outlet> &outlet);
    void pause(const std::shared_ptr<Outlet> &outlet);

    /// After this function has returned, no picture is sent until `thaw` is called. Streams can
    /// still be described.
    void freeze();
    void thaw();
    /// Ends every existing stream.
    void end();
    void resize(QSize size);
    /// From now on, there are so many pictures a second.
    void changeRate(double picturesPerSecond);
    /// Asks players to turn the picture clockwise by 0, 90, 180 or 270 degrees.
    void rotate(int degrees);

  private:
    static constexpr std::size_t codecCount = 2;
    using Clock = EncodedLoop::Clock; // like GStreamer's system clock
    /// Why the painter thread woke up: a picture is due, or a stream is waiting for its
    /// description.
    enum class Occasion { Tick, Description };
    struct Need {
        bool encoder = false;
        bool keyFrame = false;
        bool parameterSets = false;
    };
    struct Work {
        QSize size;
        std::uint64_t generation = 0;
        bool paints = false;
        std::array<Need, codecCount> needs;
    };

    void outletStarted(const std::shared_ptr<Outlet> &outlet);
    void sendParameterSets(Outlet &outlet);
    void run();
    void repeatLoop();
    [[nodiscard]] Work takeWork(Occasion occasion);
    void perform(const Work &work, Clock::time_point capturedAt);
    void prepareEncoder(VideoCodec codec, const Need &need, const Work &work);
    void deliver(VideoCodec codec, std::uint64_t generation, const Encoder::CodedPicture &picture);
    [[nodiscard]] GstBufferPointer withOrientation(VideoCodec codec, GstBuffer *buffer) const;

    const QString m_name;
    const Picture::Bottom m_bottom;
    const int m_framesPerSecond; // at the start, and for the encoders
    const int m_keyFrameInterval;
    const QSize m_pixelRatio;
    const std::optional<EncodedLoop> m_loop;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    // Guarded by m_mutex.
    std::vector<std::shared_ptr<Outlet>> m_outlets;
    std::array<QByteArray, codecCount> m_parameterSets;
    QSize m_wantedSize;
    int m_rotation = 0;
    bool m_sendsOrientation = false;
    double m_rate = 0; // in pictures a second
    bool m_isFrozen = false;
    bool m_parametersWanted = false;
    bool m_rateChanged = false;
    bool m_stop = false;
    /// Counts the size changes, so that a picture encoded in a previous size can be recognised.
    std::uint64_t m_generation = 0;

    // Used only by the painter thread.
    std::unique_ptr<Picture> m_picture;
    std::array<std::unique_ptr<Encoder>, codecCount> m_encoders;
    std::array<bool, codecCount> m_encoderFailed{};

    std::thread m_painter;
};

} // namespace lumvik::test
