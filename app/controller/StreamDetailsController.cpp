#include "app/controller/StreamDetailsController.h"

#include "platform/LumvikLog.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace lumvik {

namespace {

constexpr double refreshInterval = 1; // in seconds

} // namespace

StreamDetailsController::StreamDetailsController(Environment environment)
    : m_environment(std::move(environment)) {}

void StreamDetailsController::createPanel(QQuickItem *content) {
    m_panel = new StreamDetailsPanel(content);
}

void StreamDetailsController::layOut(const QSizeF &content, qreal controlsBottom) {
    if (m_panel)
        m_panel->layOut(content, controlsBottom);
}

void StreamDetailsController::setShown(bool isShown) {
    m_refresh.reset();
    if (!m_panel)
        return;
    if (isShown) {
        refresh();
        m_refresh = m_environment.mainQueue.repeating(refreshInterval, [this] { refresh(); });
    }
    m_panel->setVisible(isShown);
    if (!isShown)
        m_panel->setRows({}); // assistive technology would still find them
}

void StreamDetailsController::copyDiagnosis() const {
    // The rows contain names that the user has chosen, and perhaps an address among them.
    m_environment.copyToClipboard(LumvikLog::redacted(
        diagnosisText(rows(), m_environment.versions(), LumvikLog::recentLines())));
}

void StreamDetailsController::cameraWasChosen() {
    loadHasBegun();
    m_interruption.clear();
}

void StreamDetailsController::loadHasBegun() {
    m_measure.reset();
    m_delay = {};
}

void StreamDetailsController::streamWasMeasured(const StreamMeasure &measure) {
    m_measure = measure;
    m_measuredAt = m_environment.mainQueue.now();
    // The link has a clock of its own, which stands still while the machine sleeps.
    const auto linkNow = std::chrono::steady_clock::now();
    const TimeStamp now = m_environment.mainQueue.now();
    for (const auto arrival : measure.arrivals)
        m_delay.pictureArrived(now - std::chrono::duration<double>(linkNow - arrival).count());
}

void StreamDetailsController::attemptWasScheduled(const QString &reason) {
    // The attempts that fail after it have their reason in the first one.
    if (m_interruption.isEmpty())
        m_interruption = reason;
}

void StreamDetailsController::frameWasShown() {
    m_delay.frameWasShown(m_environment.mainQueue.now());
    if (m_interruption.isEmpty())
        return;
    const QDateTime now = m_environment.currentDate().toLocalTime();
    if (m_lastRecoveryTime.date() != now.date())
        m_recoveries = 0;
    ++m_recoveries;
    m_lastRecoveryTime = now;
    m_lastRecovery = std::exchange(m_interruption, {});
}

bool StreamDetailsController::measureIsCurrent() const {
    // Measurements come with data only. Rates of a camera that has fallen silent would look as if
    // it still sent pictures.
    constexpr double shortest = 2; // in seconds
    constexpr double intervals = 3;
    if (!m_measure)
        return false;
    const double rate = m_measure->picturesPerSecond;
    const double longest = rate > 0 ? std::max(shortest, intervals / rate) : shortest;
    return m_environment.mainQueue.now() - m_measuredAt <= longest;
}

QList<StreamDetailsRow> StreamDetailsController::rows() const {
    const QDate today = m_environment.currentDate().toLocalTime().date();
    StreamDetails details = m_environment.details();
    if (measureIsCurrent()) {
        details.lateness = m_measure->lateness;
        if (m_measure->picturesPerSecond > 0) {
            details.picturesPerSecond = m_measure->picturesPerSecond;
            details.bitsPerSecond = m_measure->bitsPerSecond;
        }
        details.delay = m_delay.median();
    }
    details.recoveriesToday = m_lastRecoveryTime.date() == today ? m_recoveries : 0;
    details.lastRecovery = m_lastRecovery;
    details.lastRecoveryTime = m_lastRecoveryTime;
    return streamDetailsRows(details, today);
}

void StreamDetailsController::refresh() {
    if (m_panel)
        m_panel->setRows(rows());
}

} // namespace lumvik
