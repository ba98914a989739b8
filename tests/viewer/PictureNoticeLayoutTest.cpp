#include "viewer/PictureNoticeLayout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lumvik::test {
namespace {

/// A line of text that is `length` points long on one line, and 18 points high per line.
std::function<qreal(qreal)> line(qreal length) {
    return [length](qreal width) { return width <= 0 ? 0 : 18 * std::ceil(length / width); };
}

PictureNoticeSizes message(const QSizeF &content) {
    return {.content = content,
            .controlsBottom = content.width() < 290 ? 66.0 : 36.0,
            .titleHeight = line(300),
            .causeHeight = line(320),
            .nextHeight = line(150),
            .tryNow = {80, 28},
            .addresses = {150, 28}};
}

QList<QRectF> partsOf(const PictureNoticeFrames &frames) {
    QList<QRectF> parts;
    for (const QRectF &part :
         {frames.title, frames.cause, frames.next, frames.tryNow, frames.addresses}) {
        if (!part.isNull())
            parts.append(part);
    }
    return parts;
}

TEST(PictureNoticeLayout, PartsFollowEachOtherInTheMiddle) {
    const PictureNoticeFrames frames = pictureNoticeFrames(message({1120, 630}));
    EXPECT_EQ(partsOf(frames).size(), 5);
    EXPECT_LT(frames.title.bottom(), frames.cause.top());
    EXPECT_LT(frames.cause.bottom(), frames.next.top());
    EXPECT_LT(frames.next.bottom(), frames.tryNow.top());
    EXPECT_EQ(frames.tryNow.top(), frames.addresses.top());
    EXPECT_LT(frames.tryNow.right(), frames.addresses.left());
    EXPECT_NEAR((frames.title.top() + frames.tryNow.bottom()) / 2, 315, 0.6);
    EXPECT_NEAR((frames.tryNow.left() + frames.addresses.right()) / 2, 560, 0.6);
    EXPECT_NEAR(frames.cause.center().x(), 560, 0.6);
}

TEST(PictureNoticeLayout, NarrowWindowShowsTheCauseAndTheButtons) {
    const PictureNoticeFrames frames = pictureNoticeFrames(message({359, 400}));
    EXPECT_TRUE(frames.title.isNull());
    EXPECT_TRUE(frames.next.isNull());
    EXPECT_EQ(partsOf(frames).size(), 3);
    EXPECT_FALSE(pictureNoticeFrames(message({360, 400})).title.isNull());
}

TEST(PictureNoticeLayout, ButtonsAreStackedIfTheyDoNotFitSideBySide) {
    const PictureNoticeFrames frames = pictureNoticeFrames(message({240, 400}));
    EXPECT_LT(frames.tryNow.bottom(), frames.addresses.top());
    EXPECT_EQ(frames.tryNow.center().x(), frames.addresses.center().x());
}

TEST(PictureNoticeLayout, NothingOverlapsOrLeavesTheWindowInAnySize) {
    for (int width = 160; width <= 800; width += 16) {
        for (int height = 160; height <= 600; height += 8) {
            const PictureNoticeSizes sizes = message(QSizeF(width, height));
            const QList<QRectF> parts = partsOf(pictureNoticeFrames(sizes));
            ASSERT_FALSE(parts.isEmpty());
            for (const QRectF &part : parts) {
                EXPECT_TRUE(QRectF(QPointF(), sizes.content).contains(part))
                    << width << " x " << height;
                EXPECT_GE(part.top(), sizes.controlsBottom) << width << " x " << height;
                for (const QRectF &other : parts)
                    EXPECT_TRUE(part == other || !part.intersects(other))
                        << width << " x " << height;
            }
        }
    }
}

TEST(PictureNoticeLayout, LowWindowLeavesOutTheLeastImportantPartsFirst) {
    const auto shown = [](qreal height) {
        const PictureNoticeFrames frames = pictureNoticeFrames(message({480, height}));
        QString parts;
        parts += frames.title.isNull() ? u'-' : u't';
        parts += frames.cause.isNull() ? u'-' : u'c';
        parts += frames.next.isNull() ? u'-' : u'n';
        parts += frames.tryNow.isNull() ? u'-' : u'y';
        parts += frames.addresses.isNull() ? u'-' : u'a';
        return parts.toStdString();
    };
    EXPECT_EQ(shown(270), "tcnya");
    EXPECT_EQ(shown(160), "tc-ya");
    EXPECT_EQ(shown(130), "-c-ya");
    EXPECT_EQ(shown(100), "-c---");
}

TEST(PictureNoticeLayout, MessageWithoutACauseConsistsOfItsTitleInAnyWindow) {
    PictureNoticeSizes sizes = message({200, 200});
    sizes.causeHeight = sizes.nextHeight = [](qreal) { return 0.0; };
    sizes.tryNow = sizes.addresses = {};
    const PictureNoticeFrames frames = pictureNoticeFrames(sizes);
    EXPECT_FALSE(frames.title.isNull());
    EXPECT_EQ(partsOf(frames).size(), 1);
}

} // namespace
} // namespace lumvik::test
