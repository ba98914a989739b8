// Tests that a picture can be saved in a file.

#include "system/harness/AreaFixture.h"
#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"

#include <QDir>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

class SavedPictureTest : public AreaFixture {
  protected:
    /// Saves the picture and returns it, or a null image if no new file appears.
    QImage savedPicture() {
        const qsizetype before = files().size();
        keyboard.press(u"ctrl+s"_s);
        if (!eventually(10s, [&] { return files().size() > before; }))
            return {};
        return QImage(folder().filePath(files().last()));
    }
    [[nodiscard]] QDir folder() const { return QDir(home.picturesFolder()); }
    [[nodiscard]] QStringList files() const {
        return folder().entryList({u"*.png"_s}, QDir::Files, QDir::Time | QDir::Reversed);
    }
};

TEST_F(SavedPictureTest, HasTheSizeOfTheCameraWhateverTheSizeOfTheWindow) {
    CameraSetup setup;
    setup.size = {480, 360};
    setup.pixelRatio = {4, 3};
    ASSERT_TRUE(startListedCamera(setup));
    startViewer();
    ASSERT_TRUE(viewer->waitForLiveVideo());
    ASSERT_TRUE(pictureFillsTheWindow());
    const QImage ordinary = savedPicture();
    EXPECT_EQ(ordinary.size(), QSize(640, 360));
    EXPECT_TRUE(showsColourBars(ordinary));
    keyboard.press(u"F11"_s);
    ASSERT_TRUE(reachesFrame(desktop.area()));
    const QImage full = savedPicture();
    EXPECT_EQ(full.size(), QSize(640, 360));
    EXPECT_TRUE(showsColourBars(full)) << "without the bars of the full screen";
}

TEST_F(SavedPictureTest, ContainsTheAreaAsItIsSeen) {
    ASSERT_TRUE(showCamera(180));
    ASSERT_NO_FATAL_FAILURE(selectArea({100, 330, 400, 200}));
    ASSERT_TRUE(showsArea({100, 330, 400, 200}));
    const QImage area = savedPicture();
    EXPECT_EQ(area.size(), QSize(400, 200));
    // The camera's picture is upside down: its last bars are at the left.
    const QColor left = area.pixelColor(20, 100);
    EXPECT_TRUE(left.blue() > 150 && left.red() < 60 && left.green() < 60)
        << qPrintable(left.name());
    const QColor right = area.pixelColor(370, 100);
    EXPECT_TRUE(right.blue() > 150 && right.red() > 150 && right.green() < 60)
        << qPrintable(right.name());
}

} // namespace
} // namespace lumvik::test
