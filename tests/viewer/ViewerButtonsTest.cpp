#include "viewer/ViewerButtons.h"

#include "Painted.h"
#include "style/LumvikPalette.h"
#include "style/Symbols.h"

namespace lumvik {
namespace {

using namespace test;

QColor black(float alpha) {
    return QColor::fromRgbF(0, 0, 0, alpha);
}

/// Returns the colour of the button where no symbol covers it.
QColor fill(ViewerButton &button) {
    return paintedItem(button, Qt::transparent).pixelColor(3, 12);
}

constexpr QRectF symbolPlace(28 / 2.0 - 6.5, 24 / 2.0 - 6.5, 13, 13);

/// Returns the image of the symbol `name` drawn over the colour `ground`.
QImage symbol(const QString &name, const QColor &ground) {
    return painted({28, 24}, ground,
                   [&](QPainter &painter) {
                       painter.setRenderHint(QPainter::Antialiasing);
                       Symbols::draw(painter, name, symbolPlace, Qt::white);
                   })
        .copy(symbolPlace.toAlignedRect());
}

#define EXPECT_SYMBOL(button, name)                                                                \
    EXPECT_EQ(paintedItem(button, Qt::transparent).copy(symbolPlace.toAlignedRect()),              \
              symbol(QStringLiteral(name), fill(button)))

class ViewerButtonsTest : public testing::Test {
  protected:
    ViewerButtonsTest() {
        for (ViewerButton *button : QList<ViewerButton *>{&pin, &focus, &close})
            button->setSize({28, 24});
    }

    PinToggleButton pin{nullptr};
    FocusViewerButton focus{nullptr};
    CloseViewerButton close{nullptr};
};

TEST_F(ViewerButtonsTest, AreDarkAndTranslucent) {
    EXPECT_TRUE(looksLike(fill(pin), black(0.76F)));
    EXPECT_TRUE(looksLike(fill(focus), black(0.76F)));
    EXPECT_TRUE(looksLike(fill(close), black(0.76F)));
}

TEST_F(ViewerButtonsTest, FillTheirBoundsExceptHalfAPointAndTheRoundCorners) {
    const QImage image = paintedItem(close, Qt::transparent);
    EXPECT_TRUE(pixelIs(image, {1, 12}, black(0.76F)));
    EXPECT_TRUE(pixelIs(image, {26, 12}, black(0.76F)));
    EXPECT_TRUE(pixelIs(image, {14, 1}, black(0.76F)));
    EXPECT_TRUE(pixelIs(image, {14, 22}, black(0.76F)));
    // The outer pixels are half covered, and belong to the light line around the button.
    const QColor edge = painted({1, 1}, Qt::transparent, [](QPainter &painter) {
                            painter.fillRect(0, 0, 1, 1, black(0.38F));
                            painter.fillRect(0, 0, 1, 1, QColor::fromRgbF(1, 1, 1, 0.36F));
                        }).pixelColor(0, 0);
    EXPECT_TRUE(pixelIs(image, {0, 12}, edge));
    EXPECT_TRUE(pixelIs(image, {14, 23}, edge));
    for (const QPoint corner : {QPoint(0, 0), QPoint(27, 0), QPoint(0, 23), QPoint(27, 23)})
        EXPECT_TRUE(pixelIs(image, corner, Qt::transparent));
}

TEST_F(ViewerButtonsTest, HaveDifferentSymbols) {
    const QStringList names{QStringLiteral("pin"), QStringLiteral("pin.fill"),
                            QStringLiteral("viewfinder"), QStringLiteral("arrow.counterclockwise"),
                            QStringLiteral("xmark")};
    QList<QImage> symbols;
    for (const QString &name : names) {
        const QImage image = symbol(name, Qt::black);
        EXPECT_GT(pixelsLike(image, image.rect(), Qt::white), 0) << qPrintable(name);
        EXPECT_FALSE(symbols.contains(image)) << qPrintable(name);
        symbols.append(image);
    }
}

TEST_F(ViewerButtonsTest, PinHasTheAccentColourAndAFilledSymbolWhenOn) {
    EXPECT_SYMBOL(pin, "pin");
    pin.setOn(true);
    EXPECT_TRUE(looksLike(fill(pin), LumvikPalette::mirel()));
    EXPECT_SYMBOL(pin, "pin.fill");
    pin.setOn(false);
    EXPECT_TRUE(looksLike(fill(pin), black(0.76F)));
    EXPECT_SYMBOL(pin, "pin");
}

TEST_F(ViewerButtonsTest, ClickTogglesThePinBeforeItsActionRuns) {
    QList<bool> states;
    pin.setAction([&] { states.append(pin.isOn()); });
    pin.performClick();
    pin.performClick();
    EXPECT_EQ(states, (QList<bool>{true, false}));
}

TEST_F(ViewerButtonsTest, FocusButtonIsDarkerDuringAnAreaSelection) {
    focus.setSelectingArea(true);
    EXPECT_TRUE(looksLike(fill(focus), black(0.9F)));
    EXPECT_SYMBOL(focus, "viewfinder");
    focus.setShowsRestoreIcon(true);
    EXPECT_TRUE(looksLike(fill(focus), black(0.9F)))
        << "the colour depends only on whether an area is being selected";
    EXPECT_SYMBOL(focus, "arrow.counterclockwise");
}

TEST_F(ViewerButtonsTest, FocusButtonHasTheRestoreSymbolWhileAnAreaIsShown) {
    EXPECT_SYMBOL(focus, "viewfinder");
    focus.setShowsRestoreIcon(true);
    EXPECT_TRUE(looksLike(fill(focus), black(0.76F)));
    EXPECT_SYMBOL(focus, "arrow.counterclockwise");
    focus.setShowsRestoreIcon(false);
    EXPECT_SYMBOL(focus, "viewfinder");
}

TEST_F(ViewerButtonsTest, CloseButtonShowsACross) {
    EXPECT_SYMBOL(close, "xmark");
}

TEST_F(ViewerButtonsTest, HaveLabels) {
    EXPECT_EQ(pin.label(), QStringLiteral("Stay on Top"));
    pin.setOn(true);
    EXPECT_EQ(pin.label(), QStringLiteral("Stay on Top"));
    EXPECT_EQ(close.label(), QStringLiteral("Close Camera"));
}

TEST_F(ViewerButtonsTest, LabelOfTheFocusButtonDescribesTheNextClick) {
    EXPECT_EQ(focus.label(), QStringLiteral("Focus on an Area"));
    focus.setSelectingArea(true);
    EXPECT_EQ(focus.label(), QStringLiteral("Cancel Area Selection"));
    focus.setSelectingArea(false);
    EXPECT_EQ(focus.label(), QStringLiteral("Focus on an Area"));
    focus.setShowsRestoreIcon(true);
    EXPECT_EQ(focus.label(), QStringLiteral("Show Original View"));
    focus.setSelectingArea(true);
    EXPECT_EQ(focus.label(), QStringLiteral("Show Original View"));
}

TEST_F(ViewerButtonsTest, UnavailablePinLooksDisabled) {
    EXPECT_EQ(pin.look(), ControlLook::idle);
    pin.setUnavailableOnWayland();
    EXPECT_EQ(pin.look(), ControlLook::disabled);
}

TEST_F(ViewerButtonsTest, DisabledButtonsDoNothing) {
    int clicks = 0;
    close.setAction([&] { ++clicks; });
    close.setEnabled(false);
    close.performClick();
    EXPECT_EQ(clicks, 0);
    close.setEnabled(true);
    close.performClick();
    EXPECT_EQ(clicks, 1);
}

} // namespace
} // namespace lumvik
