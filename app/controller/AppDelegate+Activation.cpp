// Requests of later instances and of the desktop to this running instance.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "platform/WindowActivation.h"
#include "viewer/ModalWindowCheck.h"

#include <QApplication>
#include <QPointer>

namespace lumvik {

bool AppDelegate::handleLaunchRequest(const LaunchRequest &request) {
    if (isClosingViewer || !window)
        return false;
    if (request.action == LaunchRequest::Action::startAtLogin)
        return true;
    bringToFront(request.activationToken);
    performSoon(request.action);
    return true;
}

void AppDelegate::performSoon(LaunchRequest::Action action) {
    // The client is waiting for a reply, which must not depend on the user. At launch, the deferral
    // also opens windows only once the event loop is running.
    environment.mainQueue.async([self = QPointer(this), action] {
        if (self)
            self->perform(action);
    });
}

void AppDelegate::perform(LaunchRequest::Action action) {
    // The user must answer an open alert first, as before using the main menu.
    if (isClosingViewer || modalWindowBlocksViewer())
        return;
    switch (action) {
    case LaunchRequest::Action::activate:
    case LaunchRequest::Action::startAtLogin:
        break;
    case LaunchRequest::Action::showCameraAddresses:
        showCameraSettings();
        break;
    case LaunchRequest::Action::checkForUpdates:
        checkForUpdates();
        break;
    }
}

void AppDelegate::setStartsAtLogin(bool starts) {
    const auto changed = environment.autostart.setOn(starts);
    if (changed)
        return;
    environment.alerts.present(
        {.style = Alert::Style::warning,
         .messageText = QStringLiteral("Start at Login could not be changed."),
         .informativeText = QStringLiteral("The desktop's entry for Lumvik cannot be written: %1.")
                                .arg(LumvikLog::redacted(changed.error())),
         .buttons = {QStringLiteral("OK")}},
        [](int) {});
}

void AppDelegate::bringToFront(const QByteArray &activationToken) {
    activateWindow(*window, activationToken);
    // Windows that were in front of the viewer stay there and get the keyboard focus.
    if (settingsController)
        settingsController->bringToFront();
    if (QWidget *dialog = QApplication::activeModalWidget())
        activateWindow(*dialog->windowHandle(), {});
}

} // namespace lumvik
