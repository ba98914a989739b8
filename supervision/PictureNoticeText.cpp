#include "supervision/PictureNoticeText.h"

#include <QStringList>

namespace lumvik {

namespace {

/// Returns the time of day, with the date if it is not today's.
QString clockText(const QDateTime &time, const QDateTime &now) {
    QString clock = time.toString(QStringLiteral("HH:mm"));
    if (time.date() == now.date())
        return clock;
    return QStringLiteral("%1, %2").arg(time.toString(QStringLiteral("d MMMM")), clock);
}

/// Names may be as long as a paragraph.
QString shortened(const QString &name) {
    constexpr qsizetype longest = 40;
    return name.size() <= longest ? name : name.first(longest - 1).trimmed() + QChar(0x2026);
}

QString lostTitle(const PictureNoticeFacts &facts) {
    QString title = QStringLiteral("No picture from %1").arg(shortened(facts.camera));
    if (!facts.lastFrameTime)
        return title;
    return QStringLiteral("%1 since %2").arg(title, clockText(*facts.lastFrameTime, facts.now));
}

QString nextText(const NextAttempt &next, const QDateTime &now) {
    switch (next.kind) {
    case NextAttempt::Kind::underWay:
        return QStringLiteral("Trying now");
    case NextAttempt::Kind::scheduled:
        return QStringLiteral("Trying again in %1 s").arg(next.seconds);
    case NextAttempt::Kind::afterLoginPause:
        return QStringLiteral("Trying again at %1, so that the camera does not lock this account.")
            .arg(clockText(next.time, now));
    case NextAttempt::Kind::waitingForNetwork:
        return QStringLiteral("Waiting for the network");
    case NextAttempt::Kind::none:
        return {};
    }
    return {};
}

/// Returns the lines of a message for assistive technology.
QString spokenMessage(const PictureNoticeText &text, const NextAttempt &next) {
    const bool keepsTrying =
        next.kind == NextAttempt::Kind::underWay || next.kind == NextAttempt::Kind::scheduled;
    QStringList lines{text.title, text.cause,
                      keepsTrying ? QStringLiteral("Lumvik keeps trying.") : text.next};
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

PictureNoticeText visibleText(const PictureState &state, const PictureNoticeFacts &facts) {
    switch (state.condition) {
    case PictureCondition::none:
        return {};
    case PictureCondition::starting:
        if (state.seconds < pictureThresholds.announcedStart)
            return {};
        return {.title = QStringLiteral("Connecting to %1…").arg(shortened(facts.camera))};
    case PictureCondition::live:
        if (!facts.controlsAreShown)
            return {};
        return {.pill = QStringLiteral("Live")};
    case PictureCondition::late:
        return {.pill = QStringLiteral("Late by %1 s").arg(state.seconds)};
    case PictureCondition::stale:
        return {.pill = QStringLiteral("Not live · %1 s").arg(state.seconds)};
    case PictureCondition::lost:
        return {.title = lostTitle(facts),
                .cause = facts.cause,
                .next = nextText(facts.next, facts.now),
                .offersActions = true};
    }
    return {};
}

} // namespace

PictureNoticeText pictureNoticeText(const PictureState &state, const PictureNoticeFacts &facts) {
    PictureNoticeText text = visibleText(state, facts);
    if (!text.pill.isEmpty())
        text.spoken = spokenPictureState(state.condition);
    else if (state.condition == PictureCondition::lost)
        text.spoken = spokenMessage(text, facts.next);
    else
        text.spoken = text.title;
    return text;
}

QString spokenPictureState(PictureCondition condition) {
    switch (condition) {
    case PictureCondition::none:
        return {};
    case PictureCondition::starting:
        return QStringLiteral("No picture yet");
    case PictureCondition::live:
        return QStringLiteral("Live");
    case PictureCondition::late:
        return QStringLiteral("Late");
    case PictureCondition::stale:
        return QStringLiteral("Not live");
    case PictureCondition::lost:
        return QStringLiteral("No picture");
    }
    return {};
}

} // namespace lumvik
