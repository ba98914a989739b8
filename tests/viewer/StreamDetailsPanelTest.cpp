#include "viewer/StreamDetailsPanel.h"

#include "Painted.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

QList<StreamDetailsRow> rows(int count) {
    QList<StreamDetailsRow> rows;
    for (int row = 0; row < count; ++row)
        rows.append({u"Label %1"_s.arg(row), u"Value %1"_s.arg(row)});
    return rows;
}

TEST(StreamDetailsPanel, LiesBelowTheControlsAtTheRight) {
    QQuickItem content;
    StreamDetailsPanel panel(&content);
    panel.layOut({1120, 630}, 36);
    panel.setRows(rows(14));
    EXPECT_EQ(panel.x() + panel.width(), 1120 - 12);
    EXPECT_GT(panel.y(), 36);
    EXPECT_LT(panel.y() + panel.height(), 630);
}

TEST(StreamDetailsPanel, StaysInsideSmallWindows) {
    for (const QSizeF &content :
         {QSizeF(480, 270), QSizeF(160, 160), QSizeF(160, 60), QSizeF(20, 20)}) {
        QQuickItem parent;
        StreamDetailsPanel panel(&parent);
        panel.layOut(content, 36);
        panel.setRows(rows(14));
        if (panel.size().isEmpty())
            continue;
        EXPECT_TRUE(QRectF(QPointF(), content).contains(QRectF(panel.position(), panel.size())))
            << content.width();
    }
}

TEST(StreamDetailsPanel, IsReadableOverEveryPicture) {
    QQuickItem content;
    StreamDetailsPanel panel(&content);
    panel.layOut({1120, 630}, 36);
    panel.setRows(rows(3));
    for (const QColor &ground : {QColor(Qt::black), QColor(Qt::white)}) {
        const QImage image = paintedItem(panel, ground);
        int brightest = 0;
        for (int y = 10; y < image.height() - 10; ++y) {
            for (int x = image.width() / 2; x < image.width() - 10; ++x)
                brightest = std::max(brightest, qGray(image.pixel(x, y)));
        }
        EXPECT_GT(brightest, 230) << "the values";
        EXPECT_LT(qGray(image.pixel(4, image.height() / 2)), 80) << "the ground";
    }
}

TEST(StreamDetailsPanel, DoesNotTwitchWhenAValueBecomesShorter) {
    QQuickItem content;
    StreamDetailsPanel panel(&content);
    panel.layOut({1120, 630}, 36);
    panel.setRows({{u"Label"_s, u"a long value"_s}});
    const qreal width = panel.width();
    panel.setRows({{u"Label"_s, u"–"_s}});
    EXPECT_EQ(panel.width(), width);
}

} // namespace
} // namespace lumvik::test
