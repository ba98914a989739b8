// The keyboard in the viewer: moving between the controls, the main menu and its key equivalents.

#include "app/controller/AppDelegate.h"

#include <QKeyEvent>
#include <QPointer>

namespace lumvik {

void AppDelegate::setUpKeyboardNavigation() {
    QList<ViewerControl *> controls{cameraPicker, stayOnTopButton, focusViewerButton,
                                    closeViewerButton};
    for (MainMenuTitle *title : mainMenuStrip->titles())
        controls.append(title);
    controls.append(emptyStateLabel->links());
    controls.append(pictureSupervisor.createNotice(window->contentItem()));
    controls.append(pictureExporter.createNotice(window->contentItem()));
    keyboardNavigation = std::make_unique<KeyboardNavigation>(*window, controls);
    keyboardNavigation->setChanged([self = QPointer(this)] {
        if (self)
            self->updateViewerControls(true);
    });
}

bool AppDelegate::keyDown(QKeyEvent &event) {
    if (isClosingViewer)
        return false;
    if (event.key() == Qt::Key_F10 || event.key() == Qt::Key_Menu) {
        openMainMenu();
        return true;
    }
    return moveKeyboardFocus(event) || moveMagnifiedPicture(event) ||
           mainMenu->performKeyEquivalent(event);
}

bool AppDelegate::moveKeyboardFocus(const QKeyEvent &event) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (event.key() == Qt::Key_Tab && modifiers == Qt::NoModifier)
        return keyboardNavigation->moveFocus(KeyboardNavigation::Direction::forwards);
    if (event.key() == Qt::Key_Backtab &&
        (modifiers == Qt::ShiftModifier || modifiers == Qt::NoModifier))
        return keyboardNavigation->moveFocus(KeyboardNavigation::Direction::backwards);
    if (event.key() != Qt::Key_Escape || modifiers != Qt::NoModifier)
        return false;
    // The interaction view may have lost the keyboard focus since the selection began, so Escape
    // may arrive here instead.
    if (interactionView->isSelectingFocusArea()) {
        interactionView->cancelFocusSelection(CancellationNotice::notify);
        return true;
    }
    return keyboardNavigation->clearFocus() || zoomController.reset() || leaveFullScreen();
}

bool AppDelegate::moveMagnifiedPicture(const QKeyEvent &event) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers != Qt::NoModifier || !zoomController.isMagnified() ||
        keyboardNavigation->isOnControls())
        return false;
    switch (event.key()) {
    case Qt::Key_Left:
        zoomController.moveView({-1, 0});
        return true;
    case Qt::Key_Right:
        zoomController.moveView({1, 0});
        return true;
    case Qt::Key_Up:
        zoomController.moveView({0, -1});
        return true;
    case Qt::Key_Down:
        zoomController.moveView({0, 1});
        return true;
    default:
        return false;
    }
}

void AppDelegate::mouseDown() {
    if (isClosingViewer || !keyboardNavigation->isOnControls())
        return;
    // The pointer is over the viewer, even if it has not moved since the program lost the focus and
    // the controls were hidden.
    pointerIsOverViewer = true;
    keyboardNavigation->clearFocus();
}

void AppDelegate::openMainMenu() {
    // The strip is shown first and without a fade, so that the menu opens below a visible title.
    mainMenuIsOpen = true;
    updateViewerControls(false);
    mainMenuStrip->openMenu(0);
    mainMenuIsOpen = mainMenuStrip->menuIsOpen();
    updateViewerControls(true);
}

} // namespace lumvik
