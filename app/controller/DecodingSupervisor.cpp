#include "app/controller/DecodingSupervisor.h"

#include "engine/PlayerProperties.h"
#include "platform/LumvikLog.h"

#include <algorithm>
#include <utility>

namespace lumvik {

DecodingSupervisor::DecodingSupervisor(const CameraDetailsStore &details, Machine machine)
    : m_details(details)
    , m_machine(std::move(machine)) {}

void DecodingSupervisor::prepareLoad(mpv_handle *player, const QString &url) {
    m_pace.restart();
    m_url = url;
    m_threads = threadsFor(url);
    mpv_set_property_string(player, "vd-lavc-threads", std::to_string(m_threads).c_str());
}

bool DecodingSupervisor::decodingFellBehind(mpv_handle *player, TimeStamp now,
                                            const CameraList &cameras) {
    // The list of cameras and with it the address may have changed since the load.
    const bool isListed = std::any_of(cameras.begin(), cameras.end(),
                                      [this](const Camera &each) { return each.url == m_url; });
    if (m_threads > 1 || m_machine.cores < 2 || !isListed)
        return false;
    const auto current = vitals(player, now);
    if (!current) {
        m_pace.restart();
        return false;
    }
    const auto speed = m_pace.slowSpeed(*current);
    if (!speed)
        return false;
    const int threads = decodingThreadsFor(*speed, m_machine.cores);
    m_pace.restart();
    m_threads = threads;
    m_increased.insert(m_url, threads);
    CameraDetails details = m_details.details(m_url);
    details.decodingThreads = threads;
    // The store has logged a failure. The number then holds until the program ends.
    static_cast<void>(m_details.store(m_url, details, cameras));
    LumvikLog::playback().log(
        QStringLiteral("Decoding on one thread fell behind; the camera is loaded again with %1 "
                       "decoding threads.")
            .arg(threads));
    return true;
}

int DecodingSupervisor::threadsFor(const QString &url) const {
    // A list that was copied from a larger machine may ask for too many threads.
    const int wanted = std::max(m_details.details(url).decodingThreads, m_increased.value(url, 1));
    return std::clamp(wanted, 1, std::max(m_machine.cores, 1));
}

/// Returns nothing if video does not wait, in which case nothing else has to be asked.
std::optional<DecodingVitals> DecodingSupervisor::vitals(mpv_handle *player, TimeStamp now) const {
    const auto queued = numberProperty(player, "demuxer-cache-duration");
    if (!queued || *queued < DecodingPace::shortestQueue)
        return std::nullopt;
    const auto position = numberProperty(player, "time-pos");
    const auto times = m_machine.decodingTimes();
    if (!position || !times)
        return std::nullopt;
    return DecodingVitals{.now = now,
                          .queued = *queued,
                          .thread = *times,
                          .position = *position,
                          .omissions = m_omissions};
}

} // namespace lumvik
