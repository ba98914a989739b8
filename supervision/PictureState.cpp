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
            .seconds = seconds,
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
        std::max(pictureThresholds.stale, pictureThresholds.staleIntervals * vitals.usualInterval),
        heartbeatStallThreshold);
    if (age >= staleAge)
        return staleState(age, *vitals.lastFrameAt);
    const double lateLimit =
        vitals.wasLate ? pictureThresholds.lateEnds : pictureThresholds.lateBegins;
    const TimeStamp staleAt = *vitals.lastFrameAt + staleAge;
    if (vitals.lateness >= lateLimit)
        return {.condition = PictureCondition::late,
                .seconds = wholeSeconds(std::round(vitals.lateness)),
                .changesAt = staleAt};
    return {.condition = PictureCondition::live, .changesAt = staleAt};
}

} // namespace lumvik
