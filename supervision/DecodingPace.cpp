#include "supervision/DecodingPace.h"

#include <algorithm>

namespace lumvik {

namespace {

/// Whether the decoder has been busy all the time from `before` to `now` without catching up. The
/// position does not rise, or jumps, if no frame was drawn or the camera has set its clock, and the
/// thread's times fall if the player was replaced.
bool isBusyBetween(const DecodingVitals &before, const DecodingVitals &now) {
    const double time = now.now - before.now;
    const double wanted =
        now.thread.running - before.thread.running + now.thread.waiting - before.thread.waiting;
    const double progress = now.position - before.position;
    return time > 0 && wanted >= DecodingPace::leastWantedShare * time && progress > 0 &&
           progress <= DecodingPace::highestMomentarySpeed * time;
}

} // namespace

bool DecodingPace::isTooSlow(const DecodingVitals &vitals) {
    if (!(vitals.queued >= shortestQueue)) {
        m_history.clear();
        return false;
    }
    if (!m_history.empty() && !isBusyBetween(m_history.back(), vitals))
        m_history.clear();
    m_history.push_back(vitals);
    const bool isTooSlow = std::any_of(proofs.begin(), proofs.end(),
                                       [this](const Proof &proof) { return isProved(proof); });
    if (vitals.now - m_history.front().now >= proofs.back().time)
        m_history.pop_front();
    return isTooSlow;
}

bool DecodingPace::isProved(const Proof &proof) const {
    const DecodingVitals &now = m_history.back();
    const auto begin =
        std::find_if(m_history.rbegin(), m_history.rend(),
                     [&](const DecodingVitals &each) { return now.now - each.now >= proof.time; });
    if (begin == m_history.rend())
        return false;
    const double time = now.now - begin->now;
    return now.thread.running - begin->thread.running >= proof.leastRunningShare * time &&
           now.position - begin->position <= highestSlowSpeed * time;
}

int decodingThreadsFor(int cores) {
    constexpr int best = 2;
    return std::clamp(cores, 1, best);
}

} // namespace lumvik
