#pragma once

#include "supervision/PictureState.h"

#include <QDateTime>
#include <QString>

#include <optional>

namespace lumvik {

/// What happens next if there is no picture.
struct NextAttempt {
    enum class Kind {
        underWay,          ///< An attempt is being made.
        scheduled,         ///< An attempt is made in `seconds`.
        afterLoginPause,   ///< An attempt is made at `time`, so that the account is not locked.
        waitingForNetwork, ///< An attempt is made when there is a network path.
        none,              ///< No attempt can succeed before the address has been edited.
    };

    Kind kind = Kind::underWay;
    int seconds = 0;     ///< With `scheduled` only, rounded up.
    QDateTime time = {}; ///< With `afterLoginPause` only, in local time.

    friend bool operator==(const NextAttempt &, const NextAttempt &) = default;
};

/// What the window says about its picture. Texts that are empty are not shown.
struct PictureNoticeText {
    QString pill = {};          ///< In the corner of the picture.
    QString title = {};         ///< The first line of the message: what has happened.
    QString cause = {};         ///< The second line: why.
    QString next = {};          ///< The third line: what happens next.
    bool offersActions = false; ///< Whether the message has buttons.
    /// All of it for assistive technology, in lines. It counts no seconds, because a screen reader
    /// might read each of them.
    QString spoken = {};

    friend bool operator==(const PictureNoticeText &, const PictureNoticeText &) = default;
};

/// What the texts depend on, apart from the state.
struct PictureNoticeFacts {
    QString camera;     ///< The camera's name.
    QString cause = {}; ///< A sentence.
    NextAttempt next = {};
    std::optional<QDateTime> lastFrameTime = std::nullopt; ///< In local time.
    QDateTime now = {};                                    ///< In local time.
    bool controlsAreShown = false; ///< A live picture is confirmed only then.
};

/// Returns the texts for `state`.
[[nodiscard]] PictureNoticeText pictureNoticeText(const PictureState &state,
                                                  const PictureNoticeFacts &facts);

/// Returns the state of the picture in one or two words, for assistive technology.
[[nodiscard]] QString spokenPictureState(PictureCondition condition);

} // namespace lumvik
