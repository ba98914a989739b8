#include "engine/link/StreamLateness.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumvik {

namespace {

constexpr double unitsPerSecond = 90000;
constexpr double ntpUnitsPerSecond = 4294967296.0;
/// Two clocks drift apart by up to 100 parts in a million. The lateness decays a little faster.
constexpr double decay = 200e-6;
/// An interval that is longer than its time stamps say by this time, in seconds, and by half, is a
/// pause of the network.
constexpr double shortestPause = 0.5;
constexpr double shortestPauseShare = 0.5;
/// A time stamp that is ahead of everything that may have arrived late by more than this time, or
/// behind its predecessor, in seconds, is that of a clock that was set. Less may be due to pictures
/// that are sent in another order than they are shown.
constexpr double clockJump = 1;
/// The sender reports must be this far apart to tell a rate, in seconds.
constexpr double shortestReportDistance = 2;
/// Rates beyond these come from reports that contradict the time stamps.
constexpr double slowestRate = 0.5;
constexpr double fastestRate = 2;
/// Successive reports whose rate differs more from that of all reports are those of a clock that
/// was set between them. Clocks are also corrected by small steps, which count as drift.
constexpr double largestRateChange = 0.01;
/// How many pictures tell whether there is a queue. If these all have the same size, more are
/// examined, so that a key picture is among them.
constexpr std::size_t fewPictures = 30;
constexpr std::size_t manyPictures = 300;
constexpr std::size_t fewestPictures = 12;
/// The sizes must vary by this share of their mean.
constexpr double smallestVariation = 0.25;
/// The share of the interval that depends on the size of the picture: 1 in a queue, 0 without one.
constexpr double shareInQueue = 0.5;
/// A network that stood still has caught up by this share of the pause when the examination ends,
/// unless there is a queue. Without a queue, it would have done so soon; if nobody knows, a late
/// picture must not pass for a live one.
constexpr double networkShare = 0.5;
constexpr std::chrono::seconds shortExamination{10};
constexpr std::chrono::seconds longExamination{60};
/// The longest time that is only suspected, in seconds.
constexpr double longestSuspicion = 60;

} // namespace

void StreamLateness::packetArrived(std::uint32_t timeStamp, qsizetype size, bool endsPicture,
                                   TimePoint now) {
    if (!m_timeStamp || *m_timeStamp != timeStamp)
        pictureBegan(timeStamp, now);
    m_arriving = Seconds(now - m_began).count();
    if (endsPicture)
        m_complete = current();
    m_size += static_cast<double>(size);
}

void StreamLateness::pictureBegan(std::uint32_t timeStamp, TimePoint now) {
    if (m_timeStamp) {
        m_complete = current();
        const double elapsed = Seconds(now - m_began).count();
        // The difference is signed, because time stamps wrap around and may go back.
        const auto difference = static_cast<std::int32_t>(timeStamp - *m_timeStamp);
        m_pictures.push_back({m_size, elapsed});
        if (m_pictures.size() > manyPictures)
            m_pictures.pop_front();
        m_stamped = difference / unitsPerSecond * m_rate.value_or(1);
        addStep(elapsed, m_stamped, now);
        examinePauses(now);
    }
    m_timeStamp = timeStamp;
    m_began = now;
    m_size = 0;
}

void StreamLateness::addStep(double elapsed, double stamped, TimePoint now) {
    const double late = m_believed + m_suspected;
    if (stamped < -clockJump || stamped > elapsed + late + clockJump)
        return;
    const double step = elapsed - stamped - decay * elapsed;
    const bool isPause = step > std::max(shortestPause, shortestPauseShare * stamped);
    // A camera of one picture a second may stamp 25. Without a queue, such pauses are its rate.
    const bool isRate =
        std::exchange(m_lastWasPause, isPause) && isPause && !m_rate && queue() == Queue::none;
    if (isPause && !m_rate && !isRate) {
        m_pausesSince = m_pausesSince.value_or(now);
        m_paused += step;
    } else {
        m_caughtUp = std::max(m_caughtUp - step, 0.0);
    }
    if ((isPause && !isRate) || (m_rate && step > 0)) {
        m_believed += step;
    } else if (step > 0) {
        m_suspected = std::min(m_suspected + step, longestSuspicion);
    } else {
        const double suspected = std::max(m_suspected + step, 0.0);
        m_believed = std::max(m_believed + step + (m_suspected - suspected), 0.0);
        m_suspected = suspected;
    }
    if (queue() == Queue::none)
        m_suspected = 0;
}

void StreamLateness::examinePauses(TimePoint now) {
    if (!m_pausesSince)
        return;
    const bool hasCaughtUp = m_rate || m_caughtUp >= networkShare * m_paused;
    if (!hasCaughtUp) {
        const Queue found = queue();
        const Seconds examination = found == Queue::none ? shortExamination : longExamination;
        if (found == Queue::exists || now - *m_pausesSince < examination)
            return;
        m_believed = std::max(m_believed - (m_paused - m_caughtUp), 0.0);
    }
    m_pausesSince.reset();
    m_paused = 0;
    m_caughtUp = 0;
}

std::optional<double> StreamLateness::rateBetween(const Report &first, const Report &last) {
    const double elapsed =
        static_cast<double>(static_cast<std::int64_t>(last.ntpTime - first.ntpTime)) /
        ntpUnitsPerSecond;
    const double stamped =
        static_cast<std::int32_t>(last.timeStamp - first.timeStamp) / unitsPerSecond;
    if (stamped <= 0 || elapsed < slowestRate * stamped || elapsed > fastestRate * stamped)
        return std::nullopt;
    return elapsed / stamped;
}

void StreamLateness::reportArrived(std::uint64_t ntpTime, std::uint32_t timeStamp) {
    const Report report{ntpTime, timeStamp};
    if (!m_firstReport || !m_lastReport) {
        m_firstReport = m_lastReport = report;
        m_believedAtReport = m_believed;
        return;
    }
    const auto stampedSince = [timeStamp](const Report &earlier) {
        return static_cast<std::int32_t>(timeStamp - earlier.timeStamp) / unitsPerSecond;
    };
    if (std::abs(stampedSince(*m_lastReport)) < shortestReportDistance)
        return;
    const auto recentRate = rateBetween(*m_lastReport, report);
    const bool clockWasSet =
        !recentRate || (m_rate && std::abs(*recentRate / *m_rate - 1) > largestRateChange);
    if (clockWasSet) {
        // What was believed since the last report was measured with a wrong rate or clock.
        m_rate.reset();
        m_believed = std::min(m_believed, m_believedAtReport);
        m_suspected = 0;
    } else {
        if (!m_rate)
            m_suspected = 0; // was measured with a nominal rate
        m_rate = rateBetween(*m_firstReport, report);
    }
    // Time stamps wrap around after 13 hours.
    constexpr double longestReportDistance = 3600;
    if (clockWasSet || stampedSince(*m_firstReport) > longestReportDistance)
        m_firstReport = report;
    m_lastReport = report;
    m_believedAtReport = m_believed;
}

StreamLateness::Seconds StreamLateness::suspectedLateness() const {
    return Seconds(std::max(m_complete.suspected, current().suspected));
}

StreamLateness::Lateness StreamLateness::current() const {
    const double delay = ownDelay();
    const double suspected = delay + m_believed + m_suspected;
    return {queue() == Queue::exists ? suspected : delay + m_believed, suspected};
}

double StreamLateness::ownDelay() const {
    // A camera may take its time between two pictures to send one.
    const double delay = m_arriving - m_stamped;
    return m_stamped > 0 && delay > shortestPause ? delay : 0;
}

StreamLateness::Queue StreamLateness::queue() const {
    const Queue recent = queueOfLast(fewPictures);
    return recent == Queue::unknown ? queueOfLast(manyPictures) : recent;
}

/// Determines by linear regression how much the interval of a picture depends on its size.
StreamLateness::Queue StreamLateness::queueOfLast(std::size_t count) const {
    count = std::min(count, m_pictures.size());
    if (count < fewestPictures)
        return Queue::unknown;
    const auto begin = m_pictures.end() - static_cast<std::ptrdiff_t>(count);
    const auto number = static_cast<double>(count);
    double meanSize = 0;
    double meanInterval = 0;
    for (auto picture = begin; picture != m_pictures.end(); ++picture) {
        meanSize += picture->size / number;
        meanInterval += picture->interval / number;
    }
    double variance = 0;
    double covariance = 0;
    for (auto picture = begin; picture != m_pictures.end(); ++picture) {
        variance += (picture->size - meanSize) * (picture->size - meanSize) / number;
        covariance += (picture->size - meanSize) * (picture->interval - meanInterval) / number;
    }
    if (std::sqrt(variance) < smallestVariation * meanSize || meanInterval <= 0)
        return Queue::unknown;
    const double share = covariance / variance * meanSize / meanInterval;
    return share >= shareInQueue ? Queue::exists : Queue::none;
}

} // namespace lumvik
