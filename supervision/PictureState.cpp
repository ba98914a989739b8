#include "supervision/PictureState.h"

#include "supervision/PlaybackHealth.h"

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

int wholeSeconds(double seconds) {
    constexpr double longest = 1e9; // three decades; also keeps the conversion defined
    return static_cast<int>(std::floor(std::clamp(seconds, 0.0, longest)));
}

PictureState stateWithoutPicture(const PictureVitals &vitals) {
    const double waited = vitals.now - vitals.chosenAt;
    if (vitals.hasFailed || waited >= heartbeatStallThreshold)
        return {.condition = PictureCondition::lost};
    const bool isAnnounced = waited >= pictureThresholds.announcedStart;
    return {.condition = PictureCondition::starting,
            .seconds = wholeSeconds(waited),
            .changesAt = vitals.chosenAt + (isAnnounced ? heartbeatStallThreshold
                                                        : pictureThresholds.announcedStart)};
}

PictureState staleState(double age, TimeStamp lastFrameAt) {
    const int seconds = wholeSeconds(age);
    return {.condition = PictureCondition::stale,
            .seconds = std::max(seconds, 1),
            .isDarkened = age >= pictureThresholds.darkened,
            .changesAt = lastFrameAt + std::min(seconds + 1.0, heartbeatStallThreshold)};
}

} // namespace

PictureState pictureState(const PictureVitals &vitals) {
    if (!vitals.hasCamera)
        return {};
    if (!vitals.lastFrameAt)
        return stateWithoutPicture(vitals);
    const double age = vitals.now - *vitals.lastFrameAt;
    if (age >= heartbeatStallThreshold)
        return {.condition = PictureCondition::lost};
    const double staleAge = std::min(
        std::max(pictureThresholds.stale, pictureThresholds.staleIntervals * vitals.usualInterval) -
            std::min(vitals.suspectedLateness, pictureThresholds.earlierByLateness),
        heartbeatStallThreshold);
    if (age >= staleAge)
        return staleState(age, *vitals.lastFrameAt);
    const TimeStamp staleAt = *vitals.lastFrameAt + staleAge;
    // A late picture that also stands still grows older than either of the two tells.
    const bool isDelayed = vitals.lateness >= pictureThresholds.noticeableLateness;
    const double overdue = isDelayed ? std::max(age - vitals.usualInterval, 0.0) : 0;
    const double lateness = vitals.lateness + overdue;
    const double lateLimit =
        vitals.wasLate ? pictureThresholds.lateEnds : pictureThresholds.lateBegins;
    if (lateness >= lateLimit)
        return {.condition = PictureCondition::late,
                .seconds = wholeSeconds(std::round(lateness)),
                .changesAt = std::min(staleAt, vitals.now + 1)};
    const TimeStamp lateAt =
        *vitals.lastFrameAt + vitals.usualInterval + lateLimit - vitals.lateness;
    return {.condition = PictureCondition::live,
            .changesAt = isDelayed ? std::min(staleAt, lateAt) : staleAt};
}

} // namespace lumvik
