#pragma once

#include "engine/link/LinkFact.h"
#include "engine/link/StreamBacklog.h"
#include "engine/link/StreamLateness.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace lumvik {

/// Measures the video that a camera sends: how late it is, how many pictures and how many bits
/// arrive in a second. If there are several video tracks, the first one that sends is measured.
///
/// A plain value with the time handed in. The link owns it on the queue's thread.
class StreamMeter {
  public:
    using TimePoint = StreamLateness::TimePoint;

    /// The time between two measurements.
    static constexpr std::chrono::milliseconds interval{250};
    /// If the lateness has changed by this much, in seconds, a measurement is due at once. After a
    /// pause of the network, the window must know that the first picture is old before it is shown,
    /// and the connection may end before the next measurement.
    static constexpr double urgentChange = 0.25;

    /// How many measurements in `interval` may be urgent: arbitrary time stamps must not flood the
    /// receiver.
    static constexpr int mostUrgent = 10;

    /// Must be called for everything that arrives.
    void take(const EngineData &data, TimePoint now);
    /// Returns a measurement if one is due. `wait` is how long the oldest data has been waiting for
    /// the engine, which makes the picture on the screen later.
    [[nodiscard]] std::optional<StreamMeasure> measure(std::chrono::duration<double> wait,
                                                       TimePoint now);

  private:
    /// What has arrived in a second.
    struct Rates {
        double pictures = 0;
        double bytes = 0;
    };

    StreamLateness m_lateness;
    std::optional<std::uint8_t> m_channel; // of the track that is measured
    std::optional<std::uint32_t> m_timeStamp;
    Rates m_counted; // since `m_countedSince`
    Rates m_lastSecond;
    TimePoint m_countedSince;
    std::optional<TimePoint> m_measuredAt;
    TimePoint m_urgentSince;
    int m_urgent = 0; // measurements since `m_urgentSince`
    StreamMeasure m_measured;
    double m_largestLateness = 0;      // since the last measurement, in seconds
    std::vector<TimePoint> m_arrivals; // since the last measurement
};

} // namespace lumvik
