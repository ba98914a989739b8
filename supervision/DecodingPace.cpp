#include "supervision/DecodingPace.h"

#include <algorithm>
#include <cmath>

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

std::optional<double> DecodingPace::slowSpeed(const DecodingVitals &newest) {
    if (!(newest.queued >= shortestQueue)) {
        m_history.clear();
        return std::nullopt;
    }
    DecodingVitals vitals = newest;
    vitals.position -= m_omitted;
    if (!m_history.empty() && vitals.omissions != m_history.back().omissions) {
        // A decoder that is so far behind is not faster than the stream.
        const double latest = m_history.back().position + vitals.now - m_history.back().now;
        const double jump = std::max(0.0, vitals.position - latest);
        vitals.position -= jump;
        m_omitted += jump;
    }
    if (!m_history.empty() && !isBusyBetween(m_history.back(), vitals))
        m_history.clear();
    m_history.push_back(vitals);
    std::optional<double> speed;
    for (const Proof &proof : proofs)
        speed = speed ? speed : speedProvedBy(proof);
    if (vitals.now - m_history.front().now >= proofs.back().time)
        m_history.pop_front();
    return speed;
}

std::optional<double> DecodingPace::speedProvedBy(const Proof &proof) const {
    const DecodingVitals &now = m_history.back();
    const auto begin =
        std::find_if(m_history.rbegin(), m_history.rend(),
                     [&](const DecodingVitals &each) { return now.now - each.now >= proof.time; });
    if (begin == m_history.rend())
        return std::nullopt;
    const double time = now.now - begin->now;
    const double running = now.thread.running - begin->thread.running;
    const double progress = now.position - begin->position;
    if (!(running >= proof.leastRunningShare * time && progress <= highestSlowSpeed * time))
        return std::nullopt;
    return progress / running;
}

int decodingThreadsFor(double speed, int cores) {
    // Several threads are a little slower than the sum, and a stream varies.
    constexpr double reserve = 0.9;
    constexpr int most = 16;
    if (cores < 2)
        return 1;
    const int limit = std::min(cores, most);
    const double wanted = std::ceil(1 / (reserve * speed));
    return wanted < limit ? std::max(2, static_cast<int>(wanted)) : limit;
}

} // namespace lumvik
