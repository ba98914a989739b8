#include "editor/CameraTableView.h"

#include "CameraSettingsFixture.h"
#include "style/Contrast.h"
#include "style/FixedPitchFont.h"

#include <QDrag>
#include <QHeaderView>

namespace lumvik {
namespace {

using namespace test;

/// Returns the column of the first pixel in `area` that differs clearly from the pixel at the left
/// of its line, or -1.
int firstInk(const QImage &image, const QRect &area) {
    for (int x = area.left(); x <= area.right(); ++x) {
        for (int y = area.top(); y <= area.bottom(); ++y) {
            if (contrast(image.pixelColor(x, y), image.pixelColor(area.left(), y)) > 2)
                return x;
        }
    }
    return -1;
}

TEST_F(CameraSettings, ColumnTitlesBeginExactlyAboveTheTextsInTheFields) {
    open({{u"Camera Name"_s, u"RTSP Address"_s}, {u"b"_s, u"b"_s}}, 1);
    const QHeaderView &header = *table().horizontalHeader();
    const QImage titles = table().horizontalHeader()->grab().toImage();
    const QImage rows = table().viewport()->grab().toImage();
    for (const int column : {nameColumn, addressColumn}) {
        const QRect title(header.sectionViewportPosition(column), 0, header.sectionSize(column),
                          titles.height());
        // The outline of the field does not belong to the text.
        const QRect text = CameraFieldDelegate::fieldRect(table().visualRect(cell(0, column)))
                               .adjusted(3, 3, -3, -3);
        ASSERT_GE(firstInk(titles, title), 0);
        EXPECT_NEAR(firstInk(titles, title), firstInk(rows, text), 1) << column;
    }
}

TEST_F(CameraSettings, AddressesHaveAFixedPitchIfTheDesktopHasSuchAFont) {
    open({u"a"_s});
    table().editCell(0, addressColumn);
    ASSERT_NE(field(), nullptr);
    EXPECT_EQ(field()->font().family(), fixedPitchFont(12, 13).family());
    EXPECT_EQ(field()->font().pixelSize(), fixedPitchFont(12, 13).pixelSize());
}

TEST_F(CameraSettings, PictureOfADraggedRowHasTransparentCorners) {
    open({u"a"_s, u"b"_s, u"c"_s});
    const QPointF start = middleOf(1, nameColumn);
    QTest::mousePress(table().viewport(), Qt::LeftButton, {}, start.toPoint());
    // The first move begins the drag, and the second one asks for its picture. Without a display,
    // the drag ends at once.
    for (const int distance : {20, 40}) {
        const QPointF position = start + QPointF(0, distance);
        QMouseEvent move(QEvent::MouseMove, position, table().viewport()->mapToGlobal(position),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(table().viewport(), &move);
    }
    const auto *drag = table().findChild<QDrag *>();
    ASSERT_NE(drag, nullptr);
    const QImage picture = drag->pixmap().toImage();
    ASSERT_FALSE(picture.isNull());
    const int right = picture.width() - 1;
    const int bottom = picture.height() - 1;
    for (const QPoint corner : {QPoint(2, 1), QPoint(right - 2, 1), QPoint(2, bottom - 1),
                                QPoint(right - 2, bottom - 1), QPoint(0, 20)})
        EXPECT_EQ(picture.pixelColor(corner).alpha(), 0) << corner.x() << ' ' << corner.y();
    const int inside = picture.pixelColor(5, 20).alpha();
    EXPECT_GT(inside, 150);
    EXPECT_LT(inside, 255) << "the drop position beneath the picture must be visible";
}

} // namespace
} // namespace lumvik
