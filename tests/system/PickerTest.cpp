// Tests of the camera picker: its menu, operated with the mouse and the keyboard, and switching
// between cameras.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/ViewerFixture.h"

#include <QElapsedTimer>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

const QColor accentColour(203, 93, 82);
/// The background of a highlighted row.
const QColor highlightColour(189, 85, 74);

class PickerTest : public ViewerFixture {
  protected:
    /// Starts a camera and adds it to the camera list.
    void addCamera(const QString &name, QSize size = QSize(640, 360)) {
        CameraSetup setup;
        setup.name = name;
        setup.size = size;
        setup.framesPerSecond = 10;
        setup.keyFrameInterval = 10;
        CameraProcess *camera = startCamera(setup);
        ASSERT_TRUE(camera);
        m_listed.append({name, camera->url()});
        home.writeCameras(m_listed);
    }
    /// Adds two cameras that differ in their aspect ratio.
    void addTwoCameras() {
        ASSERT_NO_FATAL_FAILURE(addCamera(QStringLiteral("Front"), {640, 360}));
        ASSERT_NO_FATAL_FAILURE(addCamera(QStringLiteral("Yard"), {640, 480}));
    }
    /// Writes a camera list that contains one camera under four names.
    void listFourNames() {
        ASSERT_NO_FATAL_FAILURE(addCamera(QStringLiteral("Front")));
        for (const char *name : {"Yard", "Garage", "Gate"})
            m_listed.append({QString::fromLatin1(name), m_listed.first().url});
        home.writeCameras(m_listed);
    }

    void openPicker() {
        ASSERT_NO_FATAL_FAILURE(showControls());
        // A tool tip also counts as a pop-up, so an open tool tip must close first.
        ASSERT_TRUE(eventually(20s, [this] { return viewer->popUps().isEmpty(); }));
        pointer.moveTo(onScreen(controls().picker()));
        pointer.click();
        ASSERT_TRUE(eventually(20s, [this] { return !viewer->popUps().isEmpty(); }))
            << "the picker's menu does not open";
        menu = desktop.x().geometry(viewer->popUps().value(0)).value_or(QRect());
    }
    [[nodiscard]] bool menuIsClosed() const { return viewer->popUps().isEmpty(); }

    /// Returns the rectangle of a row of the open menu in screen coordinates. The first row has the
    /// index 0.
    [[nodiscard]] QRect row(int index) const {
        constexpr QSize size(210, 28);
        const int count = static_cast<int>(m_listed.size());
        // The rows fill the menu except for equal margins at its edges.
        return {
            QPoint(menu.x() + (menu.width() - size.width()) / 2,
                   menu.y() + (menu.height() - count * size.height()) / 2 + index * size.height()),
            size};
    }
    /// Returns the rows whose background to the right of the name has the colour of the
    /// highlight.
    [[nodiscard]] QList<int> highlightedRows() const {
        QList<int> rows;
        for (int index = 0; index < m_listed.size(); ++index) {
            const QRect area(row(index).topLeft() + QPoint(150, 4), QSize(50, 20));
            if (colourDistance(meanColour(screen.area(area), QRect(QPoint(), area.size())),
                               highlightColour) <= 1)
                rows.append(index);
        }
        return rows;
    }
    /// Returns the rectangle in the menu that is filled with the colour of the highlight.
    [[nodiscard]] QRect highlight() const {
        const QImage picture = screen.area(menu);
        const auto isFilled = [&](int x, int y) {
            return colourDistance(picture.pixelColor(x, y), highlightColour) <= 1;
        };
        const int column = picture.width() * 3 / 4; // to the right of the names
        int top = 0;
        while (top < picture.height() - 1 && !isFilled(column, top))
            ++top;
        int bottom = top;
        while (bottom < picture.height() - 1 && isFilled(column, bottom + 1))
            ++bottom;
        const int line = top + 7; // below the rounded corner and above the tick and the name
        int left = 10;
        while (left > 0 && isFilled(left - 1, line))
            --left;
        int right = column;
        while (right < picture.width() - 1 && isFilled(right + 1, line))
            ++right;
        return QRect(QPoint(left, top), QPoint(right, bottom)).translated(menu.topLeft());
    }
    /// Returns the rows with a tick. The tick is white on a highlighted row, and has the accent
    /// colour on other rows.
    [[nodiscard]] QList<int> tickedRows() const {
        QList<int> rows;
        for (int index = 0; index < m_listed.size(); ++index) {
            const QImage mark =
                screen.area(QRect(row(index).topLeft() + QPoint(9, 8), QSize(12, 12)));
            const QColor ground = mark.pixelColor(0, 0);
            const bool isHighlighted = colourDistance(ground, highlightColour) <= 1;
            const QColor ink = isHighlighted ? QColor(Qt::white) : accentColour;
            int pixels = 0;
            for (int y = 0; y < mark.height(); ++y) {
                for (int x = 0; x < mark.width(); ++x)
                    pixels += static_cast<int>(colourDistance(mark.pixelColor(x, y), ink) <= 48);
            }
            if (pixels >= 6)
                rows.append(index);
        }
        return rows;
    }
    [[nodiscard]] testing::AssertionResult highlights(int index) const {
        QList<int> rows;
        if (eventually(10s, [&] { return (rows = highlightedRows()) == QList<int>{index}; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "rows " << testing::PrintToString(rows);
    }
    [[nodiscard]] testing::AssertionResult hasTicked(int index) const {
        QList<int> rows;
        if (eventually(10s, [&] { return (rows = tickedRows()) == QList<int>{index}; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "rows " << testing::PrintToString(rows);
    }
    [[nodiscard]] testing::AssertionResult cameraIsLoaded(int index) const {
        return viewer->waitForLog(
            QStringLiteral("default"), QStringLiteral("playback"),
            QStringLiteral("Loading camera index %1 for selection generation 1\\.").arg(index),
            10s);
    }

    void expectYardIsShown() {
        EXPECT_TRUE(eventually(40s, [this] {
            return bool{hasShape({640, 480})};
        })) << hasShape({640, 480}).message();
        EXPECT_TRUE(pictureFillsTheWindow());
        EXPECT_TRUE(eventually(
            10s, [this] { return home.preference(QStringLiteral("selectedCameraIndex")) == 1; }));
        EXPECT_TRUE(cameraIsLoaded(1));
    }

    QRect menu; // the rectangle of the open menu, in screen coordinates

  private:
    QList<ListedCamera> m_listed;
};

TEST_F(PickerTest, CameraChosenByTheMouseIsShownAndRemembered) {
    ASSERT_NO_FATAL_FAILURE(addTwoCameras());
    startViewerAndWaitForPicture();
    ASSERT_TRUE(hasShape({640, 360}));
    ASSERT_NO_FATAL_FAILURE(openPicker());
    pointer.moveTo(row(1).center());
    EXPECT_TRUE(highlights(1));
    pointer.click();
    expectYardIsShown();
    EXPECT_TRUE(eventually(10s, [this] { return menuIsClosed(); }));

    endViewer();
    startViewerAndWaitForPicture();
    EXPECT_TRUE(
        viewer->hasLogged(QStringLiteral("default"), QStringLiteral("playback"),
                          QStringLiteral("Loading camera index 1 for selection generation 0\\.")));
    EXPECT_TRUE(eventually(10s, [this] { return bool{hasShape({640, 480})}; }));
    ASSERT_NO_FATAL_FAILURE(openPicker());
    EXPECT_TRUE(hasTicked(1));
    keyboard.press(QStringLiteral("Escape"));
    movePointerAway();
}

TEST_F(PickerTest, CameraChosenByDraggingFromThePickerIsShown) {
    ASSERT_NO_FATAL_FAILURE(addTwoCameras());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(showControls());
    pointer.moveTo(onScreen(controls().picker()));
    pointer.press();
    ASSERT_TRUE(eventually(20s, [this] { return !menuIsClosed(); }));
    menu = desktop.x().geometry(viewer->popUps().value(0)).value_or(QRect());
    pointer.glideTo(row(1).center());
    EXPECT_TRUE(highlights(1));
    pointer.release();
    expectYardIsShown();
    movePointerAway();
}

TEST_F(PickerTest, CameraChosenByTheKeyboardIsShown) {
    ASSERT_NO_FATAL_FAILURE(addTwoCameras());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openPicker());
    keyboard.press(QStringLiteral("Down"));
    keyboard.press(QStringLiteral("Return"));
    expectYardIsShown();
    movePointerAway();
}

TEST_F(PickerTest, RowCanBeClickedAfterASinglePointerMotion) {
    ASSERT_NO_FATAL_FAILURE(addTwoCameras());
    startViewerAndWaitForPicture();
    // The picker follows the five titles of the main menu in the Tab order.
    constexpr int placeOnTheKeyboardsPath = 6;
    for (int place = 0; place < placeOnTheKeyboardsPath; ++place)
        keyboard.press(QStringLiteral("Tab"));
    ASSERT_TRUE(eventually(10s, [this] { return controlsAreVisible(); }));
    keyboard.press(QStringLiteral("Return"));
    ASSERT_TRUE(eventually(20s, [this] { return !menuIsClosed(); }));
    menu = desktop.x().geometry(viewer->popUps().value(0)).value_or(QRect());
    pointer.moveTo(row(1).center());
    pointer.click();
    expectYardIsShown();
    movePointerAway();
}

TEST_F(PickerTest, KeysMoveTheHighlightButNotTheTick) {
    ASSERT_NO_FATAL_FAILURE(listFourNames());
    home.setPreference(QStringLiteral("selectedCameraIndex"), 1);
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openPicker());
    EXPECT_TRUE(highlights(1))
        << "the row of the current camera is not highlighted when the menu opens";
    EXPECT_TRUE(hasTicked(1));
    EXPECT_EQ(highlight(), QRect(row(1).topLeft() + QPoint(3, 1), QSize(210 - 6, 28 - 2)));
    const struct {
        const char *key;
        int row;
    } walk[] = {{"Down", 2}, {"Down", 3}, {"Up", 2}, {"Home", 0}, {"End", 3}, {"Home", 0}};
    for (const auto &step : walk) {
        SCOPED_TRACE(step.key);
        keyboard.press(QString::fromLatin1(step.key));
        EXPECT_TRUE(highlights(step.row));
        EXPECT_TRUE(hasTicked(1));
    }
    keyboard.press(QStringLiteral("End"));
    keyboard.press(QStringLiteral("Return"));
    EXPECT_TRUE(eventually(10s, [this] { return menuIsClosed(); }));
    EXPECT_TRUE(cameraIsLoaded(3));

    ASSERT_NO_FATAL_FAILURE(openPicker());
    EXPECT_TRUE(highlights(3));
    EXPECT_TRUE(hasTicked(3));
    keyboard.press(QStringLiteral("Escape"));
    movePointerAway();
}

TEST_F(PickerTest, EscapeClosesTheMenuWithoutSwitchingTheCamera) {
    ASSERT_NO_FATAL_FAILURE(addTwoCameras());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openPicker());
    keyboard.press(QStringLiteral("Down"));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(10s, [this] { return menuIsClosed(); }));
    EXPECT_TRUE(hasShape({640, 360}));
    EXPECT_FALSE(viewer->hasLogged(QStringLiteral("default"), QStringLiteral("playback"),
                                   QStringLiteral("Loading camera index 1 .*")));
    ASSERT_NO_FATAL_FAILURE(openPicker());
    EXPECT_TRUE(hasTicked(0));
    keyboard.press(QStringLiteral("Escape"));
    movePointerAway();
}

TEST_F(PickerTest, ControlsStayVisibleWhileTheMenuIsOpen) {
    ASSERT_NO_FATAL_FAILURE(addTwoCameras());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openPicker());
    movePointerAway();
    EXPECT_TRUE(always(1s, [this] { return controlsAreVisible(); }));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
}

TEST_F(PickerTest, MenuClosesBeforeThePictureChanges) {
    ASSERT_NO_FATAL_FAILURE(listFourNames());
    startViewerAndWaitForPicture();
    ASSERT_NO_FATAL_FAILURE(openPicker());
    pointer.moveTo(row(2).center());
    ASSERT_TRUE(highlights(2));
    // One screenshot captures the menu's row and the picture at the same moment. Every screenshot
    // that shows the row must also show the old picture.
    const QRect place = viewer->geometry();
    const QRect bar = pixelsOf(PictureLayout::bar(3), place.size())
                          .translated(place.topLeft())
                          .adjusted(40, 150, -40, -60);
    const QRect filled(row(2).topLeft() + QPoint(150, 4), QSize(50, 20));
    const QRect both = bar.united(filled);
    pointer.click();
    QElapsedTimer time;
    time.start();
    bool pictureChanged = false;
    while (time.elapsed() < 20000 && !pictureChanged) {
        const QImage moment = screen.area(both);
        const bool menuIsThere =
            colourDistance(meanColour(moment, filled.translated(-both.topLeft())),
                           highlightColour) <= 1;
        pictureChanged = colourDistance(meanColour(moment, bar.translated(-both.topLeft())),
                                        QColor(0, 191, 0)) > 60;
        ASSERT_FALSE(menuIsThere && pictureChanged);
    }
    EXPECT_TRUE(pictureChanged) << "the old picture never disappeared";
    EXPECT_TRUE(cameraIsLoaded(2));
    movePointerAway();
}

/// Switches between two cameras, which are distinguished by the names in their pictures.
class CameraSwitchTest : public PickerTest, public testing::WithParamInterface<QSize> {
  protected:
    /// Returns the part of the picture that contains the camera's name, scaled to a fixed size. The
    /// image is null while no camera's picture fills the window.
    [[nodiscard]] QImage nameShown() const {
        const QImage picture = screen.window(viewer->window());
        constexpr int barsClearOfTheMenu = 4;
        for (int bar = 0; bar < barsClearOfTheMenu; ++bar) {
            const auto &colour = PictureLayout::barColours.at(static_cast<std::size_t>(bar));
            const QRect area = pixelsOf(PictureLayout::bar(bar), picture.size());
            const QRect middle = area.adjusted(area.width() / 4, area.height() / 4,
                                               -area.width() / 4, -area.height() / 20);
            if (colourDistance(meanColour(picture, middle),
                               QColor(colour.red, colour.green, colour.blue)) > 12)
                return {};
        }
        return picture.copy(pixelsOf(PictureLayout::name, picture.size()))
            .scaled(280, 64, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    /// Whether both images show the same name, regardless of their sharpness.
    [[nodiscard]] static bool isSameName(const QImage &one, const QImage &other) {
        return shareOfDifferentPixels(one, other) < 0.15;
    }
};

TEST_P(CameraSwitchTest, OldPictureNeverReappearsAfterTheNewOne) {
    ASSERT_NO_FATAL_FAILURE(addCamera(QStringLiteral("I")));
    ASSERT_NO_FATAL_FAILURE(addCamera(QStringLiteral("WWWWWWWWWW"), GetParam()));
    startViewerAndWaitForPicture();
    for (const int target : {1, 0, 1, 0}) {
        SCOPED_TRACE(target);
        ASSERT_NO_FATAL_FAILURE(openPicker());
        // The open menu does not cover the parts of the picture that are compared.
        keyboard.press(target == 1 ? QStringLiteral("End") : QStringLiteral("Home"));
        ASSERT_TRUE(highlights(target));
        const QImage old = nameShown();
        ASSERT_FALSE(old.isNull());
        keyboard.press(QStringLiteral("Return"));
        bool oldHasGone = false;
        QElapsedTimer time;
        time.start();
        QElapsedTimer sinceNew;
        while (time.elapsed() < 40000 && !(sinceNew.isValid() && sinceNew.elapsed() > 1500)) {
            const QImage now = nameShown();
            const bool isOld = !now.isNull() && isSameName(now, old);
            ASSERT_FALSE(oldHasGone && isOld)
                << "the old picture is back after " << time.elapsed() << " ms";
            oldHasGone = oldHasGone || !isOld;
            if (!now.isNull() && !isOld && !sinceNew.isValid())
                sinceNew.start();
        }
        EXPECT_TRUE(sinceNew.isValid()) << "the chosen camera is not shown";
        EXPECT_TRUE(pictureFillsTheWindow());
        EXPECT_FALSE(isSameName(nameShown(), old));
    }
    movePointerAway();
}

INSTANTIATE_TEST_SUITE_P(Shapes, CameraSwitchTest,
                         testing::Values(QSize(640, 360), QSize(640, 480)),
                         [](const testing::TestParamInfo<QSize> &size) {
                             return std::to_string(size.param.width()) + "x" +
                                    std::to_string(size.param.height());
                         });

} // namespace
} // namespace lumvik::test
