// The editor of the camera list in its real window.

#include "ColourBars.h"
#include "Eventually.h"
#include "Pixels.h"
#include "ViewerTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

const QColor houseColour(203, 93, 82);

class EditorTest : public ViewerTest {
  protected:
    void openEditor() {
        keyboard.press(QStringLiteral("ctrl+comma"));
        waitForEditor();
    }
    void waitForEditor() {
        ASSERT_TRUE(eventually(20s, [this] {
            findEditor();
            return editor != XCB_NONE && desktop.x().focusedWindow() == editor;
        })) << "the editor does not open";
    }
    void findEditor() {
        editor = XCB_NONE;
        for (const xcb_window_t each : viewer->windowsOnScreen()) {
            if (desktop.x().title(each) == QLatin1String("Cameras"))
                editor = each;
        }
    }
    [[nodiscard]] bool editorIsClosed() {
        findEditor();
        return editor == XCB_NONE;
    }
    void type(const QString &text) {
        xdotool(desktop,
                {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), text});
    }
    /// The top left corner of the selected row on the screen, once it is drawn.
    [[nodiscard]] QPoint selectedRow() const {
        std::optional<QPoint> found;
        EXPECT_TRUE(eventually(20s, [&] {
            found = houseColouredRow();
            return found.has_value();
        })) << "no row is selected";
        return found.value_or(QPoint());
    }
    /// The top left corner of what is filled with the house colour.
    [[nodiscard]] std::optional<QPoint> houseColouredRow() const {
        const QRect window = desktop.x().geometry(editor).value_or(QRect());
        const QImage picture = screen.area(window);
        const auto isHouseColour = [&](int x, int y) {
            return colourDistance(picture.pixelColor(x, y), houseColour) <= 2;
        };
        // Rounded corners begin a little later than the row; a line in its middle tells its left.
        for (int y = 0; y + 20 < picture.height(); ++y) {
            if (!isHouseColour(picture.width() / 2, y))
                continue;
            int x = 0;
            while (x < picture.width() && !isHouseColour(x, y + 20))
                ++x;
            return window.topLeft() + QPoint(x, y);
        }
        return std::nullopt;
    }
    /// The middle of a row's handle, where `first` is the first row's top left corner.
    [[nodiscard]] static QPoint handle(QPoint first, int row) {
        constexpr int rowHeight = 44;
        return first + QPoint(13, rowHeight / 2 + row * rowHeight);
    }
    [[nodiscard]] QStringList storedNames() const {
        QStringList names;
        const QJsonObject document =
            QJsonDocument::fromJson(home.readDataFile(QStringLiteral("cameras.json"))).object();
        for (const auto &camera : document.value(QStringLiteral("cameras")).toArray())
            names.append(camera.toObject().value(QStringLiteral("name")).toString());
        return names;
    }

    xcb_window_t editor = XCB_NONE;
};

TEST_F(EditorTest, FirstCameraIsAddedFromTheEmptyStateAndPlays) {
    CameraSetup setup;
    CameraProcess *camera = startCamera(setup);
    ASSERT_TRUE(camera);
    startViewer();
    ASSERT_TRUE(eventually(20s, [this] { return viewer->hasFocus(); }));
    // The strip's first menu, and its first item.
    pointer.moveTo(onScreen(controls().menuStrip().topLeft() + QPoint(20, 12)));
    pointer.click();
    ASSERT_TRUE(eventually(
        20s, [this] { return !viewer->popUps().isEmpty() && desktop.x().keyboardIsGrabbed(); }));
    keyboard.press(QStringLiteral("Return"));
    ASSERT_NO_FATAL_FAILURE(waitForEditor());

    // "Add Camera" has the first place in the row of buttons.
    keyboard.press(QStringLiteral("Tab"));
    keyboard.press(QStringLiteral("space"));
    type(QStringLiteral("Yard"));
    keyboard.press(QStringLiteral("Tab"));
    type(camera->url());
    keyboard.press(QStringLiteral("Return")); // ends the edit
    keyboard.press(QStringLiteral("Return")); // saves
    ASSERT_TRUE(eventually(20s, [this] { return editorIsClosed(); })) << "it is not saved";
    EXPECT_EQ(storedNames(), QStringList(QStringLiteral("Yard")));
    ASSERT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(EditorTest, RowIsDraggedIntoAnotherPlace) {
    CameraProcess *camera = startCamera();
    ASSERT_TRUE(camera);
    QList<ListedCamera> listed;
    for (const char *name : {"One", "Two", "Three"})
        listed.append({QString::fromLatin1(name), camera->url()});
    home.writeCameras(listed);
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openEditor());
    const QPoint first = selectedRow();
    // The lower half of the first row means the gap under it.
    const QPoint gap = handle(first, 0) + QPoint(0, 6);
    pointer.moveTo(handle(first, 2));
    pointer.press();
    pointer.glideTo(gap + QPoint(30, 0), 20);
    // A line in the house colour marks it, left of the row that hangs at the pointer.
    EXPECT_TRUE(eventually(10s, [&] {
        const QRect line(first + QPoint(8, 42), QSize(10, 2));
        return colourDistance(meanColour(screen.area(line), QRect(QPoint(), line.size())),
                              houseColour) < 40;
    })) << "nothing marks the gap";
    pointer.release();
    keyboard.press(QStringLiteral("Return"));
    ASSERT_TRUE(eventually(20s, [this] { return editorIsClosed(); }));
    EXPECT_EQ(storedNames(),
              (QStringList{QStringLiteral("One"), QStringLiteral("Three"), QStringLiteral("Two")}));
}

TEST_F(EditorTest, EscapeLeavesTheEditAndThenTheWindow) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openEditor());
    type(QStringLiteral("nonsense"));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(always(500ms, [this] { return !editorIsClosed(); }));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(20s, [this] { return editorIsClosed(); }));
    EXPECT_FALSE(storedNames().contains(QStringLiteral("nonsense")));
    EXPECT_TRUE(pictureFillsTheWindow()) << "the viewer goes on";
}

TEST_F(EditorTest, FirstClickOnAControlOfTheViewerBehindActsAtOnce) {
    ASSERT_TRUE(startListedCamera());
    home.setPreference(QStringLiteral("mainWindowFrame"), QStringLiteral("{{0, 0}, {640, 360}}"));
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openEditor());
    xdotool(desktop, {QStringLiteral("windowmove"), QString::number(editor), QStringLiteral("690"),
                      QStringLiteral("100")});
    // The program is the active one, so the controls of its other window come up.
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
