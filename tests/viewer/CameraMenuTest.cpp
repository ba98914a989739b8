#include "viewer/CameraMenu.h"

#include "Painted.h"
#include "style/Contrast.h"
#include "style/LumvikPalette.h"
#include "style/Symbols.h"
#include "viewer/CameraPicker.h"
#include "window/PopUpMenu.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QQuickWindow>
#include <QStyleOptionMenuItem>

namespace lumvik {
namespace {

using namespace test;

const QColor menuBackground(38, 38, 40);
constexpr QRect tickPlace(9, 8, 12, 12);

class CameraMenuRow : public testing::Test {
  protected:
    [[nodiscard]] QImage paint(bool isHighlighted) const {
        return painted(MirelCameraMenuItemView::size, menuBackground, [&](QPainter &painter) {
            row.draw(painter, QRectF(QPointF(), MirelCameraMenuItemView::size), isHighlighted);
        });
    }

    QAction item;
    MirelCameraMenuItemView row{&item, QStringLiteral("Front pqgy"), nullptr};
};

TEST_F(CameraMenuRow, Is210By28Points) {
    EXPECT_EQ(MirelCameraMenuItemView::size, QSize(210, 28));
}

TEST_F(CameraMenuRow, IsHighlightedWithinThreePointsAtTheSidesAndOneAboveAndBelow) {
    const QImage image = paint(true);
    const QColor &highlight = LumvikPalette::mirelBehindText();
    EXPECT_TRUE(pixelIs(image, {3, 14}, highlight));
    EXPECT_TRUE(pixelIs(image, {2, 14}, menuBackground));
    EXPECT_TRUE(pixelIs(image, {206, 14}, highlight));
    EXPECT_TRUE(pixelIs(image, {207, 14}, menuBackground));
    EXPECT_TRUE(pixelIs(image, {105, 1}, highlight));
    EXPECT_TRUE(pixelIs(image, {105, 0}, menuBackground));
    EXPECT_TRUE(pixelIs(image, {105, 26}, highlight));
    EXPECT_TRUE(pixelIs(image, {105, 27}, menuBackground));
    for (const QPoint corner : {QPoint(3, 1), QPoint(206, 1), QPoint(3, 26), QPoint(206, 26)})
        EXPECT_TRUE(pixelIs(image, corner, menuBackground)) << "the highlight has round corners";
}

TEST_F(CameraMenuRow, HasNoBackgroundUnlessHighlighted) {
    const QImage image = paint(false);
    EXPECT_EQ(pixelsLike(image, image.rect(), LumvikPalette::mirelBehindText()), 0);
    EXPECT_TRUE(pixelIs(image, {5, 14}, menuBackground));
    EXPECT_TRUE(pixelIs(image, {200, 14}, menuBackground));
}

TEST_F(CameraMenuRow, HasATickInTheAccentColour) {
    EXPECT_EQ(pixelsLike(paint(false), tickPlace, menuBackground), 144)
        << "only a selected row has a tick";
    row.isSelected = true;
    const QImage image = paint(false);
    EXPECT_GT(pixelsLike(image, tickPlace, LumvikPalette::mirel()), 5);
    EXPECT_EQ(pixelsLike(image, tickPlace, Qt::white), 0);
    EXPECT_EQ(pixelsLike(image, {0, 0, 9, 28}, menuBackground), 9 * 28)
        << "nothing is drawn beside the tick";
}

TEST_F(CameraMenuRow, HasAWhiteTickWhenHighlighted) {
    EXPECT_EQ(pixelsLike(paint(true), tickPlace, Qt::white), 0);
    row.isSelected = true;
    EXPECT_GT(pixelsLike(paint(true), tickPlace, Qt::white), 5);
}

/// Returns the colour in `area` that differs most from the background, which is the colour of the
/// text without its soft edges.
QColor inkColour(const QImage &image, const QRect &area, const QColor &behind) {
    QColor ink = behind;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (contrast(colour, behind) > contrast(ink, behind))
                ink = colour;
        }
    }
    return ink;
}

/// Returns the bounding rectangle of the name that is drawn in a row.
QRect inked(const QImage &image, const QColor &behind) {
    QRect ink;
    for (int y = 2; y < image.height() - 2; ++y) {
        for (int x = 24; x < image.width() - 5; ++x) {
            if (!looksLike(image.pixelColor(x, y), behind, 12))
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

TEST_F(CameraMenuRow, ShowsTheNameAfterTheTick) {
    const QRect ink = inked(paint(false), menuBackground);
    const QFontMetricsF metrics(systemFont(12, QFont::Medium));
    EXPECT_NEAR(ink.left(), 29, 2);
    EXPECT_NEAR(ink.width(), metrics.horizontalAdvance(QStringLiteral("Front pqgy")), 4);
    EXPECT_LE(ink.bottom(), 28 - 6);
    EXPECT_GE(ink.bottom(), 28 - 6 - metrics.descent()) << "descenders reach below the baseline";
}

TEST_F(CameraMenuRow, ShowsTheNameInWhiteWhenHighlighted) {
    EXPECT_GT(pixelsLike(paint(true), {29, 4, 120, 20}, Qt::white), 5);
    EXPECT_EQ(pixelsLike(paint(false), {29, 4, 120, 20}, Qt::white), 0);
}

TEST_F(CameraMenuRow, NameIsEasyToReadWhetherHighlightedOrNot) {
    for (const bool isHighlighted : {false, true}) {
        const QImage image = paint(isHighlighted);
        const QColor ground = image.pixelColor(200, 14);
        const QColor ink = inkColour(image, {29, 4, 120, 20}, ground);
        EXPECT_GE(contrast(ink, ground), 4.5)
            << (isHighlighted ? "highlighted" : "not highlighted");
    }
}

TEST_F(CameraMenuRow, ShortensANameThatIsTooLong) {
    row = {&item, QString(200, QLatin1Char('M')), nullptr};
    EXPECT_LE(inked(paint(false), menuBackground).right(), 210 - 10);
}

TEST_F(CameraMenuRow, RunsItsHandlerWhenChosen) {
    int runs = 0;
    row.activationHandler = [&] { ++runs; };
    row.activate();
    EXPECT_EQ(runs, 1);
    row.activationHandler = nullptr;
    row.activate();
    EXPECT_EQ(runs, 1);
}

// ---- The whole menu ----

class CameraMenuTest : public testing::Test {
  protected:
    CameraMenuTest() {
        window.resize(400, 300);
        window.show();
        picker.setSize({140, 24});
        picker.setItems({QStringLiteral("Front"), QStringLiteral("Yard & gate")});
        picker.selectItem(1);
        picker.openMenu();
        menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }
    ~CameraMenuTest() override { closePopUpMenus(); }

    [[nodiscard]] QImage row(int index) const {
        return menu->grab(menu->actionGeometry(menu->actions().at(index)))
            .toImage()
            .convertToFormat(QImage::Format_ARGB32);
    }

    QQuickWindow window;
    CameraPicker picker{{}, window.contentItem()};
    QMenu *menu = nullptr;
};

TEST_F(CameraMenuTest, StacksItsRows) {
    ASSERT_NE(menu, nullptr);
    const QRect first = menu->actionGeometry(menu->actions().at(0));
    const QRect second = menu->actionGeometry(menu->actions().at(1));
    EXPECT_EQ(first.size(), MirelCameraMenuItemView::size);
    EXPECT_EQ(second.size(), MirelCameraMenuItemView::size);
    EXPECT_EQ(second.top(), first.bottom() + 1);
    EXPECT_EQ(second.left(), first.left());
}

TEST_F(CameraMenuTest, HasTheRoundCornersOfThePicker) {
    ASSERT_NE(menu, nullptr);
    QImage drawn(menu->size(), QImage::Format_ARGB32_Premultiplied);
    drawn.fill(Qt::transparent);
    menu->render(&drawn, {}, {}, QWidget::DrawChildren);
    const QImage expected = painted(menu->size(), Qt::transparent, [&](QPainter &painter) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(menuBackground);
        painter.setPen(QColor(84, 84, 88));
        painter.drawRoundedRect(QRectF(drawn.rect()).adjusted(0.5, 0.5, -0.5, -0.5), 7.5, 7.5);
    });
    for (const QPoint corner :
         {drawn.rect().topLeft(), drawn.rect().topRight() - QPoint(3, 0),
          drawn.rect().bottomLeft() - QPoint(0, 3), drawn.rect().bottomRight() - QPoint(3, 3)}) {
        const QRect area(corner, QSize(4, 4));
        EXPECT_EQ(drawn.copy(area), expected.copy(area)) << corner.x() << ' ' << corner.y();
    }
    EXPECT_EQ(drawn.pixelColor(0, 0).alpha(), 0);
}

TEST_F(CameraMenuTest, MaskHasEveryPixelOfTheMenuAndNoOther) {
    ASSERT_NE(menu, nullptr);
    ASSERT_TRUE(menu->testAttribute(Qt::WA_TranslucentBackground));
    const QImage shape = painted(menu->size(), Qt::transparent, [&](QPainter &painter) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawRoundedRect(menu->rect(), 8, 8);
    });
    const QRegion mask = menu->mask();
    for (int y = 0; y < shape.height(); ++y) {
        for (int x = 0; x < shape.width(); ++x) {
            const int covered = shape.pixelColor(x, y).alpha();
            if (covered > 8) {
                EXPECT_TRUE(mask.contains(QPoint(x, y))) << x << ' ' << y;
            } else if (covered == 0) {
                EXPECT_FALSE(mask.contains(QPoint(x, y))) << x << ' ' << y;
            }
        }
    }
}

TEST_F(CameraMenuTest, DrawsTheHighlightAndTickOfItsRows) {
    ASSERT_NE(menu, nullptr);
    menu->setActiveAction(menu->actions().at(0));
    EXPECT_TRUE(pixelIs(row(0), {4, 14}, LumvikPalette::mirelBehindText()))
        << "the row is highlighted";
    EXPECT_EQ(pixelsLike(row(0), tickPlace, Qt::white), 0) << "the row is not selected";
    EXPECT_TRUE(pixelIs(row(1), {4, 14}, menuBackground));
    EXPECT_GT(pixelsLike(row(1), tickPlace, LumvikPalette::mirel()), 5) << "the row is ticked";
    menu->setActiveAction(menu->actions().at(1));
    EXPECT_TRUE(pixelIs(row(0), {4, 14}, menuBackground));
    EXPECT_GT(pixelsLike(row(1), tickPlace, Qt::white), 5) << "the row is ticked and highlighted";
}

TEST_F(CameraMenuTest, MovesItsTickWithTheSelection) {
    ASSERT_NE(menu, nullptr);
    menu->setActiveAction(nullptr);
    picker.selectItem(0);
    EXPECT_GT(pixelsLike(row(0), tickPlace, LumvikPalette::mirel()), 5);
    EXPECT_EQ(pixelsLike(row(1), tickPlace, menuBackground), 144);
}

} // namespace
} // namespace lumvik
