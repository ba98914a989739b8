// Tests the selection of an area: what the window shows during the selection, and every way to
// cancel it.

#include "system/harness/AreaFixture.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class AreaSelectionTest : public AreaFixture {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(AreaFixture::SetUp());
        ASSERT_TRUE(showCamera());
        original = viewer->geometry();
    }

    /// Whether the selection ended without a result and left the window unchanged.
    [[nodiscard]] testing::AssertionResult selectionIsCancelled() const {
        if (const auto bare = becomesUndimmed(); !bare)
            return bare;
        // If the selection had succeeded, the viewer would show the selected area within this
        // second.
        const bool stays = always(1s, [this] {
            return viewer->geometry() == original && std::abs(brightness() - 1) < 0.02;
        });
        if (!stays)
            return testing::AssertionFailure() << "the picture or the window changes afterwards";
        return testing::AssertionSuccess();
    }

    QRect original;
};

TEST_F(AreaSelectionTest, PictureIsDimmedOutsideTheRectangleAndTheBadgeShowsInstructions) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    // `badge` contains the badge with its text. `beside` is a rectangle of the same size above the
    // badge, in the brightness ramp of the picture.
    const QRect badge(original.width() / 2 - 70, original.height() - 18 - 24, 140, 22);
    const QRect beside(original.width() / 2 - 70, original.height() - 18 - 24 - 40, 140, 22);
    const auto badgeIsThere = [&](const QImage &picture) -> testing::AssertionResult {
        if (shareOfLightPixels(picture, badge, 160) < 0.03)
            return testing::AssertionFailure() << "there is no text in the badge";
        if (shareOfLightPixels(picture, badge, 50) > 0.5)
            return testing::AssertionFailure() << "the badge is not dark";
        if (shareOfLightPixels(picture, beside, 160) > 0 ||
            shareOfLightPixels(picture, beside, 50) < 1)
            return testing::AssertionFailure() << "the picture beside the badge is not dimmed";
        return testing::AssertionSuccess();
    };
    EXPECT_TRUE(screen.waitUntil(viewer->window(), badgeIsThere, 10s));
    const QImage before = screen.window(viewer->window()).copy(badge);

    dragWithoutRelease({160, 60}, {480, 280});
    const auto rectangleIsBare = [](const QImage &picture) -> testing::AssertionResult {
        const QColor inside = meanColour(picture, QRect(170, 70, 140, 200));
        const QColor outside = meanColour(picture, QRect(20, 70, 130, 200));
        if (colourDistance(inside, QColor(191, 191, 0)) > 12)
            return testing::AssertionFailure()
                   << "inside the rectangle the colour is " << inside.name().toStdString();
        if (colourDistance(outside, QColor(111, 111, 111)) > 12)
            return testing::AssertionFailure()
                   << "outside the rectangle the colour is " << outside.name().toStdString();
        // The outline is dashed, and its gaps are two thirds as long as its dashes.
        const double white = shareOfLightPixels(picture, QRect(200, 60, 240, 1), 230);
        if (white < 0.4 || white > 0.8)
            return testing::AssertionFailure() << "the outline is white for " << white;
        return testing::AssertionSuccess();
    };
    EXPECT_TRUE(screen.waitUntil(viewer->window(), rectangleIsBare, 10s));
    EXPECT_TRUE(screen.waitUntil(viewer->window(), badgeIsThere, 10s));
    EXPECT_GT(shareOfDifferentPixels(before, screen.window(viewer->window()).copy(badge)), 0.05)
        << "the text of the badge does not change during the drag";
    keyboard.press(QStringLiteral("Escape"));
    pointer.release();
}

TEST_F(AreaSelectionTest, EscapeCancelsTheSelection) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(selectionIsCancelled());
}

TEST_F(AreaSelectionTest, EscapeDuringADragCancelsTheSelection) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({160, 60}, {480, 280});
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(becomesUndimmed());
    pointer.glideTo(onScreen(QPoint(500, 300)), 3);
    pointer.release();
    EXPECT_TRUE(selectionIsCancelled());
    // The cancelled drag must not affect the next selection.
    ASSERT_NO_FATAL_FAILURE(selectArea({160, 0, 320, 314}));
    EXPECT_TRUE(showsArea({160, 0, 320, 314}));
}

TEST_F(AreaSelectionTest, RightClickCancelsTheSelectionWithoutEnlargingTheWindow) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    pointer.moveTo(original.center());
    pointer.click(Pointer::Button::right);
    EXPECT_TRUE(selectionIsCancelled());

    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({160, 60}, {480, 280});
    pointer.click(Pointer::Button::right);
    EXPECT_TRUE(becomesUndimmed());
    pointer.release();
    EXPECT_TRUE(selectionIsCancelled());
}

TEST_F(AreaSelectionTest, AreaButtonCancelsTheSelection) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().area()));
    EXPECT_TRUE(selectionIsCancelled());
}

TEST_F(AreaSelectionTest, ClickOrTooNarrowDragCancelsTheSelection) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    pointer.moveTo(original.center());
    pointer.click();
    EXPECT_TRUE(selectionIsCancelled());

    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({160, 60}, {171, 280});
    pointer.release();
    EXPECT_TRUE(selectionIsCancelled());
}

TEST_F(AreaSelectionTest, SmallestAcceptedDragIsTwelveByTwelvePoints) {
    ASSERT_NO_FATAL_FAILURE(selectArea({160, 60, 12, 12}));
    EXPECT_TRUE(reachesFrame({485, 185, 630, 630}));
    EXPECT_TRUE(showsArea({160, 60, 12, 12}));
}

TEST_F(AreaSelectionTest, DragOutOfTheWindowIsClippedToThePicture) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    // The drag leaves the window at the top right, so the clipped area is exactly the red and the
    // blue bar.
    dragWithoutRelease({800, 314}, {1120 + 90, -70});
    pointer.release();
    movePointerAway();
    EXPECT_TRUE(reachesFrame({479, 185, 642, 630}));
    EXPECT_TRUE(showsArea({800, 0, 320, 314}));
}

TEST_F(AreaSelectionTest, LosingTheKeyboardFocusCancelsTheSelection) {
    DesktopProgram *other = startWhiteWindow({0, 0, 200, 100});
    ASSERT_TRUE(other);
    xdotool(desktop, {QStringLiteral("windowactivate"), QString::number(viewer->window())});
    ASSERT_TRUE(eventually(10s, [this] { return viewer->hasFocus(); }));
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({160, 60}, {480, 280});
    xdotool(desktop, {QStringLiteral("windowfocus"), QString::number(other->window())});
    EXPECT_TRUE(becomesUndimmed());
    EXPECT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
    // The user finishes the drag although the selection has already been cancelled.
    pointer.glideTo(onScreen(QPoint(600, 400)), 3);
    pointer.release();
    EXPECT_TRUE(selectionIsCancelled());
    EXPECT_FALSE(controlsAreVisible());

    xdotool(desktop, {QStringLiteral("windowactivate"), QString::number(viewer->window())});
    ASSERT_TRUE(eventually(10s, [this] { return viewer->hasFocus(); }));
    ASSERT_NO_FATAL_FAILURE(selectArea({160, 0, 320, 314}));
    EXPECT_TRUE(showsArea({160, 0, 320, 314}));
}

TEST_F(AreaSelectionTest, ClicksBeforeTheChosenAreaIsShownAreIgnored) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({160, 0}, {480, 314});
    // A single xdotool call sends all clicks, so they arrive during the short pause before the
    // selected area is shown.
    xdotool(desktop, {QStringLiteral("mouseup"), QStringLiteral("1"), QStringLiteral("click"),
                      QStringLiteral("1"), QStringLiteral("click"), QStringLiteral("3"),
                      QStringLiteral("mousedown"), QStringLiteral("1"),
                      QStringLiteral("mousemove_relative"), QStringLiteral("30"),
                      QStringLiteral("30"), QStringLiteral("mouseup"), QStringLiteral("1")});
    movePointerAway();
    EXPECT_TRUE(reachesFrame({479, 185, 642, 630}));
    EXPECT_TRUE(showsArea({160, 0, 320, 314}));
}

TEST_F(AreaSelectionTest, ControlsStayVisibleUntilTheSelectionEnds) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    movePointerAway();
    EXPECT_TRUE(always(1s, [this] { return controlsAreVisible(); }));
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
    EXPECT_TRUE(selectionIsCancelled());
}

} // namespace
} // namespace lumvik::test
