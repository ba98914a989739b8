// When updates are looked for, and how the user hears of the outcome.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceKeys.h"

#include <QPointer>

namespace lumvik {

namespace {

/// The least time between two checks that nobody asked for, in seconds: a day.
constexpr qint64 automaticCheckInterval = 86'400;

/// The version as it fits into an alert, whatever a server makes up.
QString shownVersion(const LumvikUpdateManifest &manifest) {
    constexpr int longest = 40;
    return manifest.version.size() <= longest ? manifest.version
                                              : manifest.version.first(longest) + u'…';
}

} // namespace

void AppDelegate::checkForUpdatesIfNeeded() {
    if (const auto last = environment.userDefaults.date(PreferenceKeys::lastAutomaticUpdateCheck)) {
        // A date that lies more than a day ahead was stored while the clock was wrong.
        const qint64 passed = last->secsTo(environment.currentDate());
        if (passed < automaticCheckInterval && passed > -automaticCheckInterval)
            return;
    }
    performUpdateCheck(UpdateCheckOrigin::automatic);
}

void AppDelegate::checkForUpdates() {
    performUpdateCheck(UpdateCheckOrigin::manual);
}

void AppDelegate::performUpdateCheck(UpdateCheckOrigin origin) {
    if (isClosingViewer)
        return;
    if (updateCheckTask)
        updateCheckTask->cancel(); // the newer request replaces it, and answers alone
    updateCheckTask = updateService->check(
        [self = QPointer(this), origin](const LumvikUpdateCheckOutcome &outcome) {
            if (!self)
                return;
            if (outcome) {
                self->updateCheckSucceeded(*outcome, origin);
                return;
            }
            LumvikLog::updates().error(
                QStringLiteral("The update check did not complete successfully."));
            if (origin == UpdateCheckOrigin::manual && !self->isClosingViewer)
                self->presentUpdateStatus(QStringLiteral("Couldn’t check for updates"),
                                          outcome.error().message);
        });
}

void AppDelegate::updateCheckSucceeded(const LumvikUpdateCheckResult &result,
                                       UpdateCheckOrigin origin) {
    environment.userDefaults.set(PreferenceKeys::lastAutomaticUpdateCheck,
                                 environment.currentDate());
    if (isClosingViewer)
        return;
    if (result.available)
        presentAvailableUpdate(*result.available);
    else if (origin == UpdateCheckOrigin::manual)
        presentUpdateStatus(QStringLiteral("Lumvik is up to date"),
                            QStringLiteral("You’re using the newest available version of Lumvik."));
}

void AppDelegate::presentUpdateStatus(const QString &title, const QString &message) {
    environment.alerts.present({.style = Alert::Style::informational,
                                .messageText = title,
                                .informativeText = message,
                                .buttons = {QStringLiteral("OK")}},
                               [](int) {});
}

void AppDelegate::presentAvailableUpdate(const LumvikUpdateManifest &manifest) {
    environment.alerts.present(
        {.style = Alert::Style::informational,
         .messageText = QStringLiteral("Lumvik %1 is available").arg(shownVersion(manifest)),
         .informativeText = QStringLiteral(
             "Download the newest version from the Lumvik website when you’re ready."),
         .buttons = {QStringLiteral("Open Website"), QStringLiteral("Later")}},
        [self = QPointer(this), page = manifest.downloadUrl()](int button) {
            if (button == 0 && self)
                self->openUrl(page);
        });
}

} // namespace lumvik
