#pragma once

#include "platform/MainQueue.h"

#include <QString>

#include <optional>

namespace lumvik {

/// Tells the frame that the user gave a window from the one that it gets by being maximised or made
/// full-screen. The window system reports the new frame and the new state separately and in no
/// certain order, so a frame counts as the user's only once it has stood for a moment.
class WindowFrameMemory {
  public:
    /// Frames that follow each other within this time, in seconds, belong to one change.
    static constexpr TimeStamp settlingTime = 0.5;

    /// The window got the frame `saved` (see savedFrameString) in its ordinary state.
    void note(const QString &saved, TimeStamp now);

    /// The frame to remember when the window turns out to have left its ordinary state: the one
    /// before the change that led there, or nothing when the last one noted is right.
    [[nodiscard]] std::optional<QString> frameBeforeChange(TimeStamp now) const;

  private:
    QString m_settled; // the last frame that stood for the settling time
    QString m_latest;
    TimeStamp m_latestAt = 0;
};

} // namespace lumvik
