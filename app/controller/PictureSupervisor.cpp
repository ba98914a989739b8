#include "app/controller/PictureSupervisor.h"

#include "supervision/PlaybackHealth.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumvik {

namespace {

/// The requests that an engine cannot do without. Cameras may refuse all others, for example
/// GET_PARAMETER, while their picture is fine.
bool isEssential(const QByteArray &method) {
    return method == "OPTIONS" || method == "DESCRIBE" || method == "SETUP" || method == "PLAY";
}

PlaybackFailure failureOf(ConnectionFailure failure) {
    switch (failure) {
    case ConnectionFailure::nameNotFound:
        return {PlaybackCause::nameNotFound};
    case ConnectionFailure::noNameServer:
        return {PlaybackCause::noNameServer};
    case ConnectionFailure::refused:
        return {PlaybackCause::refused};
    case ConnectionFailure::none:
    case ConnectionFailure::unreachable:
        break;
    }
    return {PlaybackCause::noAnswer};
}

} // namespace

PictureSupervisor::PictureSupervisor(Environment environment)
    : m_environment(std::move(environment))
    , m_chosenAt(m_environment.mainQueue.now()) {}

PictureSupervisor::~PictureSupervisor() {
    stop();
}

void PictureSupervisor::createCover(MPVOpenGLView &video, QQuickItem *content) {
    m_video = &video;
    m_cover = new PictureCover(content);
    video.setPictureWillGoHandler([this] { keepPicture(); });
}

QList<ViewerControl *> PictureSupervisor::createNotice(QQuickItem *content) {
    m_notice = std::make_unique<PictureNotice>(
        content, PictureNotice::Actions{.tryNow = m_environment.tryNow,
                                        .showAddresses = m_environment.showAddresses});
    return m_notice->buttons();
}

void PictureSupervisor::layOut(const QSizeF &content, qreal controlsBottom) {
    if (m_cover)
        m_cover->setSize(content);
    if (m_notice)
        m_notice->layOut(content, controlsBottom);
}

void PictureSupervisor::stop() {
    m_isStopped = true;
    if (m_update)
        m_update->cancel();
    m_update.reset();
    if (m_video)
        m_video->setPictureWillGoHandler(nullptr);
}

// ---- What has happened ----

void PictureSupervisor::cameraWasChosen() {
    m_chosenAt = m_environment.mainQueue.now();
    m_lastFrameAt.reset();
    m_intervals = {};
    m_lateness = {};
    m_suspectedLateness = 0;
    m_progress = Progress::connecting;
    m_failure.reset();
    m_attemptAt.reset();
    m_attemptHasFailed = false;
    update();
}

void PictureSupervisor::loadHasBegun(bool hasLink) {
    m_hasLink = hasLink;
    m_progress = Progress::connecting;
    m_attemptHasFailed = false;
    m_lateness.connectionWasReplaced();
    m_suspectedLateness = 0;
    m_intervals.streamHasEnded();
    m_latenessWatch.connectionWasReplaced();
    update();
}

void PictureSupervisor::frameWasShown() {
    m_lastFrameAt = m_environment.mainQueue.now();
    m_intervals.frameWasShown(*m_lastFrameAt);
    m_lateness.frameWasShown(*m_lastFrameAt);
    m_failure.reset();
    m_attemptHasFailed = false;
    if (m_cover)
        m_cover->setPicture({});
    // While the picture is live, the scheduled update suffices.
    if (m_state.condition != PictureCondition::live)
        update();
}

void PictureSupervisor::linkHasReported(const LinkFact &fact) {
    using Kind = LinkFact::Kind;
    switch (fact.kind) {
    case Kind::Connected:
        m_progress = Progress::connected;
        break;
    case Kind::Answered:
        m_progress = std::max(m_progress, Progress::answered);
        if (const auto failure = failureForStatus(fact.status); failure && isEssential(fact.method))
            fail(*failure);
        break;
    case Kind::Described:
        m_progress = Progress::described;
        break;
    case Kind::Measured:
        takeMeasure(fact.measure);
        break;
    case Kind::ConnectingFailed:
        fail(failureOf(fact.failure));
        break;
    case Kind::LoginRefused:
        fail({PlaybackCause::wrongPassword});
        break;
    case Kind::RedirectRefused:
        fail({PlaybackCause::redirected});
        break;
    case Kind::DescribedNoVideo:
        fail({PlaybackCause::noVideo});
        break;
    case Kind::NotRtsp:
        fail({PlaybackCause::notRtsp});
        break;
    case Kind::TooLarge:
        fail({PlaybackCause::tooLarge});
        break;
    case Kind::EndedByCamera:
        if (!m_attemptHasFailed)
            fail(m_progress == Progress::described ? PlaybackFailure{PlaybackCause::streamEnded}
                                                   : failureOfSilence());
        break;
    case Kind::Connecting:
    case Kind::Redirected:
    case Kind::FirstPacket:
    case Kind::PictureIsLate:
    case Kind::PictureIsInTime:
    case Kind::PicturesOmitted:
    case Kind::MarkersWrong:
    case Kind::EndedByEngine:
    case Kind::IntruderRefused:
        break;
    }
}

void PictureSupervisor::takeMeasure(const StreamMeasure &measure) {
    m_lateness.measured(measure.lateness, measure.largestLateness, m_environment.mainQueue.now());
    m_suspectedLateness = measure.suspectedLateness;
    if (std::max(m_suspectedLateness, m_lateness.value()) >= pictureThresholds.noticeableLateness ||
        m_state.condition == PictureCondition::late)
        update();
    if (m_latenessWatch.takeLateness(measure.lateness, m_environment.mainQueue.now()))
        m_environment.pictureFellBehind();
}

void PictureSupervisor::engineHasComplained(const QString &message) {
    if (const auto failure = failureForEngineMessage(message, !m_hasLink))
        fail(*failure);
}

void PictureSupervisor::probeHasFailed(ConnectionFailure failure) {
    fail(failureOf(failure));
}

void PictureSupervisor::attemptWasScheduled(double delay, bool afterFailure) {
    m_attemptAt = m_environment.mainQueue.now() + delay;
    if (afterFailure && !m_attemptHasFailed)
        fail(failureOfSilence());
    update();
}

void PictureSupervisor::fail(const PlaybackFailure &failure) {
    m_attemptHasFailed = true;
    m_failure = failure;
    update();
}

PlaybackFailure PictureSupervisor::failureOfSilence() const {
    switch (m_progress) {
    case Progress::connecting:
        // Without a link, nothing is known about the progress.
        return {m_hasLink ? PlaybackCause::noAnswer : PlaybackCause::unknown};
    case Progress::connected:
        return {PlaybackCause::noAnswer};
    case Progress::answered:
    case Progress::described:
        break;
    }
    return {PlaybackCause::noPicture};
}

void PictureSupervisor::keepPicture() {
    const TimeStamp now = m_environment.mainQueue.now();
    if (!m_video || !m_cover || !m_lastFrameAt || now - *m_lastFrameAt >= heartbeatStallThreshold)
        return;
    // Whatever is on the screen when the machine sleeps is still there when it wakes.
    if (m_environment.situation().isSleeping)
        return m_cover->setPicture({});
    if (const QImage picture = m_video->copyOfPicture(); !picture.isNull())
        m_cover->setPicture(picture);
}

// ---- What the window says ----

void PictureSupervisor::update() {
    if (m_isStopped || !m_notice)
        return;
    const Situation situation = m_environment.situation();
    const PictureCondition before = m_state.condition;
    m_lateness.timeHasPassed(m_environment.mainQueue.now());
    m_state = pictureState({.hasCamera = situation.hasCamera,
                            .now = m_environment.mainQueue.now(),
                            .chosenAt = m_chosenAt,
                            .lastFrameAt = m_lastFrameAt,
                            .usualInterval = m_intervals.usual(),
                            .lateness = m_lateness.value(),
                            .suspectedLateness = std::max(m_suspectedLateness, m_lateness.value()),
                            .wasLate = before == PictureCondition::late,
                            .hasFailed = m_failure.has_value() || situation.waitsForNetwork ||
                                         situation.addressIsUnusable});
    const bool hasOldPicture = m_lastFrameAt && m_state.condition != PictureCondition::lost;
    if (!hasOldPicture)
        m_cover->setPicture({});
    m_cover->setDarkened(m_state.isDarkened);
    m_notice->show(pictureNoticeText(m_state, noticeFacts(situation)),
                   m_state.condition == PictureCondition::live);
    scheduleUpdate();
    if (m_state.condition != before && m_environment.conditionChanged)
        m_environment.conditionChanged();
}

PictureNoticeFacts PictureSupervisor::noticeFacts(const Situation &situation) const {
    PictureNoticeFacts facts{.camera = situation.camera,
                             .next = nextAttempt(situation),
                             .now = m_environment.currentDate().toLocalTime(),
                             .controlsAreShown = situation.controlsAreShown};
    if (situation.addressIsUnusable)
        facts.cause = explanation({PlaybackCause::unusableAddress}, {}, 0);
    else if (situation.waitsForNetwork)
        facts.cause = explanation({PlaybackCause::noNetwork}, {}, 0);
    else if (m_failure)
        facts.cause = explanation(*m_failure, situation.host, situation.port);
    if (m_lastFrameAt) {
        const double age = m_environment.mainQueue.now() - *m_lastFrameAt;
        facts.lastFrameTime = facts.now.addMSecs(-static_cast<qint64>(age * 1000));
    }
    return facts;
}

QString PictureSupervisor::cause() const {
    if (m_state.condition == PictureCondition::late)
        return QStringLiteral("The picture is too late: the network or this computer is too slow.");
    const Situation situation = m_environment.situation();
    // Desktops keep notifications in a history and show them on a locked screen.
    if (m_failure && !situation.addressIsUnusable && !situation.waitsForNetwork)
        return explanation(*m_failure, {}, 0);
    return noticeFacts(situation).cause;
}

NextAttempt PictureSupervisor::nextAttempt(const Situation &situation) const {
    if (situation.addressIsUnusable)
        return {.kind = NextAttempt::Kind::none};
    if (situation.waitsForNetwork)
        return {.kind = NextAttempt::Kind::waitingForNetwork};
    if (situation.loginPauseEnd)
        return {.kind = NextAttempt::Kind::afterLoginPause,
                .time = situation.loginPauseEnd->toLocalTime()};
    if (!m_attemptAt)
        return {};
    const double delay = std::max(*m_attemptAt - m_environment.mainQueue.now(), 0.0);
    return {.kind = NextAttempt::Kind::scheduled, .seconds = static_cast<int>(std::ceil(delay))};
}

std::optional<TimeStamp> PictureSupervisor::nextUpdate() const {
    const TimeStamp now = m_environment.mainQueue.now();
    // The message counts the seconds until the next attempt.
    if (m_state.condition == PictureCondition::lost && m_attemptAt && *m_attemptAt > now) {
        const double left = *m_attemptAt - now;
        return *m_attemptAt - (std::ceil(left) - 1);
    }
    const auto latenessChangesAt = m_lateness.changesAt();
    if (!m_state.changesAt || !latenessChangesAt)
        return m_state.changesAt ? m_state.changesAt : latenessChangesAt;
    return std::min(*m_state.changesAt, *latenessChangesAt);
}

void PictureSupervisor::scheduleUpdate() {
    const std::optional<TimeStamp> next = nextUpdate();
    if (m_update && next && m_updateAt <= *next)
        return; // the earlier update schedules this one
    if (m_update)
        m_update->cancel();
    m_update.reset();
    if (!next)
        return;
    m_updateAt = *next;
    // A little later, so that rounding does not make it a little too early.
    constexpr double slack = 0.001;
    const double delay = std::max(*next - m_environment.mainQueue.now(), 0.0) + slack;
    m_update = m_environment.mainQueue.after(delay, [this] {
        m_update.reset();
        update();
    });
}

} // namespace lumvik
