// Tests what the viewer exposes to assistive technology, and that its controls can be operated
// without a mouse.

#include "system/harness/AccessibilityFixture.h"
#include "system/harness/Eventually.h"

namespace lumvik::test {
namespace {

using AccessibilityTest = AccessibilityFixture;

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

const QString focusGained = u"object:state-changed:focused"_s;
const QString checkedChanged = u"object:state-changed:checked"_s;

/// Identifies a control by its accessible role and name.
struct Control {
    QString role;
    QString name;
};

const Control picker{u"combo box"_s, u"Choose a camera"_s};
const Control pin{u"check box"_s, u"Stay on Top"_s};
const Control focus{u"push button"_s, u"Focus on an Area"_s};
const Control close{u"push button"_s, u"Close Camera"_s};
const QList<Control> controlsInOrder{{u"menu item"_s, u"Lumvik"_s},
                                     {u"menu item"_s, u"Camera"_s},
                                     {u"menu item"_s, u"View"_s},
                                     {u"menu item"_s, u"Window"_s},
                                     {u"menu item"_s, u"Help"_s},
                                     picker,
                                     pin,
                                     focus,
                                     close};

TEST_F(AccessibilityTest, HiddenControlsAreExposedButNotAsShowing) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    for (const Control &control : controlsInOrder) {
        EXPECT_TRUE(has(control.role, control.name, u"focusable"_s)) << qPrintable(control.name);
        EXPECT_FALSE(has(control.role, control.name, u"showing"_s)) << qPrintable(control.name);
    }
    for (const Control &control : {picker, pin, focus, close})
        EXPECT_FALSE(has(control.role, control.name, u"enabled"_s)) << qPrintable(control.name);
    EXPECT_TRUE(has(u"frame"_s, u"Lumvik"_s, u"active"_s));
}

TEST_F(AccessibilityTest, StreamDetailsCanBeReadWhileTheyAreShown) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    const QString rate = u"Frame rate: "_s;
    EXPECT_FALSE(wholeTree().contains(rate));
    keyboard.press(u"ctrl+i"_s);
    // What is announced changes every ten seconds at most.
    EXPECT_TRUE(eventually(25s, [&] { return wholeTree().contains(rate + u"5.0 fps"_s); }))
        << qPrintable(wholeTree());
    EXPECT_FALSE(wholeTree().contains(password));
    keyboard.press(u"ctrl+i"_s);
    EXPECT_TRUE(eventually(10s, [&] { return !wholeTree().contains(rate); }));
}

TEST_F(AccessibilityTest, PointerRevealsTheControlsToAssistiveTechnology) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    ASSERT_NO_FATAL_FAILURE(startRememberingReader());
    ASSERT_NO_FATAL_FAILURE(showControls());
    for (const Control &control : controlsInOrder) {
        for (const QString &state : {u"showing"_s, u"enabled"_s, u"sensitive"_s})
            EXPECT_TRUE(comesToHave(control.role, control.name, state));
    }
    EXPECT_TRUE(has(u"menu bar"_s, u"Main Menu"_s, u"showing"_s));
    EXPECT_TRUE(cacheIsUpToDate());
    movePointerAway();
    EXPECT_TRUE(comesToHave(close.role, close.name, u"showing"_s, false));
    EXPECT_TRUE(cacheIsUpToDate());
}

TEST_F(AccessibilityTest, TabShowsTheControlsAndFocusesEachInOrder) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    ASSERT_NO_FATAL_FAILURE(startRememberingReader());
    EXPECT_FALSE(controlsAreVisible());
    for (const Control &control : controlsInOrder) {
        keyboard.press(u"Tab"_s);
        EXPECT_TRUE(isAnnounced(focusGained, control.role, control.name));
        EXPECT_TRUE(has(control.role, control.name, u"focused"_s)) << qPrintable(control.name);
    }
    EXPECT_TRUE(eventually(10s, [this] { return controlsAreVisible(); }));
    EXPECT_TRUE(cacheIsUpToDate());
    EXPECT_TRUE(always(1s, [this] { return controlsAreVisible(); })) << "the controls fade out";

    keyboard.press(u"Escape"_s);
    EXPECT_TRUE(isAnnounced(focusGained, u"frame"_s, u"Lumvik"_s));
    EXPECT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
    EXPECT_FALSE(has(close.role, close.name, u"focused"_s));
    EXPECT_TRUE(cacheIsUpToDate());
}

TEST_F(AccessibilityTest, PictureNamesItsCameraAndTellsWhetherItIsLive) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    const QJsonObject picture = find(u"image"_s, u"Picture of Front & back"_s);
    EXPECT_EQ(picture.value(u"description"_s), u"Live"_s);
    cameras.front()->command("refuse");
    cameras.front()->command("drop");
    EXPECT_TRUE(eventually(30s, [this] {
        return find(u"image"_s, u"Picture of Front & back"_s).value(u"description"_s) ==
               u"No picture"_s;
    }));
}

TEST_F(AccessibilityTest, PressActionTogglesThePin) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    ASSERT_NO_FATAL_FAILURE(startRememberingReader());
    keyboard.press(u"Tab"_s);
    ASSERT_TRUE(comesToHave(pin.role, pin.name, u"enabled"_s));
    EXPECT_FALSE(has(pin.role, pin.name, u"checked"_s));
    discardEvents();
    act(pin.role, pin.name, u"Press"_s);
    EXPECT_TRUE(isAnnounced(checkedChanged, pin.role, pin.name));
    EXPECT_TRUE(has(pin.role, pin.name, u"checked"_s));
    EXPECT_TRUE(eventually(10s, [this] { return viewer->isAbove(); }));
    act(pin.role, pin.name, u"Toggle"_s);
    EXPECT_TRUE(comesToHave(pin.role, pin.name, u"checked"_s, false));
    EXPECT_TRUE(eventually(10s, [this] { return !viewer->isAbove(); }));
    EXPECT_TRUE(cacheIsUpToDate());
}

TEST_F(AccessibilityTest, CameraCanBeChosenThroughAccessibilityActionsAlone) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    EXPECT_EQ(find(picker.role, picker.name).value(u"description"_s), u"Front & back"_s);
    // The hidden picker appears when it receives the keyboard focus.
    EXPECT_TRUE(reader->ask({u"focus"_s, picker.role, picker.name}).value(u"answer"_s).toBool());
    EXPECT_TRUE(isAnnounced(focusGained, picker.role, picker.name));
    ASSERT_TRUE(comesToHave(picker.role, picker.name, u"showing"_s));
    act(picker.role, picker.name, u"ShowMenu"_s);
    ASSERT_TRUE(comesToHave(u"menu item"_s, u"Yard"_s, u"showing"_s));
    EXPECT_TRUE(has(picker.role, picker.name, u"expanded"_s));
    EXPECT_TRUE(has(u"menu item"_s, u"Front & back"_s, u"checked"_s));
    EXPECT_TRUE(has(u"menu item"_s, u"Front & back"_s, u"focused"_s));
    EXPECT_FALSE(has(u"menu item"_s, u"Yard"_s, u"checked"_s));

    act(u"menu item"_s, u"Yard"_s, u"Press"_s);
    EXPECT_TRUE(viewer->waitForLog(u"default"_s, u"playback"_s,
                                   u"Loading camera index 1 for selection generation 1\\."_s, 10s));
    EXPECT_TRUE(comesToHave(u"menu item"_s, u"Yard"_s, u"showing"_s, false));
    EXPECT_TRUE(has(u"menu item"_s, u"Yard"_s, u"checked"_s));
    EXPECT_FALSE(has(u"menu item"_s, u"Front & back"_s, u"checked"_s));
    EXPECT_EQ(find(picker.role, picker.name).value(u"description"_s), u"Yard"_s);
    EXPECT_TRUE(comesToHave(u"image"_s, u"Picture of Yard"_s, u"showing"_s));
    EXPECT_TRUE(has(picker.role, picker.name, u"focused"_s));
}

TEST_F(AccessibilityTest, ArrowKeysAnnounceTheRowsOfThePicker) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    press(u"Tab"_s, 6);
    ASSERT_TRUE(isAnnounced(focusGained, picker.role, picker.name));
    keyboard.press(u"Return"_s);
    EXPECT_TRUE(isAnnounced(focusGained, u"menu item"_s, u"Front & back"_s));
    keyboard.press(u"Down"_s);
    EXPECT_TRUE(isAnnounced(focusGained, u"menu item"_s, u"Yard"_s));
    keyboard.press(u"Down"_s);
    EXPECT_TRUE(isAnnounced(focusGained, u"menu item"_s, u"Garage"_s));
    keyboard.press(u"Escape"_s);
    EXPECT_TRUE(isAnnounced(focusGained, picker.role, picker.name))
        << "the picker does not regain the focus";
    keyboard.press(u"Return"_s);
    EXPECT_TRUE(isAnnounced(focusGained, u"menu item"_s, u"Front & back"_s));
    press(u"Down"_s, 1);
    keyboard.press(u"Return"_s);
    EXPECT_TRUE(comesToHave(u"image"_s, u"Picture of Yard"_s, u"showing"_s));
}

TEST_F(AccessibilityTest, MainMenuItemsAreFoundAndPressed) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    keyboard.press(u"Tab"_s);
    ASSERT_TRUE(isAnnounced(focusGained, u"menu item"_s, u"Lumvik"_s));
    act(u"menu item"_s, u"Help"_s, u"Press"_s);
    ASSERT_TRUE(comesToHave(u"menu item"_s, u"About Lumvik"_s, u"showing"_s));
    act(u"menu item"_s, u"Camera Addresses…"_s, u"Press"_s);
    ASSERT_NO_FATAL_FAILURE(waitForEditor());
}

TEST_F(AccessibilityTest, EditorExposesItsRowsAndButtons) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    ASSERT_NO_FATAL_FAILURE(openEditor());
    EXPECT_TRUE(comesToHave(u"dialog"_s, u"Cameras"_s, u"active"_s));
    EXPECT_FALSE(has(u"frame"_s, u"Lumvik"_s, u"active"_s));
    EXPECT_TRUE(has(u"table"_s, u"Cameras"_s, u"focused"_s));
    for (const QString &title : {u"Order"_s, u"Camera Name"_s, u"RTSP Address"_s})
        EXPECT_TRUE(has(u"table column header"_s, title, u"showing"_s)) << qPrintable(title);
    EXPECT_TRUE(has(u"table cell"_s, u"Front & back"_s, u"selected"_s));
    EXPECT_TRUE(has(u"table cell"_s, u"Yard"_s, u"showing"_s));
    EXPECT_FALSE(has(u"table cell"_s, u"Yard"_s, u"selected"_s));
    EXPECT_TRUE(has(u"table cell"_s, u"Camera at 127.0.0.1"_s, u"showing"_s));
    for (const QString &button : {u"Add Camera"_s, u"Find Cameras…"_s, u"Remove"_s, u"A–Z"_s,
                                  u"Z–A"_s, u"Import…"_s, u"Export…"_s, u"Cancel"_s, u"Save"_s})
        EXPECT_TRUE(has(u"push button"_s, button, u"focusable"_s)) << qPrintable(button);
    EXPECT_EQ(find(u"push button"_s, u"A–Z"_s).value(u"description"_s),
              u"Sort camera names from A to Z"_s);
    keyboard.press(u"Down"_s);
    EXPECT_TRUE(isAnnounced(focusGained, u"table cell"_s, u"Yard"_s));
}

TEST_F(AccessibilityTest, EditorErrorsAreExposedAsAlertsWithTheirText) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    ASSERT_NO_FATAL_FAILURE(openEditor());
    act(u"push button"_s, u"Add Camera"_s, u"Press"_s);
    ASSERT_TRUE(isAnnounced(focusGained, u"text"_s, u"Camera Name 4"_s));
    keyboard.press(u"BackSpace"_s);
    keyboard.press(u"Return"_s);
    ASSERT_TRUE(isAnnounced(focusGained, u"table"_s, u"Cameras"_s));
    keyboard.press(u"Return"_s);
    ASSERT_TRUE(eventually(20s, [this] { return wholeTree().contains(u"\"alert\""_s); }));
    EXPECT_TRUE(wholeTree().contains(u"Camera name required"_s));
    keyboard.press(u"Return"_s);
}

TEST_F(AccessibilityTest, AddressesAreExposedOnlyInTheFieldThatEditsThem) {
    ASSERT_NO_FATAL_FAILURE(startViewerAndReader());
    const auto tellsNothing = [this](const QString &when) {
        const QString tree = wholeTree();
        ASSERT_TRUE(tree.contains(u"Picture of Front & back"_s));
        for (const QString &secret : {password, u"viewer:"_s, u"rtsp://"_s})
            EXPECT_FALSE(tree.contains(secret)) << qPrintable(secret) << ' ' << qPrintable(when);
    };
    tellsNothing(u"with the controls hidden"_s);
    press(u"Tab"_s, 6);
    ASSERT_TRUE(isAnnounced(focusGained, picker.role, picker.name));
    tellsNothing(u"with the controls shown"_s);
    keyboard.press(u"Return"_s);
    ASSERT_TRUE(comesToHave(u"menu item"_s, u"Yard"_s, u"showing"_s));
    tellsNothing(u"with the picker open"_s);
    keyboard.press(u"Escape"_s);
    ASSERT_NO_FATAL_FAILURE(openEditor());
    tellsNothing(u"with the editor open"_s);

    keyboard.press(u"Right"_s);
    keyboard.press(u"F2"_s);
    ASSERT_TRUE(isAnnounced(focusGained, u"text"_s, u"RTSP Address 1"_s));
    const QJsonObject field = reader->ask({u"focused"_s}).value(u"answer"_s).toObject();
    EXPECT_EQ(field.value(u"text"_s), cameras.front()->url())
        << "the text of the edited field is not exposed";
}

} // namespace
} // namespace lumvik::test
