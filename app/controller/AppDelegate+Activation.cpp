// What another start of the program asks of this one, which runs already.

#include "app/controller/AppDelegate.h"
#include "platform/WindowActivation.h"
#include "viewer/ModalWindowCheck.h"

#include <QApplication>
#include <QPointer>

namespace lumvik {

bool AppDelegate::handleLaunchRequest(const LaunchRequest &request) {
    if (isClosingViewer || !window)
        return false;
    bringToFront(request.activationToken);
    performSoon(request.action);
    return true;
}

void AppDelegate::performSoon(LaunchRequest::Action action) {
    // Whoever asks waits for the answer, not for the user. And what is opened by the program's own
    // start is to be in the event loop, like all else.
    environment.mainQueue.async([self = QPointer(this), action] {
        if (self)
            self->perform(action);
    });
}

void AppDelegate::perform(LaunchRequest::Action action) {
    // An alert that waits for the user comes first, as for the main menu.
    if (isClosingViewer || modalWindowBlocksViewer())
        return;
    switch (action) {
    case LaunchRequest::Action::activate:
        break;
    case LaunchRequest::Action::showCameraAddresses:
        showCameraSettings();
        break;
    case LaunchRequest::Action::checkForUpdates:
        checkForUpdates();
        break;
    }
}

void AppDelegate::bringToFront(const QByteArray &activationToken) {
    activateWindow(*window, activationToken);
    // What stands before the viewer stays there, and has the keyboard.
    if (settingsController)
        settingsController->bringToFront();
    if (QWidget *dialog = QApplication::activeModalWidget())
        activateWindow(*dialog->windowHandle(), {});
}

} // namespace lumvik
