// Update checks: when they run and how their results are shown.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceKeysAndDefaults.h"
#include "updates/UpdateSchedule.h"

#include <QPointer>

namespace lumvik {

namespace {

/// The longest version that an alert shows unabridged, in UTF-16 code units.
constexpr int longestShownVersion = 40;

/// Returns the version, shortened if necessary to fit into an alert. The server determines its
/// length.
QString shownVersion(const LumvikUpdateManifest &manifest) {
    return manifest.version.size() <= longestShownVersion
               ? manifest.version
               : manifest.version.first(longestShownVersion) + u'…';
}

} // namespace

void AppDelegate::checkForUpdatesIfNeeded() {
    if (automaticUpdateCheckIsDue(
            environment.userDefaults.date(PreferenceKeys::lastAutomaticUpdateCheck),
            environment.currentDate()))
        performUpdateCheck(UpdateCheckOrigin::automatic);
}

void AppDelegate::checkForUpdates() {
    performUpdateCheck(UpdateCheckOrigin::manual);
}

void AppDelegate::performUpdateCheck(UpdateCheckOrigin origin) {
    if (isClosingViewer)
        return;
    if (updateCheckTask)
        updateCheckTask->cancel(); // only the newest check reports its result
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
    presentInformation(title, message);
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
