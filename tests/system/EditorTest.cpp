// Tests of the camera list editor in the whole program: adding and moving cameras, and cancelling.

#include "system/harness/ColourBars.h"
#include "system/harness/EditorFixture.h"

namespace lumvik::test {
namespace {

using EditorTest = EditorFixture;

using namespace std::chrono_literals;

TEST_F(EditorTest, CameraAddedToAnEmptyListPlays) {
    CameraSetup setup;
    CameraProcess *camera = startCamera(setup);
    ASSERT_TRUE(camera);
    startViewer();
    ASSERT_TRUE(eventually(20s, [this] { return viewer->hasFocus(); }));
    // Opens the first menu of the menu strip, so that Return chooses the menu's first item.
    pointer.moveTo(onScreen(controls().menuStrip().topLeft() + QPoint(20, 12)));
    pointer.click();
    ASSERT_TRUE(eventually(
        20s, [this] { return !viewer->popUps().isEmpty() && desktop.x().keyboardIsGrabbed(); }));
    keyboard.press(QStringLiteral("Return"));
    ASSERT_NO_FATAL_FAILURE(waitForEditor());

    // "Add Camera" is the first button.
    keyboard.press(QStringLiteral("Tab"));
    keyboard.press(QStringLiteral("space"));
    type(QStringLiteral("Yard"));
    keyboard.press(QStringLiteral("Tab"));
    type(camera->url());
    keyboard.press(QStringLiteral("Return")); // The first Return ends the edit.
    keyboard.press(QStringLiteral("Return")); // The second Return saves the list.
    ASSERT_TRUE(eventually(20s, [this] { return editorIsClosed(); })) << "the list is not saved";
    EXPECT_EQ(storedNames(), QStringList(QStringLiteral("Yard")));
    ASSERT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(EditorTest, RowCanBeMovedByDragging) {
    CameraProcess *camera = startCamera();
    ASSERT_TRUE(camera);
    QList<ListedCamera> listed;
    for (const char *name : {"One", "Two", "Three"})
        listed.append({QString::fromLatin1(name), camera->url()});
    home.writeCameras(listed);
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openEditor());
    const QPoint first = selectedRow();
    // Dropping a row on the lower half of the first row moves it below the first row.
    const QPoint gap = handle(first, 0) + QPoint(0, 6);
    pointer.moveTo(handle(first, 2));
    pointer.press();
    pointer.glideTo(gap + QPoint(30, 0), 20);
    // A line in the accent colour marks where the dragged row will be dropped. The dragged row
    // leaves the left end of this line uncovered.
    EXPECT_TRUE(eventually(10s, [&] { return gapIsMarked(first, 1); })) << "nothing marks the gap";
    pointer.release();
    keyboard.press(QStringLiteral("Return"));
    ASSERT_TRUE(eventually(20s, [this] { return editorIsClosed(); }));
    EXPECT_EQ(storedNames(),
              (QStringList{QStringLiteral("One"), QStringLiteral("Three"), QStringLiteral("Two")}));
}

TEST_F(EditorTest, EscapeCancelsTheEditAndASecondEscapeClosesTheEditor) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openEditor());
    type(QStringLiteral("nonsense"));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(always(500ms, [this] { return !editorIsClosed(); }));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(20s, [this] { return editorIsClosed(); }));
    EXPECT_FALSE(storedNames().contains(QStringLiteral("nonsense")));
    EXPECT_TRUE(pictureFillsTheWindow()) << "the viewer does not show its picture";
}

TEST_F(EditorTest, FirstClickOnAControlOfTheInactiveViewerTakesEffect) {
    ASSERT_TRUE(startListedCamera());
    home.setPreference(QStringLiteral("mainWindowFrame"), QStringLiteral("{{0, 0}, {640, 360}}"));
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openEditor());
    xdotool(desktop, {QStringLiteral("windowmove"), QString::number(editor), QStringLiteral("690"),
                      QStringLiteral("100")});
    // The viewer's controls appear because one of the program's windows is active.
    pointer.moveTo(onScreen(QPoint(200, 200)));
    pointer.glideTo(onScreen(QPoint(260, 220)));
    ASSERT_TRUE(eventually(20s, [this] { return controlsAreVisible(); }));
    ASSERT_EQ(desktop.x().focusedWindow(), editor);
    pointer.moveTo(onScreen(controls().pin()));
    pointer.click();
    EXPECT_TRUE(eventually(20s, [this] {
        return desktop.x()
            .atomNames(viewer->window(), "_NET_WM_STATE")
            .contains(QStringLiteral("_NET_WM_STATE_ABOVE"));
    })) << "the first click did nothing";
}

} // namespace
} // namespace lumvik::test
