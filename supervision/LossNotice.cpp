#include "supervision/LossNotice.h"

#include <cmath>
#include <utility>

namespace lumvik {

namespace {

/// Returns `seconds` in the largest unit of which there are at least two.
QString durationText(double seconds) {
    constexpr double minute = 60;
    constexpr double hour = 60 * minute;
    constexpr double day = 24 * hour;
    const auto text = [seconds](double unit, const QString &name) {
        return QStringLiteral("%1 %2").arg(std::floor(seconds / unit)).arg(name);
    };
    if (seconds >= 2 * day)
        return text(day, QStringLiteral("days"));
    if (seconds >= 2 * hour)
        return text(hour, QStringLiteral("hours"));
    if (seconds >= 2 * minute)
        return text(minute, QStringLiteral("minutes"));
    return text(1, QStringLiteral("seconds"));
}

} // namespace

LossNotice::Action LossNotice::forget() {
    m_lostSince.reset();
    m_liveSince.reset();
    return std::exchange(m_isReported, false) ? Action::withdraw : Action::none;
}

LossNotice::Action LossNotice::cameraWasChosen() {
    return forget();
}

LossNotice::Action LossNotice::update(const Situation &situation) {
    if (!situation.isEnabled || !situation.hasCamera)
        return forget();
    if (situation.isSleeping) {
        // The end of a loss that was reported is still worth reporting.
        m_lostSince.reset();
        m_liveSince.reset();
        return Action::none;
    }
    if (situation.isLive) {
        if (!m_liveSince)
            m_liveSince = situation.now;
        if (situation.now - *m_liveSince < provenReturn)
            return Action::none;
        m_lostSince.reset();
        if (!std::exchange(m_isReported, false))
            return Action::none;
        m_lengthOfLoss = *m_liveSince - m_reportedLossSince;
        return Action::reportReturn;
    }
    m_liveSince.reset();
    if (!m_lostSince)
        m_lostSince = situation.now;
    if (m_isReported || situation.now - *m_lostSince < longestUnreportedLoss)
        return Action::none;
    m_isReported = true;
    m_reportedLossSince = *m_lostSince;
    return Action::reportLoss;
}

std::optional<TimeStamp> LossNotice::nextUpdate() const {
    if (m_liveSince)
        return m_lostSince || m_isReported ? std::optional(*m_liveSince + provenReturn)
                                           : std::nullopt;
    if (!m_isReported && m_lostSince)
        return *m_lostSince + longestUnreportedLoss;
    return std::nullopt;
}

Notification notificationOfLoss(const QString &camera, const QString &cause) {
    return {.title = QStringLiteral("No live picture from %1").arg(camera),
            .text = cause,
            .isUrgent = true};
}

Notification notificationOfReturn(const QString &camera, double length) {
    return {.title = QStringLiteral("%1 is live again").arg(camera),
            .text = QStringLiteral("There was no live picture for %1.").arg(durationText(length))};
}

} // namespace lumvik
