#include "viewer/ViewerControlLayout.h"

#include <QList>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

constexpr auto regular = ViewerControlArrangement::regular;
constexpr auto compact = ViewerControlArrangement::compact;

TEST(ViewerControlArrangement, ChangesAt290Points) {
    EXPECT_EQ(viewerControlArrangement(289.9), compact);
    EXPECT_EQ(viewerControlArrangement(290), regular);
    EXPECT_EQ(viewerControlArrangement(0), compact);
    EXPECT_EQ(viewerControlArrangement(4000), regular);
}

TEST(ViewerControlFrames, FormOneRowInARegularWindow) {
    const auto frames = viewerControlFrames(
        regular, {.content = {1120, 630}, .pickerWidth = 200, .menuStripWidth = 170});
    EXPECT_EQ(frames.close, QRectF(1080, 12, 28, 24));
    EXPECT_EQ(frames.focus, QRectF(1046, 12, 28, 24));
    EXPECT_EQ(frames.pin, QRectF(1012, 12, 28, 24));
    EXPECT_EQ(frames.picker, QRectF(806, 12, 200, 24));
    EXPECT_EQ(frames.menuStrip, QRectF(12, 12, 170, 24));
}

TEST(ViewerControlFrames, GiveThePickerAtLeast140Points) {
    const auto frames = viewerControlFrames(
        regular, {.content = {1120, 630}, .pickerWidth = 60, .menuStripWidth = 170});
    EXPECT_EQ(frames.picker.width(), 140);
    EXPECT_EQ(frames.picker.right(), frames.pin.left() - 6);
}

TEST(ViewerControlFrames, PickerNeverOverlapsTheStrip) {
    const auto frames = viewerControlFrames(
        regular, {.content = {480, 270}, .pickerWidth = 1000, .menuStripWidth = 170});
    ASSERT_FALSE(frames.menuStrip.isNull());
    EXPECT_EQ(frames.picker.left(), frames.menuStrip.right() + 6);
    EXPECT_EQ(frames.picker.right(), frames.pin.left() - 6);
}

TEST(ViewerControlFrames, HideTheStripIfThereIsNoRoom) {
    const auto frames = viewerControlFrames(
        regular, {.content = {300, 270}, .pickerWidth = 1000, .menuStripWidth = 170});
    EXPECT_TRUE(frames.menuStrip.isNull());
    EXPECT_EQ(frames.picker.left(), 12);
    EXPECT_EQ(frames.picker.right(), frames.pin.left() - 6);
}

TEST(ViewerControlFrames, FormTwoRowsInACompactWindow) {
    const auto frames = viewerControlFrames(
        compact, {.content = {200, 270}, .pickerWidth = 60, .menuStripWidth = 170});
    EXPECT_EQ(frames.close, QRectF(160, 12, 28, 24));
    EXPECT_EQ(frames.focus, QRectF(126, 12, 28, 24));
    EXPECT_EQ(frames.pin, QRectF(92, 12, 28, 24));
    EXPECT_EQ(frames.picker, QRectF(12, 42, 176, 24));
    EXPECT_TRUE(frames.menuStrip.isNull());
}

TEST(ViewerControlFrames, NeverOverlapAtAnyWidth) {
    for (int width = 160; width < 2000; ++width) {
        const auto frames = viewerControlFrames(viewerControlArrangement(width),
                                                {.content = {static_cast<qreal>(width), 270},
                                                 .pickerWidth = 300,
                                                 .menuStripWidth = 170});
        const QList<QRectF> all{frames.menuStrip, frames.picker, frames.pin, frames.focus,
                                frames.close};
        for (qsizetype one = 0; one < all.size(); ++one) {
            ASSERT_GE(all[one].left(), 0) << width;
            ASSERT_LE(all[one].right(), width) << width;
            for (qsizetype other = one + 1; other < all.size(); ++other)
                ASSERT_FALSE(all[one].intersects(all[other]))
                    << width << ": " << one << ", " << other;
        }
    }
}

TEST(ViewerControls, AreShownForAnySingleReason) {
    for (unsigned reasons = 0; reasons < 32; ++reasons) {
        EXPECT_EQ(viewerControlsAreWanted({.pointerIsOverViewer = (reasons & 1U) != 0,
                                           .cameraMenuIsOpen = (reasons & 2U) != 0,
                                           .mainMenuIsOpen = (reasons & 4U) != 0,
                                           .keyboardIsOnControls = (reasons & 8U) != 0,
                                           .isSelectingFocusArea = (reasons & 16U) != 0}),
                  reasons != 0)
            << reasons;
    }
}

TEST(ViewerControlEnablement, RequiresVisibilityAndForTwoOfTheControlsAlsoACamera) {
    EXPECT_EQ(viewerControlEnablement(false, true), ViewerControlEnablement{});
    EXPECT_EQ(viewerControlEnablement(false, false), ViewerControlEnablement{});
    EXPECT_EQ(viewerControlEnablement(true, true),
              (ViewerControlEnablement{.picker = true, .pin = true, .focus = true, .close = true}));
    EXPECT_EQ(
        viewerControlEnablement(true, false),
        (ViewerControlEnablement{.picker = false, .pin = true, .focus = false, .close = true}));
}

} // namespace
} // namespace lumvik
