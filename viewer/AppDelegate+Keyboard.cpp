// The keyboard in the viewer: the way over the controls, the main menu and its key equivalents.

#include "app/AppDelegate.h"

#include <QKeyEvent>
#include <QPointer>

namespace lumvik {

void AppDelegate::layKeyboardPath() {
    QList<ViewerControl *> controls{cameraPicker, stayOnTopButton, focusViewerButton,
                                    closeViewerButton};
    for (MainMenuTitle *title : mainMenuStrip->titles())
        controls.append(title);
    keyboardPath = std::make_unique<KeyboardPath>(*window, controls);
    keyboardPath->setChanged([self = QPointer(this)] {
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
    return walkControls(event) || mainMenu->performKeyEquivalent(event);
}

bool AppDelegate::walkControls(const QKeyEvent &event) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (event.key() == Qt::Key_Tab && modifiers == Qt::NoModifier)
        return keyboardPath->walk(KeyboardPath::Direction::forwards);
    if (event.key() == Qt::Key_Backtab &&
        (modifiers == Qt::ShiftModifier || modifiers == Qt::NoModifier))
        return keyboardPath->walk(KeyboardPath::Direction::backwards);
    if (event.key() != Qt::Key_Escape || modifiers != Qt::NoModifier)
        return false;
    // The keyboard may have left the surface while an area is being chosen there.
    if (interactionView->isSelectingFocusArea()) {
        interactionView->cancelFocusSelection(CancellationNotice::notify);
        return true;
    }
    return keyboardPath->leave();
}

void AppDelegate::mouseDown() {
    if (isClosingViewer || !keyboardPath->isOnControls())
        return;
    // It is over the viewer, even if it has not moved since it last counted as away from it.
    pointerIsOverViewer = true;
    keyboardPath->leave();
}

void AppDelegate::openMainMenu() {
    // The strip is shown first, at once, so that the menu opens under its title.
    mainMenuIsOpen = true;
    updateViewerControls(false);
    mainMenuStrip->openMenu(0);
    mainMenuIsOpen = mainMenuStrip->menuIsOpen();
    updateViewerControls(true);
}

} // namespace lumvik
