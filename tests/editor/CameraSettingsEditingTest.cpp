// Tests of typing in the editor, and of adding, removing, sorting and moving cameras.

#include "CameraSettingsFixture.h"
#include "configuration/ChildCase.h"

#include <QDropEvent>
#include <QMimeData>

namespace lumvik {
namespace {

using namespace test;

// ---- Editing ----

TEST_F(CameraSettings, ClickSelectsTheRow) {
    open({u"a"_s, u"b"_s, u"c"_s});
    click(2, nameColumn);
    EXPECT_EQ(table().selectedRow(), 2);
    click(1, CameraListModel::order);
    EXPECT_EQ(table().selectedRow(), 1) << "a click on the drag handle also selects the row";
    click(0, addressColumn);
    EXPECT_EQ(table().selectedRow(), 0);
    EXPECT_EQ(field(), nullptr);
}

TEST_F(CameraSettings, DragHandleIsNeitherCoveredByAFieldNorEditable) {
    open({u"a"_s, u"b"_s});
    doubleClick(0, nameColumn);
    ASSERT_NE(field(), nullptr);
    const QRect handle = table().visualRect(cell(0, CameraListModel::order));
    for (const QPoint &point :
         {handle.center(), handle.topLeft(), handle.bottomRight(), handle.bottomLeft()})
        EXPECT_EQ(table().viewport()->childAt(point), nullptr);
    doubleClick(1, CameraListModel::order);
    EXPECT_EQ(field(), nullptr) << "a drag handle cannot be edited";
    EXPECT_EQ(table().selectedRow(), 1);
}

TEST_F(CameraSettings, TypingInASelectedCellReplacesItsText) {
    open({u"a"_s, u"b"_s});
    click(1, nameColumn);
    type(u"Yard"_s);
    ASSERT_NE(field(), nullptr);
    EXPECT_EQ(field()->text(), u"Yard"_s);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"Yard"_s}));
}

TEST_F(CameraSettings, EachKeystrokeUpdatesTheDraftWithoutTrimming) {
    open({u"a"_s, u"b"_s});
    doubleClick(0, nameColumn);
    ASSERT_NE(field(), nullptr);
    key(Qt::Key_End);
    type(u" "_s);
    EXPECT_EQ(names().first(), u"a "_s);
    type(u"1"_s);
    EXPECT_EQ(names().first(), u"a 1"_s);
    key(Qt::Key_Home);
    type(u" xy"_s);
    EXPECT_EQ(names().first(), u" xya 1"_s) << "the insertion point stays after the typed text";
    key(Qt::Key_Backspace);
    EXPECT_EQ(names().first(), u" xa 1"_s);
    EXPECT_EQ(draft().at(1), cameraNamed(u"b"_s));
}

TEST_F(CameraSettings, FieldsHavePlaceholdersAndAccessibleNames) {
    open({u"a"_s});
    doubleClick(0, nameColumn);
    ASSERT_NE(field(), nullptr);
    EXPECT_EQ(field()->placeholderText(), u"Camera name"_s);
    EXPECT_EQ(field()->accessibleName(), u"Camera Name 1"_s);
    key(Qt::Key_Tab);
    ASSERT_NE(field(), nullptr);
    EXPECT_EQ(field()->placeholderText(), u"rtsp://"_s);
    EXPECT_EQ(field()->accessibleName(), u"RTSP Address 1"_s);
}

TEST_F(CameraSettings, SelectedTextOfAFieldHasTheAccentColours) {
    open({u"a"_s});
    doubleClick(0, addressColumn);
    ASSERT_NE(field(), nullptr);
    EXPECT_EQ(field()->selectedTextAttributes(), MirelFieldEditor::mirelSelection());
}

TEST_F(CameraSettings, TabMovesTheEditToTheNextCell) {
    open({u"a"_s, u"b"_s});
    doubleClick(1, nameColumn);
    type(u"Yard"_s);
    key(Qt::Key_Tab);
    expectEdited(1, addressColumn);
    type(u"rtsp://yard/"_s);
    EXPECT_EQ(draft().at(1), (Camera{u"Yard"_s, u"rtsp://yard/"_s}));
    key(Qt::Key_Backtab, Qt::ShiftModifier);
    expectEdited(1, nameColumn);
}

TEST_F(CameraSettings, AddressIsUnderstoodAtTheEndOfItsEdit) {
    const QList<std::pair<QString, QString>> cases{
        {u"192.168.1.20/stream"_s, u"rtsp://192.168.1.20/stream"_s},
        {u" \"rtsp://camera.example/1\","_s, u"rtsp://camera.example/1"_s},
        {u"rtsp://user:p@ss@camera.example/1"_s, u"rtsp://user:p@ss@camera.example/1"_s},
        {u"http://camera.example/"_s, u"http://camera.example/"_s}, // refused when it is saved
    };
    for (const auto &[typed, understood] : cases) {
        open({u"a"_s});
        doubleClick(0, addressColumn);
        type(typed);
        EXPECT_EQ(draft().first().url, typed);
        key(Qt::Key_Return);
        EXPECT_EQ(draft().first().url, understood);
    }
}

TEST_F(CameraSettings, EscapeLeavesAnUnusualAddressAlone) {
    open({u"a"_s});
    doubleClick(0, addressColumn);
    type(u"x"_s);
    key(Qt::Key_Escape);
    EXPECT_EQ(draft().first().url, cameraNamed(u"a"_s).url);
}

TEST_F(CameraSettings, FirstEscapeCancelsTheEditAndSecondEscapeClosesTheWindow) {
    open({u"a"_s, u"b"_s});
    doubleClick(1, nameColumn);
    type(u"Yard"_s);
    ASSERT_EQ(names().at(1), u"Yard"_s);
    key(Qt::Key_Escape);
    EXPECT_EQ(names().at(1), u"b"_s) << "Escape restores the text from before the edit";
    EXPECT_EQ(field(), nullptr);
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(closings, 0);
    key(Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(closings, 1);
    EXPECT_TRUE(saved.isEmpty());
}

TEST_F(CameraSettings, EscapeRestoresOnlyTheTextOfTheEditedCell) {
    open({u"a"_s});
    doubleClick(0, nameColumn);
    type(u"Yard"_s);
    key(Qt::Key_Tab);
    type(u"x"_s);
    key(Qt::Key_Escape);
    EXPECT_EQ(draft().first(), (Camera{u"Yard"_s, cameraNamed(u"a"_s).url}));
}

TEST_F(CameraSettings, FirstReturnEndsTheEditAndSecondReturnSavesTheList) {
    open({u"a"_s, u"b"_s});
    doubleClick(1, nameColumn);
    type(u"Yard"_s);
    key(Qt::Key_Return);
    EXPECT_EQ(field(), nullptr);
    EXPECT_EQ(names().at(1), u"Yard"_s);
    EXPECT_TRUE(saved.isEmpty());
    ASSERT_TRUE(window().isVisible());
    key(Qt::Key_Return);
    EXPECT_FALSE(window().isVisible());
    ASSERT_EQ(saved.size(), 1);
    EXPECT_EQ(saved.first().at(1).name, u"Yard"_s);
}

TEST_F(CameraSettings, ReturnPressedTwiceInImmediateSuccessionSavesTheList) {
    for (const Qt::Key returnKey : {Qt::Key_Return, Qt::Key_Enter}) {
        saved.clear();
        open({u"a"_s, u"b"_s});
        doubleClick(1, nameColumn);
        type(u"Yard"_s);
        ASSERT_NE(field(), nullptr);
        // Both events are delivered in the same iteration of the event loop, so deferred calls
        // cannot run between them.
        for (int time = 0; time < 2; ++time) {
            QKeyEvent press(QEvent::KeyPress, returnKey, Qt::NoModifier, u"\r"_s);
            QCoreApplication::sendEvent(QApplication::focusWidget(), &press);
        }
        ASSERT_EQ(saved.size(), 1);
        EXPECT_EQ(saved.first().at(1).name, u"Yard"_s);
        EXPECT_FALSE(window().isVisible());
    }
}

TEST_F(CameraSettings, ReturnInTheTableSavesTheList) {
    open({u"a"_s, u"b"_s});
    click(1, nameColumn);
    key(Qt::Key_Return);
    EXPECT_EQ(saved, QList<CameraList>{camerasNamed({u"a"_s, u"b"_s})});
    EXPECT_EQ(closings, 1);
}

TEST_F(CameraSettings, KeysThatNoWidgetHandlesArePassedToTheKeyHandler) {
    open({u"a"_s});
    key(Qt::Key_F5);
    key(Qt::Key_F7);
    EXPECT_EQ(keys, (QList<int>{Qt::Key_F5, Qt::Key_F7}));
    EXPECT_TRUE(window().isVisible());
    doubleClick(0, nameColumn);
    type(u"x"_s);
    EXPECT_EQ(keys.size(), 2) << "the field editor handles typed characters";
}

// ---- Adding and removing ----

TEST_F(CameraSettings, AddButtonAppendsACameraAndStartsEditingItsName) {
    open({u"a"_s, u"b"_s, u"c"_s});
    press(window().addButton);
    ASSERT_EQ(draft().size(), 4);
    EXPECT_EQ(draft().last(), (Camera{u"New Camera"_s, u"rtsp://"_s}));
    expectEdited(3, nameColumn);
    type(u"Yard"_s);
    EXPECT_EQ(draft().last().name, u"Yard"_s) << "typing replaces the selected text";
}

TEST_F(CameraSettings, AddedCameraIsScrolledIntoView) {
    open(manyCameras(60));
    press(window().addButton);
    EXPECT_TRUE(isInView(60));
    expectEdited(60, nameColumn);
}

TEST_F(CameraSettings, CameraAddedToAnEmptyListCannotBeRemovedUntilAnotherIsAdded) {
    open(CameraList(), -1);
    press(window().addButton);
    expectEdited(0, nameColumn);
    EXPECT_FALSE(window().removeButton->isEnabled());
    press(window().addButton);
    expectEdited(1, nameColumn);
    EXPECT_TRUE(window().removeButton->isEnabled());
    EXPECT_EQ(names(), (QStringList{u"New Camera"_s, u"New Camera"_s}));
}

TEST_F(CameraSettings, AddingDuringAnEditKeepsTheTypedText) {
    open({u"a"_s});
    doubleClick(0, nameColumn);
    type(u"Yard"_s);
    press(window().addButton);
    EXPECT_EQ(names(), (QStringList{u"Yard"_s, u"New Camera"_s}));
    expectEdited(1, nameColumn);
}

TEST_F(CameraSettings, RemovingTheLastRowSelectsTheNewLastRow) {
    open({u"a"_s, u"b"_s, u"c"_s}, 2);
    press(window().removeButton);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
    EXPECT_TRUE(window().removeButton->isEnabled());
    press(window().removeButton);
    EXPECT_EQ(names(), QStringList(u"a"_s));
    EXPECT_EQ(table().selectedRow(), 0);
    EXPECT_FALSE(window().removeButton->isEnabled()) << "the last camera cannot be removed";
}

TEST_F(CameraSettings, RemovingTheFirstRowSelectsTheNewFirstRow) {
    open({u"a"_s, u"b"_s, u"c"_s});
    press(window().removeButton);
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"c"_s}));
    EXPECT_EQ(table().selectedRow(), 0);
}

TEST_F(CameraSettings, RemovingTheOnlyCameraIsRefused) {
    open({u"a"_s});
    EXPECT_FALSE(window().removeButton->isEnabled());
    press(window().removeButton);
    EXPECT_TRUE(alerts.shown().isEmpty());
    editor->removeCamera();
    expectAlert(u"Keep one camera"_s, u"Lumvik needs at least one camera in the list."_s);
    expectNothingChanged(camerasNamed({u"a"_s}));
}

TEST_F(CameraSettings, RemovingACameraWithoutSelectionDoesNothing) {
    open({u"a"_s, u"b"_s}, -1);
    EXPECT_FALSE(window().removeButton->isEnabled());
    editor->removeCamera();
    EXPECT_TRUE(alerts.shown().isEmpty());
    expectNothingChanged(camerasNamed({u"a"_s, u"b"_s}));
}

TEST_F(CameraSettings, RemoveButtonFollowsTheSelection) {
    open({u"a"_s, u"b"_s}, -1);
    click(1, nameColumn);
    EXPECT_TRUE(window().removeButton->isEnabled());
    table().clearSelection();
    EXPECT_FALSE(window().removeButton->isEnabled());
}

TEST_F(CameraSettings, RemovingDuringAnEditRemovesTheEditedRow) {
    open({u"a"_s, u"b"_s, u"c"_s});
    doubleClick(1, nameColumn);
    type(u"Yard"_s);
    press(window().removeButton);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"c"_s}));
    EXPECT_EQ(field(), nullptr);
    EXPECT_EQ(table().selectedRow(), 1);
}

TEST_F(CameraSettings, RemovingACameraDoesNotScrollTheTable) {
    open(manyCameras(60), 30);
    QScrollBar &bar = *table().verticalScrollBar();
    bar.setValue(0);
    ASSERT_FALSE(isInView(30));
    press(window().removeButton);
    EXPECT_EQ(bar.value(), 0);
    EXPECT_EQ(table().selectedRow(), 30);
    EXPECT_EQ(draft().at(30).name, u"Camera 31"_s);
}

// ---- Sorting and moving ----

TEST_F(CameraSettings, SortingIgnoresCaseAndKeepsTheSelection) {
    open({u"beta"_s, u"Alpha"_s, u"gamma"_s}, 0);
    press(window().sortAscendingButton);
    EXPECT_EQ(names(), (QStringList{u"Alpha"_s, u"beta"_s, u"gamma"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
    click(2, nameColumn);
    press(window().sortDescendingButton);
    EXPECT_EQ(names(), (QStringList{u"gamma"_s, u"beta"_s, u"Alpha"_s}));
    EXPECT_EQ(table().selectedRow(), 0);
    EXPECT_TRUE(window().removeButton->isEnabled());
}

TEST_F(CameraSettings, SortingWithoutSelectionSelectsNoCamera) {
    open({u"b"_s, u"a"_s}, -1);
    press(window().sortAscendingButton);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(table().selectedRow(), -1);
    EXPECT_FALSE(window().removeButton->isEnabled());
}

TEST_F(CameraSettings, SortingSelectsTheFirstOfSeveralEqualCameras) {
    open({u"b"_s, u"a"_s, u"b"_s}, 2);
    press(window().sortAscendingButton);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"b"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
}

TEST_F(CameraSettings, SortingScrollsToTheSelectedCamera) {
    open(manyCameras(60) + camerasNamed({u"A"_s}), 60);
    press(window().sortAscendingButton);
    EXPECT_EQ(table().selectedRow(), 0);
    EXPECT_TRUE(isInView(0));
}

TEST_F(CameraSettings, SortingIncludesTheTextBeingTyped) {
    open({u"a"_s, u"b"_s});
    doubleClick(0, nameColumn);
    type(u"z"_s);
    press(window().sortAscendingButton);
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"z"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
    EXPECT_EQ(field(), nullptr);
}

TEST_F(CameraSettings, AltUpAndAltDownMoveTheSelectedCamera) {
    open({u"a"_s, u"b"_s, u"c"_s}, 0);
    key(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"a"_s, u"c"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
    key(Qt::Key_Down, Qt::AltModifier);
    key(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"c"_s, u"a"_s})) << "the last row cannot move down";
    EXPECT_EQ(table().selectedRow(), 2);
    for (int press = 0; press < 3; ++press)
        key(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    EXPECT_EQ(table().selectedRow(), 0);
}

TEST_F(CameraSettings, AltDownDuringAnEditMovesTheEditedCamera) {
    open({u"a"_s, u"b"_s}, 0);
    table().editCell(0, CameraListModel::name);
    type(u"x"_s);
    key(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"x"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
}

TEST_F(CameraSettings, TabSkipsTheDragHandles) {
    open({u"a"_s, u"b"_s}, 0);
    table().editCell(0, CameraListModel::address);
    key(Qt::Key_Tab);
    EXPECT_EQ(table().currentIndex(), cell(1, CameraListModel::name));
    ASSERT_NE(field(), nullptr) << "the edit continues in the next field";
    key(Qt::Key_Backtab);
    EXPECT_EQ(table().currentIndex(), cell(0, CameraListModel::address));
    EXPECT_NE(field(), nullptr);
}

TEST_F(CameraSettings, AltDownWithoutSelectionMovesNoCamera) {
    open({u"a"_s, u"b"_s}, -1);
    key(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s}));
}

TEST_F(CameraSettings, ArrowKeysMoveTheSelection) {
    open({u"a"_s, u"b"_s});
    key(Qt::Key_Down);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(table().selectedRow(), 1);
}

TEST_F(CameraSettings, DroppedRowIsSelectedAndScrolledIntoView) {
    open(manyCameras(60), 5);
    QMimeData row;
    row.setData(CameraListModel::cameraRowType(), "0");
    ASSERT_TRUE(table().model()->dropMimeData(&row, Qt::MoveAction, 50, 0, {}));
    EXPECT_TRUE(QTest::qWaitFor([this] { return table().selectedRow() == 49; }, patience));
    EXPECT_TRUE(isInView(49));
    EXPECT_EQ(draft().at(49).name, u"Camera 0"_s);
}

TEST_F(CameraSettings, DropFromAnotherProgramIsRefused) {
    open({u"a"_s, u"b"_s});
    // Another program, or another instance, may offer even the type of this table's rows.
    for (const QString &type : {u"text/plain"_s, CameraListModel::cameraRowType()}) {
        QMimeData row;
        row.setData(type, "1");
        QDragEnterEvent enter(middleOf(0, nameColumn), Qt::MoveAction, &row, Qt::LeftButton, {});
        QApplication::sendEvent(table().viewport(), &enter);
        EXPECT_FALSE(enter.isAccepted()) << qPrintable(type);
        QDropEvent drop(middleOf(0, nameColumn), Qt::MoveAction, &row, Qt::LeftButton, {});
        QApplication::sendEvent(table().viewport(), &drop);
        EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s})) << qPrintable(type);
    }
}

} // namespace
} // namespace lumvik
