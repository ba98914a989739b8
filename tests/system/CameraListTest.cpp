// Tests how the viewer handles the camera list that it finds at start.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/ViewerFixture.h"

#include <QFile>

#include <gmock/gmock.h>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class CameraListTest : public ViewerFixture {
  protected:
    /// Whether the window shows light text in the middle of a black background.
    [[nodiscard]] testing::AssertionResult showsEmptyState() const {
        return screen.waitUntil(
            viewer->window(),
            [](const QImage &picture) -> testing::AssertionResult {
                QRect middle(0, 0, picture.width() - 160, 80);
                middle.moveCenter(picture.rect().center());
                if (shareOfLightPixels(picture, middle, 100) < 0.005)
                    return testing::AssertionFailure() << "there is no text in the middle";
                QRect below(0, picture.height() / 2 + 60, picture.width(), picture.height() / 4);
                if (!isDark(picture, below, 8))
                    return testing::AssertionFailure() << "the window is not black";
                return testing::AssertionSuccess();
            },
            20s);
    }

    [[nodiscard]] bool playerWasStarted() const {
        return viewer->hasLogged(QStringLiteral("default"), QStringLiteral("playback"),
                                 QStringLiteral("Starting video engine generation .*"));
    }
};

TEST_F(CameraListTest, FirstStartShowsTheEmptyStateAndWritesNothing) {
    startViewer();
    EXPECT_TRUE(showsEmptyState());
    EXPECT_TRUE(viewer->waitForLog(QStringLiteral("info"), QStringLiteral("configuration"),
                                   QStringLiteral("No camera configuration exists yet\\."), 10s));
    EXPECT_TRUE(always(2s, [this] { return !playerWasStarted(); }));
    endViewer();
    EXPECT_FALSE(playerWasStarted());
    EXPECT_TRUE(home.dataFolderEntries().isEmpty());
}

TEST_F(CameraListTest, WindowWithoutCamerasIsCentredOnTheScreenAndItsMenusOpen) {
    startViewer();
    QRect centred(QPoint(), QSize(1120, 630));
    centred.moveCenter(desktop.area().center());
    EXPECT_EQ(viewer->geometry(), centred);
    ASSERT_TRUE(showsEmptyState());
    EXPECT_TRUE(screen.waitUntil(
        viewer->window(),
        [this](const QImage &picture) {
            return testing::AssertionResult(
                shareOfLightPixels(picture, controls().menuStrip(), 160) > 0.01);
        },
        10s))
        << "no titles in the menu strip";
    pointer.moveTo(onScreen(QPoint(30, 24)));
    pointer.click();
    EXPECT_TRUE(eventually(10s, [this] { return !viewer->popUps().isEmpty(); }))
        << "the first menu does not open";
}

TEST_F(CameraListTest, ValidListIsCopiedForRecovery) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QByteArray list = home.readDataFile(QStringLiteral("cameras.json"));
    EXPECT_EQ(home.readDataFile(QStringLiteral("cameras.last-good.json")), list);
    EXPECT_EQ(QFile::permissions(home.dataFolder() + QStringLiteral("/cameras.last-good.json")) &
                  (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
              QFile::Permissions());
}

TEST_F(CameraListTest, LastGoodListIsUsedWhenTheListIsDamaged) {
    ASSERT_TRUE(startListedCamera());
    home.writeDataFile(QStringLiteral("cameras.last-good.json"),
                       home.readDataFile(QStringLiteral("cameras.json")));
    home.writeDataFile(QStringLiteral("cameras.json"), "{\"cameras\": [{\"na");
    startViewerAndWaitForPicture();
    EXPECT_TRUE(viewer->hasLogged(
        QStringLiteral("error"), QStringLiteral("configuration"),
        QStringLiteral(
            "Primary camera configuration is invalid; attempting owner-only recovery\\.")));
    EXPECT_TRUE(viewer->hasLogged(
        QStringLiteral("default"), QStringLiteral("configuration"),
        QStringLiteral("Recovered 1 cameras from the last-known-good configuration\\.")));
    EXPECT_EQ(home.readDataFile(QStringLiteral("cameras.json")), "{\"cameras\": [{\"na");
}

TEST_F(CameraListTest, EmptyStateIsShownWhenBothListsAreDamaged) {
    home.writeDataFile(QStringLiteral("cameras.json"), "\xFF\xFE nothing");
    home.writeDataFile(QStringLiteral("cameras.last-good.json"), "[]");
    startViewer();
    EXPECT_TRUE(viewer->waitForLog(
        QStringLiteral("error"), QStringLiteral("configuration"),
        QStringLiteral("No usable camera configuration could be loaded\\."), 10s));
    EXPECT_TRUE(showsEmptyState());
    EXPECT_FALSE(playerWasStarted());
}

} // namespace
} // namespace lumvik::test
