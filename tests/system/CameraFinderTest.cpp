// The way from an empty camera list to a live picture by "Find Cameras…", with the viewer and the
// camera on two simulated machines.

#include "system/harness/EditorFixture.h"
#include "system/harness/NetworkNamespace.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class CameraFinderTest : public EditorFixture {
  protected:
    void SetUp() override {
        if (const QString obstacle = NetworkNamespace::obstacle(); !obstacle.isNull())
            GTEST_SKIP() << obstacle.toStdString();
        EditorFixture::SetUp();
        ASSERT_TRUE(network.start());
        viewerLauncher = network.viewer().launcher();
    }

    void TearDown() override {
        viewer.reset(); // The viewer must end before its network namespace does.
        EditorFixture::TearDown();
    }

    /// Opens the sheet from the empty window.
    void openSheet() {
        startViewer();
        ASSERT_TRUE(eventually(20s, [this] { return viewer->hasFocus(); }));
        // "Find Cameras…" is the only item of the menu "Camera" that is enabled without a camera.
        ASSERT_NO_FATAL_FAILURE(chooseMenuItem(1, 1));
        ASSERT_TRUE(dialogAppears(QStringLiteral("Find Cameras")));
        findEditor();
        sheet = desktop.x().focusedWindow();
    }
    /// Whether a row is drawn as selected between two heights of the sheet (from 0 to 1).
    [[nodiscard]] bool rowIsSelected(double from, double to) const {
        const QRect place = desktop.x().geometry(sheet).value_or(QRect());
        const QImage column =
            screen.area(QRect(place.left() + place.width() / 2, place.top(), 1, place.height()));
        for (int y = static_cast<int>(from * column.height()); y < to * column.height(); ++y) {
            if (colourDistance(column.pixelColor(0, y), QColor(189, 85, 74)) <= 2)
                return true;
        }
        return false;
    }

    CameraNetwork network;
    xcb_window_t sheet = XCB_NONE;
};

TEST_F(CameraFinderTest, EmptyListGetsACameraWhosePictureIsShown) {
    CameraSetup setup;
    setup.name = QStringLiteral("Yard");
    setup.user = QStringLiteral("viewer");
    setup.password = QStringLiteral("p@ss/word:%");
    setup.address = CameraNetwork::cameraAddress;
    setup.launcher = network.camera().launcher();
    setup.isFoundByOnvif = true;
    CameraProcess *camera = startCamera(setup);
    ASSERT_TRUE(camera);
    ASSERT_NO_FATAL_FAILURE(openSheet());

    ASSERT_TRUE(eventually(20s, [this] { return rowIsSelected(0, 0.6); })) << "nothing is found";
    keyboard.press(QStringLiteral("Tab"));
    type(setup.user);
    keyboard.press(QStringLiteral("Tab"));
    type(setup.password);
    keyboard.press(QStringLiteral("Return"));
    ASSERT_TRUE(eventually(20s, [this] { return rowIsSelected(0.7, 1); })) << "no streams";
    keyboard.press(QStringLiteral("Return")); // Add
    keyboard.press(QStringLiteral("Return")); // Close
    ASSERT_TRUE(eventually(20s, [this] { return editorHasFocus(); }));
    keyboard.press(QStringLiteral("Return")); // Save
    ASSERT_TRUE(eventually(20s, [this] { return editorIsClosed(); })) << "the list is not saved";
    EXPECT_EQ(storedNames(), QStringList(QStringLiteral("Yard")));
    EXPECT_EQ(storedAddresses(), QStringList(camera->url()));
    EXPECT_TRUE(viewer->waitForLiveVideo());
    EXPECT_EQ(camera->command("refusals"), QStringLiteral("ok 0"));
}

TEST_F(CameraFinderTest, SheetIsClosedByEscapeAndTheEditorStaysOpen) {
    ASSERT_NO_FATAL_FAILURE(openSheet());
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(20s, [this] { return editorHasFocus(); }));
    EXPECT_FALSE(editorIsClosed());
}

} // namespace
} // namespace lumvik::test
