#include "editor/MirelFieldEditor.h"

#include "style/LumvikPalette.h"

#include <QApplication>
#include <QImage>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

const QColor house(203, 93, 82);
constexpr int patience = 5000;

QImage grabbed(MirelFieldEditor &field) {
    return field.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

int count(const QImage &image, const QColor &colour) {
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            found += image.pixelColor(x, y) == colour ? 1 : 0;
    }
    return found;
}

/// The columns of the picture that hold house colour.
QList<int> houseColumns(const QImage &image) {
    QList<int> columns;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixelColor(x, y) == house) {
                columns.append(x);
                break;
            }
        }
    }
    return columns;
}

/// A field in a window, with the window system's flashing of insertion points turned off.
class FieldEditor : public testing::Test {
  protected:
    FieldEditor() {
        QApplication::setCursorFlashTime(0);
        window.resize(300, 80);
        field.setGeometry(20, 20, 260, 30);
        field.setFrame(false);
        other.setGeometry(20, 55, 100, 20);
    }
    ~FieldEditor() override { QApplication::setCursorFlashTime(flashTime); }

    void show() {
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        field.setFocus();
        ASSERT_TRUE(QTest::qWaitFor([this] { return field.hasFocus(); }, patience));
    }

    void expectHouseColours() {
        EXPECT_EQ(field.selectedTextAttributes(), MirelFieldEditor::mirelSelection());
        EXPECT_EQ(field.insertionPointColor(), house);
    }

    /// Whatever `colour` somebody set for selected text, it is not to be seen.
    void expectSelectionIsDrawnInHouseColour(const QColor &colour) {
        field.setText(u"Camera"_s);
        field.selectAll();
        const QImage image = grabbed(field);
        EXPECT_EQ(count(image, colour), 0);
        EXPECT_GT(count(image, house), 300) << "the ground of six letters";
        EXPECT_GT(count(image, Qt::white), 20);
    }

    const int flashTime = QApplication::cursorFlashTime();
    QWidget window;
    MirelFieldEditor field{&window};
    QLineEdit other{&window};
};

TEST_F(FieldEditor, HouseSelectionIsWhiteOnTheHouseColour) {
    EXPECT_EQ(MirelFieldEditor::mirelSelection().background, house);
    EXPECT_EQ(MirelFieldEditor::mirelSelection().foreground, QColor(Qt::white));
    EXPECT_EQ(LumvikPalette::mirel(), house);
    EXPECT_EQ(&MirelFieldEditor::mirelSelection(), &MirelFieldEditor::mirelSelection());
}

TEST_F(FieldEditor, HasTheHouseColoursFromTheStart) {
    expectHouseColours();
    EXPECT_EQ(field.palette().color(QPalette::Inactive, QPalette::Highlight), house)
        << "and when another window is in front";
}

TEST_F(FieldEditor, SelectedTextKeepsTheHouseColoursWhateverPaletteIsSet) {
    show();
    for (const QColor &colour : {QColor(Qt::blue), QColor(Qt::green)}) {
        QPalette palette = field.palette();
        palette.setColor(QPalette::Highlight, colour);
        palette.setColor(QPalette::HighlightedText, Qt::black);
        field.setPalette(palette);
        expectHouseColours();
        expectSelectionIsDrawnInHouseColour(colour);
    }
    field.setPalette(QPalette());
    expectHouseColours();
}

TEST_F(FieldEditor, OtherColoursOfAPaletteAreTaken) {
    QPalette palette = field.palette();
    palette.setColor(QPalette::Highlight, Qt::blue);
    palette.setColor(QPalette::Text, Qt::green);
    field.setPalette(palette);
    EXPECT_EQ(field.palette().color(QPalette::Text), QColor(Qt::green));
    expectHouseColours();
}

TEST_F(FieldEditor, SelectedTextKeepsTheHouseColoursWhenTheDesktopsChange) {
    show();
    const QPalette before = QApplication::palette();
    QPalette desktop = before;
    desktop.setColor(QPalette::Highlight, Qt::blue);
    desktop.setColor(QPalette::HighlightedText, Qt::yellow);
    QApplication::setPalette(desktop);
    expectHouseColours();
    expectSelectionIsDrawnInHouseColour(Qt::blue);
    QApplication::setPalette(before);
    expectHouseColours();
}

TEST_F(FieldEditor, SelectedTextKeepsTheHouseColoursInAnotherWindow) {
    show();
    QWidget blueWindow;
    QPalette palette;
    palette.setColor(QPalette::Highlight, Qt::blue);
    blueWindow.setPalette(palette);
    blueWindow.resize(300, 80);
    field.setParent(&blueWindow);
    expectHouseColours();
    blueWindow.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&blueWindow));
    field.show();
    expectSelectionIsDrawnInHouseColour(Qt::blue);
    field.setParent(&window);
}

TEST_F(FieldEditor, InsertionPointIsDrawnInTheHouseColour) {
    show();
    QPalette palette = field.palette();
    palette.setColor(QPalette::Text, Qt::blue);
    field.setPalette(palette);
    const QImage image = grabbed(field);
    const QList<int> columns = houseColumns(image);
    ASSERT_EQ(columns.size(), 2) << "a line two points wide";
    EXPECT_EQ(columns.last() - columns.first(), 1);
    EXPECT_GT(count(image, house), 2 * 8) << "as high as a letter";
    EXPECT_EQ(count(image, Qt::blue), 0) << "and no second one in the colour of the text";
}

TEST_F(FieldEditor, InsertionPointFollowsTheTyping) {
    show();
    const QList<int> atFirst = houseColumns(grabbed(field));
    QTest::keyClicks(&field, u"iii"_s);
    const QList<int> behind = houseColumns(grabbed(field));
    QTest::keyClick(&field, Qt::Key_Home);
    const QList<int> home = houseColumns(grabbed(field));
    ASSERT_EQ(atFirst.size(), 2);
    ASSERT_EQ(behind.size(), 2);
    EXPECT_GT(behind.first(), atFirst.first());
    EXPECT_EQ(home, atFirst);
}

TEST_F(FieldEditor, InsertionPointIsDrawnOnlyWhereOneCanType) {
    show();
    EXPECT_EQ(houseColumns(grabbed(field)).size(), 2);
    other.setFocus();
    EXPECT_EQ(houseColumns(grabbed(field)).size(), 0) << "the keys go elsewhere";
    field.setReadOnly(true);
    field.setFocus();
    EXPECT_EQ(houseColumns(grabbed(field)).size(), 0) << "nothing can be typed";
}

TEST_F(FieldEditor, InsertionPointBlinksAsTheDesktopSays) {
    QApplication::setCursorFlashTime(100);
    show();
    const auto isDrawn = [this] { return houseColumns(grabbed(field)).size() == 2; };
    EXPECT_TRUE(QTest::qWaitFor([&] { return !isDrawn(); }, patience));
    EXPECT_TRUE(QTest::qWaitFor(isDrawn, patience));
}

TEST_F(FieldEditor, SelectedTextKeepsTheHouseColoursInAWindowBehindOthers) {
    QPalette palette = field.palette();
    palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::blue);
    field.setPalette(palette);
    EXPECT_EQ(field.palette().color(QPalette::Inactive, QPalette::Highlight), house);
}

} // namespace
} // namespace lumvik
