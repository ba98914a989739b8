// Areas that come back with their camera.

#include "AreaFixture.h"

namespace lumvik::test {
namespace {

using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

class RememberedAreaTest : public AreaFixture {
  protected:
    void setRemembers(bool remembers) {
        QAction *item = menuItem(u"Remember the Area"_s);
        ASSERT_NE(item, nullptr);
        ASSERT_NE(item->isChecked(), remembers);
        item->trigger();
    }
    void show(int camera, std::int64_t width = 1920, std::int64_t height = 1080) {
        delegate->selectCamera(camera);
        load(camera, width, height);
    }
    void load(int camera, std::int64_t width = 1920, std::int64_t height = 1080) {
        delegate->loadCamera(camera);
        delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, playerGeneration());
        reportVideo(width, height);
    }
};

TEST_F(RememberedAreaTest, NothingIsRememberedAtFirst) {
    choose(area);
    show(1);
    show(0);
    EXPECT_TRUE(isOriginal());
}

TEST_F(RememberedAreaTest, AreaComesBackWithItsCamera) {
    setRemembers(true);
    choose(area);
    settle();
    const QRect frame = window().frame();
    show(1);
    EXPECT_TRUE(isOriginal());
    settle();
    newSettings();
    show(0);
    EXPECT_TRUE(isFocused());
    EXPECT_THAT(newSettings(), IsSupersetOf(focusedSettings));
    settle();
    EXPECT_EQ(window().frame(), frame);
    delegate->toggleFocusArea();
    EXPECT_TRUE(isOriginal());
    settle();
    EXPECT_EQ(window().frame(), originalFrame);
}

TEST_F(RememberedAreaTest, AreaThatTheUserHasLeftDoesNotComeBack) {
    setRemembers(true);
    choose(area);
    delegate->toggleFocusArea();
    load(0);
    EXPECT_TRUE(isOriginal());
    show(1);
    show(0);
    EXPECT_TRUE(isOriginal());
}

TEST_F(RememberedAreaTest, AreaIsForPicturesOfItsSizeOnly) {
    setRemembers(true);
    choose(area);
    show(1);
    show(0, 1280, 720);
    EXPECT_TRUE(isOriginal());
    show(0);
    EXPECT_TRUE(isFocused()) << "It is kept for the time when the size returns.";
}

TEST_F(RememberedAreaTest, SwitchingOnRemembersTheShownAreaAndOffForgetsAll) {
    choose(area);
    setRemembers(true);
    show(1);
    choose(area);
    show(0);
    EXPECT_TRUE(isFocused());
    setRemembers(false);
    EXPECT_TRUE(isFocused()) << "What is shown stays.";
    setRemembers(true);
    show(1);
    EXPECT_TRUE(isOriginal());
    show(0);
    EXPECT_TRUE(isFocused()) << "It was shown when the memory was switched on.";
}

TEST_F(RememberedAreaTest, AreaThatIsShownForTheWholePictureTemporarilyIsStillRemembered) {
    setRemembers(true);
    choose(area);
    rightClick();
    show(1);
    show(0);
    EXPECT_TRUE(isFocused());
}

TEST_F(RememberedAreaTest, AreaInFullScreenKeepsTheWindow) {
    setRemembers(true);
    choose(area);
    show(1);
    settle();
    window().setWindowStates(Qt::WindowFullScreen);
    queue.runPending();
    const QRect whole = window().geometry();
    show(0);
    EXPECT_TRUE(isFocused());
    EXPECT_EQ(window().geometry(), whole);
    EXPECT_THAT(newSettings(), Contains("keepaspect=yes"));
}

} // namespace
} // namespace lumvik::test
