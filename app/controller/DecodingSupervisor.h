#pragma once

#include "configuration/Camera.h"
#include "configuration/CameraDetailsStore.h"
#include "platform/MainQueue.h"
#include "platform/ThreadTimes.h"
#include "supervision/DecodingPace.h"

#include <QHash>
#include <QString>

#include <mpv/client.h>

#include <functional>
#include <optional>

namespace lumvik {

/// Chooses the number of threads that decode a camera's stream. One thread has the lowest latency,
/// because each further thread holds back a frame. A stream that is too much for one thread falls
/// further and further behind, so it gets more threads: the supervisor observes the decoder, stores
/// the number for the camera, and tells the controller to load the camera again. This happens once
/// for each camera, because the number is remembered (CameraDetailsStore).
///
/// The controller owns the supervisor, tells it about every load and asks it at each tick of the
/// watchdog. Main thread only.
class DecodingSupervisor {
  public:
    /// What the supervisor knows about the machine.
    struct Machine {
        /// The number of processor cores that the process may use.
        int cores = 1;
        /// Returns the times of the decoding thread, or nothing while there is none.
        std::function<std::optional<ThreadTimes>()> decodingTimes;
    };

    /// `details` must outlive the supervisor.
    DecodingSupervisor(const CameraDetailsStore &details, Machine machine);
    DecodingSupervisor(const DecodingSupervisor &) = delete;
    DecodingSupervisor &operator=(const DecodingSupervisor &) = delete;
    ~DecodingSupervisor() = default;

    /// Prepares `player` for the load of the camera with the address `url`: sets the number of
    /// decoding threads. Forgets what was observed of the previous stream.
    void prepareLoad(mpv_handle *player, const QString &url);

    /// Must be called when the link has left out pictures for which the decoder was too late.
    void picturesWereOmitted() { ++m_omissions; }

    /// Observes the decoder of `player`, which draws the loaded camera's frames. Returns true if
    /// the camera must be loaded again because its decoding has fallen behind. The number of
    /// threads for its next loads has then been increased, stored and logged. `cameras` is the
    /// current list.
    [[nodiscard]] bool decodingFellBehind(mpv_handle *player, TimeStamp now,
                                          const CameraList &cameras);

  private:
    [[nodiscard]] int threadsFor(const QString &url) const;
    [[nodiscard]] std::optional<DecodingVitals> vitals(mpv_handle *player, TimeStamp now) const;

    const CameraDetailsStore &m_details;
    const Machine m_machine;
    DecodingPace m_pace;
    QString m_url;     // the loaded camera's address
    int m_threads = 1; // of the loaded camera
    int m_omissions = 0;
    /// The numbers that were increased in this run, so that a full disk does not lead to one
    /// interruption after another.
    QHash<QString, int> m_increased;
};

} // namespace lumvik
