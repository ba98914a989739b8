#include "engine/link/StreamMeter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace lumvik {

namespace {

constexpr std::size_t mostArrivals = 100; // in the time between two measurements

/// Whether the marker of an interleaved RTP packet is set.
bool endsPicture(const QByteArray &packet) {
    constexpr qsizetype markerPosition = 5;
    constexpr std::uint8_t marker = 0x80;
    return packet.size() > markerPosition &&
           (static_cast<std::uint8_t>(packet.at(markerPosition)) & marker) != 0;
}

} // namespace

void StreamMeter::take(const EngineData &data, TimePoint now) {
    if (data.report && m_channel == data.report->channel)
        m_lateness.reportArrived(data.report->ntpTime, data.report->timeStamp);
    if (!data.video)
        return;
    if (!m_channel) {
        m_channel = data.video->channel;
        m_countedSince = now;
    }
    if (m_channel != data.video->channel)
        return;
    m_lateness.packetArrived(data.video->timeStamp, data.bytes.size(), endsPicture(data.bytes),
                             now);
    m_largestLateness = std::max(m_largestLateness, m_lateness.lateness().count());
    m_counted.bytes += static_cast<double>(data.bytes.size());
    if (m_timeStamp != data.video->timeStamp)
        ++m_counted.pictures;
    m_timeStamp = data.video->timeStamp;
    if (endsPicture(data.bytes) && m_arrivals.size() < mostArrivals)
        m_arrivals.push_back(now);
}

std::optional<StreamMeasure> StreamMeter::measure(std::chrono::duration<double> wait,
                                                  TimePoint now) {
    if (!m_channel)
        return std::nullopt;
    const double lateness = (m_lateness.lateness() + wait).count();
    const double suspected = (m_lateness.suspectedLateness() + wait).count();
    const bool isUrgent = std::abs(suspected - m_measured.suspectedLateness) >= urgentChange ||
                          std::abs(lateness - m_measured.lateness) >= urgentChange;
    if (now - m_urgentSince >= interval) {
        m_urgentSince = now;
        m_urgent = 0;
    }
    const bool isDue = !m_measuredAt || now - *m_measuredAt >= interval;
    if (!isDue && (!isUrgent || m_urgent >= mostUrgent))
        return std::nullopt;
    m_urgent += isDue ? 0 : 1;
    m_measuredAt = now;
    const double counted = std::chrono::duration<double>(now - m_countedSince).count();
    if (counted >= 1) {
        m_lastSecond = {m_counted.pictures / counted, m_counted.bytes / counted};
        m_counted = {};
        m_countedSince = now;
    }
    constexpr double bitsPerByte = 8;
    m_measured = {.lateness = lateness,
                  .largestLateness = std::max(std::exchange(m_largestLateness, 0), lateness),
                  .suspectedLateness = suspected,
                  .picturesPerSecond = m_lastSecond.pictures,
                  .bitsPerSecond = m_lastSecond.bytes * bitsPerByte,
                  .arrivals = std::exchange(m_arrivals, {})};
    return m_measured;
}

} // namespace lumvik
