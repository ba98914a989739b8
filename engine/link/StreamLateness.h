#pragma once

#include <QtGlobal>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace lumvik {

/// How much older than usual the pictures of a camera are when they arrive.
///
/// A slow network lets a TCP stream fall behind without losing a picture: the picture moves and may
/// be half a minute old. The lateness adds up, picture by picture, how much more time has passed on
/// this computer's clock than in the time stamps. It cannot fall below zero, so that the picture
/// that took the shortest way is the standard.
///
/// Many cameras stamp their pictures with a nominal rate, for example 15 a second for a real 14.2,
/// which looks the same although the picture is live. The lateness is therefore believed only with
/// a reason:
/// - The camera's sender reports (RFC 3550, 6.4.1) relate the time stamps to its clock, so that
///   their true rate is known.
/// - A single interval is far too long, which no rate explains: the network stood still. It then
///   catches up, or there is a queue; otherwise it was the camera that made a pause, and the time
///   is taken off again after a while.
/// - The bytes arrive at a constant rate instead of the pictures: a large picture takes longer to
///   arrive than a small one, because all of them wait in a queue.
///
/// Jumps of the time stamps that no pause explains are ignored, because cameras set their clocks.
///
/// A plain value for one video track, with the time handed in.
class StreamLateness {
  public:
    using Clock = std::chrono::steady_clock;
    using TimePoint = Clock::time_point;
    using Seconds = std::chrono::duration<double>;

    /// Must be called for each packet of the track. `timeStamp` is that of the packet's picture, in
    /// units of 1/90000 s, as for all video (RFC 6184, 8.1). `endsPicture` is whether the packet
    /// has a marker. Without markers, a picture ends when the next one begins.
    void packetArrived(std::uint32_t timeStamp, qsizetype size, bool endsPicture, TimePoint now);
    /// Must be called for each sender report of the track. `ntpTime` is in units of 2^-32 s.
    void reportArrived(std::uint64_t ntpTime, std::uint32_t timeStamp);

    /// Returns the lateness that there is a reason to believe, of the last picture that has arrived
    /// completely. The engine shows this one.
    [[nodiscard]] Seconds lateness() const { return Seconds(m_complete.believed); }
    /// Returns the lateness including that for which there is no reason yet. A picture that is
    /// arriving counts, too.
    [[nodiscard]] Seconds suspectedLateness() const;

  private:
    /// A picture that has arrived completely.
    struct Picture {
        double size = 0;     // in bytes
        double interval = 0; // from its beginning to that of the next one, in seconds
    };
    struct Report {
        std::uint64_t ntpTime = 0;
        std::uint32_t timeStamp = 0;
    };
    /// Whether pictures wait in a queue before they arrive.
    enum class Queue { unknown, exists, none };

    void pictureBegan(std::uint32_t timeStamp, TimePoint now);
    void addStep(double elapsed, double stamped, TimePoint now);
    /// Takes off what pauses have added that were the camera's own.
    void examinePauses(TimePoint now);
    /// Returns the true seconds for each second of the time stamps between two reports, or nothing
    /// if the reports contradict each other.
    [[nodiscard]] static std::optional<double> rateBetween(const Report &first, const Report &last);
    struct Lateness {
        double believed = 0;  // in seconds
        double suspected = 0; // in seconds, with what is believed
    };
    /// Returns the lateness of the current picture so far.
    [[nodiscard]] Lateness current() const;
    /// Returns how late the end of the current picture is, compared with its beginning, if the
    /// network stood still in between. The next picture, whose beginning tells the same, may not be
    /// there yet.
    [[nodiscard]] double ownDelay() const;
    [[nodiscard]] Queue queue() const;
    [[nodiscard]] Queue queueOfLast(std::size_t count) const;

    std::optional<std::uint32_t> m_timeStamp; // of the current picture
    TimePoint m_began;                        // when it began to arrive
    double m_stamped = 0;  // from the previous picture to it, by the time stamps, in seconds
    double m_arriving = 0; // from its first packet to the last one so far, in seconds
    double m_size = 0;     // the bytes of it so far
    Lateness m_complete;   // of the last picture that has arrived completely
    std::deque<Picture> m_pictures;
    std::optional<Report> m_firstReport;
    std::optional<Report> m_lastReport;
    double m_believedAtReport = 0; // at the last report, in seconds
    std::optional<double> m_rate;  // true seconds for each second of the time stamps
    double m_believed = 0;         // in seconds
    double m_suspected = 0;        // in seconds; believed while there is a queue
    bool m_lastWasPause = false;
    std::optional<TimePoint> m_pausesSince; // when the first pause was that is still examined
    double m_paused = 0;                    // what pauses have added since then, in seconds
    double m_caughtUp = 0;                  // what was taken off again, in seconds
};

} // namespace lumvik
