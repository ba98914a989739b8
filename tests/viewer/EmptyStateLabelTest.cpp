#include "viewer/EmptyStateLabel.h"

#include "Painted.h"
#include "viewer/KeyboardNavigation.h"

#include <QAccessible>
#include <QQuickWindow>
#include <QTest>

namespace lumvik {
namespace {

using namespace test;

const QString messageWords = QStringLiteral("Camera Addresses…");
const QString messageText = QStringLiteral(
    "No cameras are configured. Use Lumvik → Camera Addresses… to add a camera or import a list.");

/// An item that accepts everything, like the surface that covers the picture.
class PointerSurface final : public QQuickItem {
  public:
    explicit PointerSurface(QQuickItem *parent) : QQuickItem(parent) {
        setAcceptedMouseButtons(Qt::AllButtons);
        setSize({800, 450});
    }
    int presses = 0;
    int doubleClicks = 0;

  protected:
    void mousePressEvent(QMouseEvent *) override { ++presses; }
    void mouseDoubleClickEvent(QMouseEvent *) override { ++doubleClicks; }
};

class EmptyStateLabelTest : public testing::Test {
  protected:
    EmptyStateLabelTest() {
        window.resize(800, 450);
        label.setText(messageText);
        label.addLink(messageWords, [this] { ++clicks; });
        place(640);
        label.setVisible(true);
        window.show();
        window.requestActivate();
    }
    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowActive(&window)); }

    void place(qreal width) {
        label.setPosition({80, 100});
        label.setSize({width, label.heightForWidth(width)});
    }
    [[nodiscard]] ViewerControl &link() { return *label.links().first(); }
    [[nodiscard]] QPoint linkCentre() {
        return link().mapToScene(link().boundingRect().center()).toPoint();
    }

    int clicks = 0;
    QQuickWindow window;
    EmptyStateLabel label{window.contentItem()};
    PointerSurface surface{window.contentItem()};
};

TEST_F(EmptyStateLabelTest, LinkRunsItsAction) {
    QTest::mouseClick(&window, Qt::LeftButton, {}, linkCentre());
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(surface.presses, 0);
}

TEST_F(EmptyStateLabelTest, LetsThePointerThroughBesideTheLink) {
    QTest::mouseClick(&window, Qt::LeftButton, {}, {85, 105});
    EXPECT_EQ(clicks, 0);
    EXPECT_EQ(surface.presses, 1);
}

TEST_F(EmptyStateLabelTest, DoubleClickOnTheLinkDoesNotReachTheSurface) {
    QTest::mouseDClick(&window, Qt::LeftButton, {}, linkCentre());
    EXPECT_GE(clicks, 1);
    EXPECT_EQ(surface.doubleClicks, 0);
    QTest::mouseDClick(&window, Qt::LeftButton, {}, {85, 105});
    EXPECT_EQ(surface.doubleClicks, 1);
}

TEST_F(EmptyStateLabelTest, LinkCoversItsWords) {
    // The words are drawn brighter than the rest of the text.
    const QImage image = paintedItem(label, Qt::black);
    QRect bright;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qGray(image.pixel(x, y)) > 185)
                bright |= QRect(x, y, 1, 1);
        }
    }
    const QRectF place(link().position(), link().size());
    EXPECT_TRUE(place.contains(bright)) << bright.x() << ' ' << bright.right();
    EXPECT_NEAR(place.width(), bright.width(), 12);
}

TEST_F(EmptyStateLabelTest, LinkIsOnOneLineWhereItFits) {
    qreal height = 0;
    for (const qreal width : {640, 500, 400, 300, 200}) {
        place(width);
        if (height == 0)
            height = link().height();
        EXPECT_EQ(link().height(), height) << width;
        EXPECT_LE(link().x() + link().width(), width + 4);
    }
}

TEST_F(EmptyStateLabelTest, LinkOfTwoLinesIsClickedOnlyOnItsWords) {
    place(110); // narrower than the words
    ASSERT_GT(link().height(), 30);
    QTest::mouseClick(&window, Qt::LeftButton, {}, linkCentre() - QPoint(0, 9));
    EXPECT_EQ(clicks, 1);
    for (const QPointF corner : {link().boundingRect().topLeft() + QPointF(0, -2),
                                 link().boundingRect().bottomRight() + QPointF(0, 2)})
        EXPECT_FALSE(link().contains(corner));
}

TEST_F(EmptyStateLabelTest, LinkIsHiddenWithoutItsWords) {
    label.setText(QStringLiteral("There is nothing to click."));
    EXPECT_FALSE(link().isVisible());
    label.setText(messageText);
    EXPECT_TRUE(link().isVisible());
    label.setVisible(false);
    EXPECT_FALSE(link().isVisible());
}

TEST_F(EmptyStateLabelTest, LinkShowsWhatThePointerDoes) {
    QTest::mouseMove(&window, {5, 5});
    const QRect all(QPoint(), link().size().toSize());
    EXPECT_EQ(pixelsLike(paintedItem(link(), Qt::black), all, Qt::black),
              all.width() * all.height());
    QTest::mouseMove(&window, linkCentre());
    EXPECT_TRUE(QTest::qWaitFor([&] { return link().look() == ControlLook::hovered; }, 5000));
    EXPECT_GT(qGray(paintedItem(link(), Qt::black).pixel(all.center())), 25);
    EXPECT_EQ(link().cursor().shape(), Qt::PointingHandCursor);
}

TEST_F(EmptyStateLabelTest, LinkCanBeReachedAndClickedWithTheKeyboard) {
    KeyboardNavigation keyboard(window, label.links());
    EXPECT_TRUE(keyboard.moveFocus(KeyboardNavigation::Direction::forwards));
    EXPECT_EQ(keyboard.current(), &link());
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_EQ(clicks, 1);
    label.setVisible(false);
    EXPECT_FALSE(keyboard.moveFocus(KeyboardNavigation::Direction::forwards));
}

TEST_F(EmptyStateLabelTest, LinkIsAButtonForAssistiveTechnology) {
    QAccessible::setActive(true);
    QAccessibleInterface *message = QAccessible::queryAccessibleInterface(&label);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->text(QAccessible::Name), messageText)
        << "the message is read as it was written";
    ASSERT_EQ(message->childCount(), 1);
    QAccessibleInterface *button = message->child(0);
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->role(), QAccessible::Button);
    EXPECT_EQ(button->text(QAccessible::Name), messageWords);
    EXPECT_EQ(button->parent(), message);
    EXPECT_EQ(message->indexOfChild(button), 0);
    button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(QTest::qWaitFor([&] { return clicks == 1; }, 5000));
}

TEST_F(EmptyStateLabelTest, LinesAreBalanced) {
    place(560);
    const QImage image = paintedItem(label, Qt::black);
    const auto inkWidth = [&](int top, int bottom) {
        QRect ink;
        for (int y = top; y < bottom; ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qGray(image.pixel(x, y)) > 60)
                    ink |= QRect(x, y, 1, 1);
            }
        }
        return ink.width();
    };
    const int middle = image.height() / 2;
    EXPECT_NEAR(inkWidth(0, middle), inkWidth(middle, image.height()), 130);
}

} // namespace
} // namespace lumvik
