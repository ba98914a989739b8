#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>

namespace lumvik {

/// A piece of what the camera has sent, as it is passed on to the engine.
struct EngineData {
    /// What is known of a packet of a video track.
    struct VideoPacket {
        std::uint8_t channel = 0;
        std::uint32_t timeStamp = 0; ///< The same for all packets of a picture.
        bool isKeyPicture = false;   ///< Whether it begins a part of a key picture.
    };

    /// What a sender report (RFC 3550, 6.4.1) says about a track.
    struct SenderReport {
        std::uint8_t channel = 0;    ///< Of the track that is reported on.
        std::uint64_t ntpTime = 0;   ///< The camera's clock, in units of 2^-32 s.
        std::uint32_t timeStamp = 0; ///< The time stamp of a picture that is captured at that time.
    };

    QByteArray bytes;                                  ///< A message, a packet, or unknown bytes.
    std::optional<VideoPacket> video = std::nullopt;   ///< Empty for everything else.
    std::optional<SenderReport> report = std::nullopt; ///< Empty for everything else.
};

/// What waits for the engine.
///
/// The engine decodes everything that it is given, in order. If it falls behind because the machine
/// is busy, the picture would lag, although it moves. The engine is therefore given only as much as
/// it reads, apart from a quarter of a second of the stream, and the rest waits here. Once
/// something has waited for longer than `longestWait`, everything before the newest key picture is
/// left out: decoding starts anew there. A stream whose next key picture has not arrived yet keeps
/// everything, because the engine could not decode the rest; `isLate` tells that its picture is
/// old.
///
/// A plain value with the time handed in. The link owns it on the queue's thread.
class StreamBacklog {
  public:
    using Clock = std::chrono::steady_clock;
    using TimePoint = Clock::time_point;

    static constexpr std::chrono::milliseconds longestWait{500};
    /// When the first picture has waited for longer, the engine's pictures are old. They are not
    /// old any more below `longestWait`. Many cameras send a key picture every second, which ends
    /// the delay in time; the window must not flash black until then.
    static constexpr std::chrono::milliseconds lateAfter{1200};
    /// The fewest bytes that the engine may leave unread, so that slow streams are not cut up.
    static constexpr qsizetype smallestAllowance = 32LL * 1024;

    void push(EngineData data, TimePoint now);
    /// Returns what is to be sent to the engine now, while `unread` bytes that were sent earlier
    /// are still unread.
    [[nodiscard]] QByteArray take(qsizetype unread, TimePoint now);

    /// Returns everything that waits.
    [[nodiscard]] QByteArray takeAll();

    [[nodiscard]] bool isEmpty() const { return m_waiting.empty(); }
    /// The bytes that wait.
    [[nodiscard]] qsizetype size() const { return m_size; }
    /// Returns how much memory the waiting data occupies, roughly, in bytes. A camera that sends
    /// empty packets could otherwise fill gigabytes.
    [[nodiscard]] qsizetype memory() const {
        constexpr qsizetype entrySize = 160; // without the bytes
        return m_size + static_cast<qsizetype>(m_waiting.size()) * entrySize;
    }
    /// Returns how long the oldest data has been waiting.
    [[nodiscard]] std::chrono::duration<double> oldestWait(TimePoint now) const;
    /// Whether the engine is so far behind that its pictures are old.
    [[nodiscard]] bool isLate(TimePoint now);
    /// How many pictures have been left out in total.
    [[nodiscard]] std::int64_t omittedPictures() const { return m_omittedPictures; }

  private:
    struct Waiting {
        EngineData data;
        TimePoint arrival;
        std::uint16_t omittedBefore = 0; ///< How many packets of its track were left out before it.
    };
    struct Track {
        std::uint32_t lastTimeStamp = 0; ///< Of the last packet that was sent.
        bool hasSent = false;
        std::uint16_t omittedPackets = 0;
    };

    [[nodiscard]] QByteArray takeFront();
    void omitOldPictures();
    [[nodiscard]] bool belongsToSentPicture(const EngineData::VideoPacket &packet);
    [[nodiscard]] qsizetype allowance(TimePoint now);
    void countBytes(qsizetype bytes, TimePoint now);
    void renumber(Waiting &packet);

    std::deque<Waiting> m_waiting;
    qsizetype m_size = 0;
    std::map<std::uint8_t, Track> m_tracks; ///< By channel.
    bool m_mayHaveKeyPicture = false;       ///< Whether one has arrived since the last search.
    bool m_isLate = false;
    std::int64_t m_omittedPictures = 0;
    TimePoint m_rateSince{}; ///< When the current second of the rate began.
    qsizetype m_bytesThisSecond = 0;
    qsizetype m_bytesPerSecond = 0;
};

} // namespace lumvik
