#pragma once

#include "platform/MainQueue.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

namespace lumvik {

/// Limits how often messages of the same kind are logged. A camera that sends garbage makes the
/// engine complain thousands of times a minute, which would fill the disk with logs and hide
/// everything else.
///
/// Messages are of the same kind if they differ only in digits and punctuation. Of each kind,
/// `mostMessages` are logged within `period`. The others are counted, and the count is logged when
/// the period is over. A plain value with the time handed in.
class MessageLimit {
  public:
    static constexpr int mostMessages = 10;
    /// In seconds, from the first message of a kind.
    static constexpr double period = 60;
    /// Messages beyond this number of kinds are all of one further kind.
    static constexpr qsizetype mostKinds = 100;

    /// Returns whether `message` is to be logged at the time `now`.
    [[nodiscard]] bool admits(const QString &message, TimeStamp now);
    /// Returns a line for each kind whose period is over and of which messages were left out.
    [[nodiscard]] QStringList takeSummaries(TimeStamp now);

  private:
    struct Kind {
        TimeStamp since = 0;
        int admitted = 0;
        int omitted = 0;
        QString example; ///< The last message that was logged.
    };

    QHash<QString, Kind> m_kinds;
};

} // namespace lumvik
