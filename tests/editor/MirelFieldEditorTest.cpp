#include "editor/MirelFieldEditor.h"

#include "CameraSettingsFixture.h"
#include "style/LumvikPalette.h"

#include <QApplication>
#include <QImage>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;
using namespace test;

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

/// Returns the columns of the image that contain the accent colour.
QList<int> accentColumns(const QImage &image) {
    QList<int> columns;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixelColor(x, y) == accent) {
                columns.append(x);
                break;
            }
        }
    }
    return columns;
}

/// A field editor in a window. Blinking of the insertion point is disabled.
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

    void expectAccentColours() {
        EXPECT_EQ(field.selectedTextAttributes(), MirelFieldEditor::mirelSelection());
        EXPECT_EQ(field.insertionPointColor(), accent);
    }

    /// Expects that selected text is drawn in the accent colours and not in `colour`, the highlight
    /// colour of another palette.
    void expectSelectionIsDrawnInAccentColour(const QColor &colour) {
        field.setText(u"Camera"_s);
        field.selectAll();
        const QImage image = grabbed(field);
        EXPECT_EQ(count(image, colour), 0);
        EXPECT_GT(count(image, accent), 300) << "the background of six letters";
        EXPECT_GT(count(image, Qt::white), 20);
    }

    const int flashTime = QApplication::cursorFlashTime();
    QWidget window;
    MirelFieldEditor field{&window};
    QLineEdit other{&window};
};

TEST_F(FieldEditor, MirelSelectionIsWhiteOnTheAccentColour) {
    EXPECT_EQ(MirelFieldEditor::mirelSelection().background, accent);
    EXPECT_EQ(MirelFieldEditor::mirelSelection().foreground, QColor(Qt::white));
    EXPECT_EQ(LumvikPalette::mirel(), accent);
    EXPECT_EQ(&MirelFieldEditor::mirelSelection(), &MirelFieldEditor::mirelSelection());
}

TEST_F(FieldEditor, NewFieldHasTheAccentColours) {
    expectAccentColours();
    EXPECT_EQ(field.palette().color(QPalette::Inactive, QPalette::Highlight), accent)
        << "the colours also apply while another window is active";
}

TEST_F(FieldEditor, SelectedTextKeepsTheAccentColoursWhateverPaletteIsSet) {
    show();
    for (const QColor &colour : {QColor(Qt::blue), QColor(Qt::green)}) {
        QPalette palette = field.palette();
        palette.setColor(QPalette::Highlight, colour);
        palette.setColor(QPalette::HighlightedText, Qt::black);
        field.setPalette(palette);
        expectAccentColours();
        expectSelectionIsDrawnInAccentColour(colour);
    }
    field.setPalette(QPalette());
    expectAccentColours();
}

TEST_F(FieldEditor, OtherColoursOfAPaletteAreApplied) {
    QPalette palette = field.palette();
    palette.setColor(QPalette::Highlight, Qt::blue);
    palette.setColor(QPalette::Text, Qt::green);
    field.setPalette(palette);
    EXPECT_EQ(field.palette().color(QPalette::Text), QColor(Qt::green));
    expectAccentColours();
}

TEST_F(FieldEditor, SelectedTextKeepsTheAccentColoursWhenTheDesktopPaletteChanges) {
    show();
    const QPalette before = QApplication::palette();
    QPalette desktop = before;
    desktop.setColor(QPalette::Highlight, Qt::blue);
    desktop.setColor(QPalette::HighlightedText, Qt::yellow);
    QApplication::setPalette(desktop);
    expectAccentColours();
    expectSelectionIsDrawnInAccentColour(Qt::blue);
    QApplication::setPalette(before);
    expectAccentColours();
}

TEST_F(FieldEditor, SelectedTextKeepsTheAccentColoursAfterAMoveToAnotherWindow) {
    show();
    QWidget blueWindow;
    QPalette palette;
    palette.setColor(QPalette::Highlight, Qt::blue);
    blueWindow.setPalette(palette);
    blueWindow.resize(300, 80);
    field.setParent(&blueWindow);
    expectAccentColours();
    blueWindow.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&blueWindow));
    field.show();
    expectSelectionIsDrawnInAccentColour(Qt::blue);
    field.setParent(&window);
}

TEST_F(FieldEditor, InsertionPointIsDrawnInTheAccentColour) {
    show();
    QPalette palette = field.palette();
    palette.setColor(QPalette::Text, Qt::blue);
    field.setPalette(palette);
    const QImage image = grabbed(field);
    const QList<int> columns = accentColumns(image);
    ASSERT_EQ(columns.size(), 2) << "the line is two points wide";
    EXPECT_EQ(columns.last() - columns.first(), 1);
    EXPECT_GT(count(image, accent), 2 * 8) << "the line is as high as a letter";
    EXPECT_EQ(count(image, Qt::blue), 0)
        << "Qt does not draw a second line in the colour of the text";
}

TEST_F(FieldEditor, InsertionPointFollowsTheTypedText) {
    show();
    const QList<int> atFirst = accentColumns(grabbed(field));
    QTest::keyClicks(&field, u"iii"_s);
    const QList<int> behind = accentColumns(grabbed(field));
    QTest::keyClick(&field, Qt::Key_Home);
    const QList<int> home = accentColumns(grabbed(field));
    ASSERT_EQ(atFirst.size(), 2);
    ASSERT_EQ(behind.size(), 2);
    EXPECT_GT(behind.first(), atFirst.first());
    EXPECT_EQ(home, atFirst);
}

TEST_F(FieldEditor, InsertionPointIsHiddenWithoutFocusAndWhenReadOnly) {
    show();
    EXPECT_EQ(accentColumns(grabbed(field)).size(), 2);
    other.setFocus();
    EXPECT_EQ(accentColumns(grabbed(field)).size(), 0) << "another field has the focus";
    field.setReadOnly(true);
    field.setFocus();
    EXPECT_EQ(accentColumns(grabbed(field)).size(), 0) << "the field is read-only";
}

TEST_F(FieldEditor, InsertionPointBlinksAtTheRateOfTheDesktop) {
    QApplication::setCursorFlashTime(100);
    show();
    const auto isDrawn = [this] { return accentColumns(grabbed(field)).size() == 2; };
    EXPECT_TRUE(QTest::qWaitFor([&] { return !isDrawn(); }, patience));
    EXPECT_TRUE(QTest::qWaitFor(isDrawn, patience));
}

TEST_F(FieldEditor, SelectedTextKeepsTheAccentColoursInAnInactiveWindow) {
    QPalette palette = field.palette();
    palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::blue);
    field.setPalette(palette);
    EXPECT_EQ(field.palette().color(QPalette::Inactive, QPalette::Highlight), accent);
}

} // namespace
} // namespace lumvik
