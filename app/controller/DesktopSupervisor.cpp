#include "app/controller/DesktopSupervisor.h"

#include "platform/PreferenceKeysAndDefaults.h"

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

/// A picture that stands still for a moment counts, too: many desktops blank the screen at once
/// when nothing keeps it on any more and the user has been away for long.
bool isShown(PictureCondition condition) {
    return condition == PictureCondition::live || condition == PictureCondition::late ||
           condition == PictureCondition::stale;
}

} // namespace

DesktopSupervisor::DesktopSupervisor(Environment environment)
    : m_environment(std::move(environment)) {}

DesktopSupervisor::~DesktopSupervisor() {
    stop();
}

bool DesktopSupervisor::keepsScreenOn() const {
    return m_environment.userDefaults.boolean(PreferenceKeys::keepsScreenOn);
}

void DesktopSupervisor::setKeepsScreenOn(bool keepsOn) {
    m_environment.userDefaults.set(PreferenceKeys::keepsScreenOn, keepsOn);
    update();
}

bool DesktopSupervisor::notifiesOfLoss() const {
    return m_environment.userDefaults.boolean(PreferenceKeys::notifiesOfLoss);
}

void DesktopSupervisor::setNotifiesOfLoss(bool notifies) {
    m_environment.userDefaults.set(PreferenceKeys::notifiesOfLoss, notifies);
    update();
}

void DesktopSupervisor::cameraWasChosen() {
    perform(m_lossNotice.cameraWasChosen(), {});
    update();
}

void DesktopSupervisor::update() {
    if (m_isStopped)
        return;
    const Situation situation = m_environment.situation();
    m_environment.screenInhibitor.keepScreenOn(keepsScreenOn() && isShown(situation.condition) &&
                                               situation.windowIsVisible && !situation.isSleeping);
    perform(m_lossNotice.update({.now = m_environment.mainQueue.now(),
                                 .isEnabled = notifiesOfLoss(),
                                 .hasCamera = situation.condition != PictureCondition::none,
                                 .isLive = situation.condition == PictureCondition::live,
                                 .isSleeping = situation.isSleeping}),
            situation);
    scheduleUpdate();
}

void DesktopSupervisor::stop() {
    if (std::exchange(m_isStopped, true))
        return;
    if (m_update)
        m_update->cancel();
    m_environment.screenInhibitor.keepScreenOn(false);
    m_environment.notifier.withdraw();
}

void DesktopSupervisor::perform(LossNotice::Action action, const Situation &situation) {
    switch (action) {
    case LossNotice::Action::none:
        break;
    case LossNotice::Action::reportLoss:
        m_environment.notifier.show(notificationOfLoss(situation.camera, situation.cause),
                                    m_environment.showWindow);
        break;
    case LossNotice::Action::reportReturn:
        m_environment.notifier.show(
            notificationOfReturn(situation.camera, m_lossNotice.lengthOfLoss()),
            m_environment.showWindow);
        break;
    case LossNotice::Action::withdraw:
        m_environment.notifier.withdraw();
        break;
    }
}

void DesktopSupervisor::scheduleUpdate() {
    if (m_update)
        m_update->cancel();
    m_update.reset();
    const auto next = m_lossNotice.nextUpdate();
    if (!next)
        return;
    // A little later, so that rounding does not make it a little too early.
    constexpr double slack = 0.001;
    const double delay = std::max(*next - m_environment.mainQueue.now(), 0.0) + slack;
    m_update = m_environment.mainQueue.after(delay, [this] { update(); });
}

} // namespace lumvik
