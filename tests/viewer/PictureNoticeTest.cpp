#include "viewer/PictureNotice.h"

#include "Painted.h"
#include "viewer/PictureCover.h"

#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik::test {

using namespace Qt::StringLiterals;

/// A notice in a window that is not shown.
class PictureNoticeTest : public testing::Test {
  protected:
    PictureNoticeTest() { notice.layOut({1120, 630}, 36); }

    template<typename Item>
    [[nodiscard]] Item *item() {
        for (QQuickItem *each : window.contentItem()->childItems()) {
            if (auto *found = qobject_cast<Item *>(each))
                return found;
        }
        return nullptr;
    }

    static constexpr QRect dot{10, 8, 7, 7};

    int tries = 0;
    int edits = 0;
    QQuickWindow window;
    PictureNotice notice{window.contentItem(),
                         {.tryNow = [this] { ++tries; }, .showAddresses = [this] { ++edits; }}};
};

TEST_F(PictureNoticeTest, ShowsNothingAtFirst) {
    EXPECT_FALSE(item<NoticePill>()->isVisible());
    EXPECT_FALSE(item<NoticeMessage>()->isVisible());
    for (const ViewerControl *button : notice.buttons())
        EXPECT_FALSE(button->isVisible());
}

TEST_F(PictureNoticeTest, PillIsInTheLowerLeftCornerAsWideAsItsText) {
    notice.show({.pill = u"Not live · 3 s"_s}, false);
    NoticePill &pill = *item<NoticePill>();
    EXPECT_TRUE(pill.isVisible());
    EXPECT_EQ(pill.position(), QPointF(12, 594));
    EXPECT_EQ(pill.height(), 24);
    const qreal width = pill.width();
    notice.show({.pill = u"Not live · 33 s"_s}, false);
    EXPECT_GT(pill.width(), width);
    notice.show({}, true);
    EXPECT_FALSE(pill.isVisible());
}

TEST_F(PictureNoticeTest, PillIsReadableOnBlackAndWhite) {
    notice.show({.pill = u"Not live · 3 s"_s}, false);
    for (const QColor &ground : {QColor(Qt::black), QColor(Qt::white)}) {
        const QImage image = paintedItem(*item<NoticePill>(), ground);
        int brightest = 0;
        for (int y = 4; y < 20; ++y) {
            for (int x = 26; x < image.width() - 8; ++x)
                brightest = std::max(brightest, qGray(image.pixel(x, y)));
        }
        EXPECT_GT(brightest, 230) << "the text";
        EXPECT_LT(qGray(image.pixel(image.width() - 5, 12)), 80) << "the ground of the text";
    }
}

TEST_F(PictureNoticeTest, DotIsGreenOnlyForALivePicture) {
    notice.show({.pill = u"Live"_s}, true);
    const QColor live = paintedItem(*item<NoticePill>(), Qt::black).pixelColor(dot.center());
    EXPECT_GT(live.green(), live.red());
    notice.show({.pill = u"Late by 2 s"_s}, false);
    const QColor warning = paintedItem(*item<NoticePill>(), Qt::black).pixelColor(dot.center());
    EXPECT_GT(warning.red(), warning.green());
}

TEST_F(PictureNoticeTest, MessageHasItsLinesAndButtons) {
    notice.show({.title = u"No picture"_s,
                 .cause = u"Because."_s,
                 .next = u"Trying now"_s,
                 .offersActions = true},
                false);
    NoticeMessage &message = *item<NoticeMessage>();
    EXPECT_TRUE(message.isVisible());
    EXPECT_EQ(message.text(), u"No picture\nBecause.\nTrying now"_s);
    EXPECT_GT(pixelsLike(paintedItem(message, Qt::black),
                         message.boundingRect().toRect().adjusted(0, 0, -1, -1), Qt::white),
              20)
        << "the title is not drawn";
    const QList<ViewerControl *> buttons = notice.buttons();
    for (ViewerControl *button : buttons) {
        EXPECT_TRUE(button->isVisible());
        button->performClick();
    }
    EXPECT_EQ(tries, 1);
    EXPECT_EQ(edits, 1);
    notice.show({.title = u"Connecting to Yard…"_s}, false);
    EXPECT_TRUE(message.isVisible());
    for (const ViewerControl *button : buttons)
        EXPECT_FALSE(button->isVisible());
}

TEST_F(PictureNoticeTest, TextForAssistiveTechnologyHasTimeToBeRead) {
    const NoticePill &pill = *item<NoticePill>();
    const auto show = [this](const QString &text, const QString &spoken) {
        notice.show({.pill = text, .spoken = spoken}, false);
    };
    show(u"Not live · 2 s"_s, u"Not live"_s);
    EXPECT_EQ(pill.spokenText(), u"Not live"_s);
    EXPECT_EQ(item<NoticeMessage>()->spokenText(), QString());
    show(u"Late by 2 s"_s, u"Late"_s);
    EXPECT_EQ(pill.text(), u"Late by 2 s"_s);
    EXPECT_EQ(pill.spokenText(), u"Not live"_s) << "it was said a moment ago";
    notice.show({.title = u"No picture"_s, .spoken = u"No picture\nBecause."_s}, false);
    EXPECT_EQ(item<NoticeMessage>()->spokenText(), u"No picture\nBecause."_s) << "another item";
    show(u"Late by 3 s"_s, u"Late"_s);
    EXPECT_EQ(pill.spokenText(), u"Late"_s) << "it appears with the right text";
}

TEST_F(PictureNoticeTest, LossOfALivePictureIsSpokenAtOnce) {
    const NoticePill &pill = *item<NoticePill>();
    notice.show({.pill = u"Live"_s, .spoken = u"Live"_s}, true);
    EXPECT_EQ(pill.spokenText(), u"Live"_s);
    notice.show({.pill = u"Not live · 2 s"_s, .spoken = u"Not live"_s}, false);
    EXPECT_EQ(pill.spokenText(), u"Not live"_s);
    notice.show({.pill = u"Live"_s, .spoken = u"Live"_s}, true);
    EXPECT_EQ(pill.spokenText(), u"Not live"_s) << "good news can wait until the rest was read";
}

TEST_F(PictureNoticeTest, OnlyTheButtonsReceiveClicks) {
    notice.show({.pill = u"Live"_s, .title = u"No picture"_s, .offersActions = true}, true);
    EXPECT_EQ(item<NoticePill>()->acceptedMouseButtons(), Qt::NoButton);
    EXPECT_EQ(item<NoticeMessage>()->acceptedMouseButtons(), Qt::NoButton);
    EXPECT_EQ(notice.buttons().first()->acceptedMouseButtons(), Qt::LeftButton);
}

TEST(PictureCover, KeepsThePictureAndDarkensIt) {
    QQuickWindow window; // an item outside a window is invisible in some versions of Qt
    PictureCover cover(window.contentItem());
    cover.setSize({200, 100});
    EXPECT_FALSE(cover.isVisible());
    QImage picture(100, 100, QImage::Format_RGB888);
    picture.fill(QColor(200, 100, 50));
    cover.setPicture(picture);
    EXPECT_TRUE(cover.isVisible());
    EXPECT_TRUE(pixelIs(paintedItem(cover, Qt::white), {100, 50}, QColor(200, 100, 50)));
    EXPECT_TRUE(pixelIs(paintedItem(cover, Qt::white), {10, 50}, Qt::black))
        << "a picture of another shape has black edges";
    cover.setDarkened(true);
    EXPECT_TRUE(pixelIs(paintedItem(cover, Qt::white), {100, 50}, QColor(80, 40, 20)));
    cover.setPicture({});
    EXPECT_TRUE(cover.isVisible());
    EXPECT_TRUE(pixelIs(paintedItem(cover, Qt::white), {100, 50}, QColor(102, 102, 102)))
        << "the video under it is darkened";
    cover.setDarkened(false);
    EXPECT_FALSE(cover.isVisible());
}

} // namespace lumvik::test
