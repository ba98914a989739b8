#pragma once

#include "platform/MainQueue.h"

#include <QString>

#include <optional>

namespace lumvik {

/// Distinguishes the frame that the user chose for a window from the frame that the window gets
/// when it is maximised or becomes full screen. The window system reports the new frame and the new
/// state separately and in no fixed order. A frame therefore counts as the user's choice only after
/// it has been unchanged for a moment.
class WindowFrameMemory {
  public:
    /// Frames that follow each other within this time, in seconds, belong to one change.
    static constexpr TimeStamp settlingTime = 0.5;

    /// Records that the window, in its ordinary state, got the frame `saved` (see
    /// savedFrameString).
    void note(const QString &saved, TimeStamp now);

    /// Returns the frame to remember when the window has left its ordinary state: the frame before
    /// the change that led there, or nothing if the last recorded frame is the right one.
    [[nodiscard]] std::optional<QString> frameBeforeChange(TimeStamp now) const;

  private:
    QString m_settled; // the last frame that was unchanged for the settling time
    QString m_latest;
    TimeStamp m_latestAt = 0;
};

} // namespace lumvik
