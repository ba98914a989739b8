#include "editor/CameraListModel.h"

#include "platform/LumvikLog.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

Camera camera(const QString &name) {
    return {name, u"rtsp://%1.example/"_s.arg(name)};
}

/// A model of four cameras. QAbstractItemModelTester checks after each change that the
/// model is consistent.
class CameraListDraft : public testing::Test {
  protected:
    [[nodiscard]] QStringList names() const {
        QStringList names;
        for (const Camera &each : model.cameras())
            names.append(each.name);
        return names;
    }

    /// Drops `text` with the MIME type `type`. Returns whether the model accepted it.
    bool drop(const QByteArray &text, int gap, const QModelIndex &parent = {},
              const QString &type = CameraListModel::cameraRowType()) {
        QMimeData data;
        data.setData(type, text);
        return model.dropMimeData(&data, Qt::MoveAction, gap, 0, parent);
    }

    CameraListModel model{{camera(u"a"_s), camera(u"b"_s), camera(u"c"_s), camera(u"d"_s)}};
    const QAbstractItemModelTester tester{&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal};
    QSignalSpy dropped{&model, &CameraListModel::rowDropped};
};

TEST_F(CameraListDraft, HasARowForEachCameraAndThreeColumns) {
    EXPECT_EQ(model.rowCount(), 4);
    EXPECT_EQ(model.columnCount(), 3);
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 0) << "a row has no child rows";
    EXPECT_EQ(model.columnCount(model.index(0, 0)), 0);
}

TEST_F(CameraListDraft, CellsContainTheHandleTheNameAndTheAddress) {
    const auto shown = [this](int column) {
        return model.index(2, column).data(Qt::DisplayRole).toString();
    };
    EXPECT_EQ(shown(CameraListModel::order), u"≡"_s);
    EXPECT_EQ(shown(CameraListModel::name), u"c"_s);
    EXPECT_EQ(shown(CameraListModel::address), u"rtsp://c.example/"_s);
    EXPECT_EQ(model.index(2, CameraListModel::order).data(Qt::ToolTipRole).toString(),
              u"Drag to reorder"_s);
    EXPECT_FALSE(model.index(2, CameraListModel::address).data(Qt::ToolTipRole).isValid())
        << "an address must not appear in a tool tip";
}

TEST_F(CameraListDraft, ColumnsHaveTitles) {
    const auto title = [this](int column) {
        return model.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    };
    EXPECT_EQ(title(CameraListModel::order), QString());
    EXPECT_EQ(title(CameraListModel::name), u"Camera Name"_s);
    EXPECT_EQ(title(CameraListModel::address), u"RTSP Address"_s);
    EXPECT_FALSE(model.headerData(0, Qt::Vertical, Qt::DisplayRole).isValid());
}

TEST_F(CameraListDraft, OnlyNameAndAddressAreEditable) {
    EXPECT_FALSE(model.flags(model.index(1, CameraListModel::order)) & Qt::ItemIsEditable);
    EXPECT_TRUE(model.flags(model.index(1, CameraListModel::name)) & Qt::ItemIsEditable);
    EXPECT_TRUE(model.flags(model.index(1, CameraListModel::address)) & Qt::ItemIsEditable);
    EXPECT_FALSE(model.setData(model.index(1, CameraListModel::order), u"x"_s, Qt::EditRole));
    EXPECT_FALSE(model.setData(model.index(1, CameraListModel::name), u"x"_s, Qt::DisplayRole));
    EXPECT_FALSE(model.setData({}, u"x"_s, Qt::EditRole));
    EXPECT_EQ(model.cameras().at(1), camera(u"b"_s));
}

TEST_F(CameraListDraft, EditedTextIsNotTrimmed) {
    EXPECT_TRUE(model.setData(model.index(1, CameraListModel::name), u"  Yard "_s, Qt::EditRole));
    EXPECT_TRUE(
        model.setData(model.index(1, CameraListModel::address), u" rtsp://y/ \t"_s, Qt::EditRole));
    EXPECT_EQ(model.cameras().at(1), (Camera{u"  Yard "_s, u" rtsp://y/ \t"_s}));
    EXPECT_EQ(model.cameras().at(0), camera(u"a"_s));
    EXPECT_EQ(model.cameras().at(2), camera(u"c"_s));
}

TEST_F(CameraListDraft, ChangedTextIsReportedOnceAndOnlyForTheChangedCell) {
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const QModelIndex cell = model.index(1, CameraListModel::name);
    model.setData(cell, u"Yard"_s, Qt::EditRole);
    model.setData(cell, u"Yard"_s, Qt::EditRole); // The same text is not a change.
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed.first().at(0).toModelIndex(), cell);
    EXPECT_EQ(changed.first().at(1).toModelIndex(), cell);
}

TEST_F(CameraListDraft, AppendAddsARowAtTheEnd) {
    model.append(camera(u"e"_s));
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}));
}

TEST_F(CameraListDraft, RemoveRemovesOneRow) {
    model.remove(1);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"c"_s, u"d"_s}));
    model.remove(2);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"c"_s}));
}

TEST_F(CameraListDraft, SetCamerasReplacesAllRows) {
    model.setCameras({camera(u"x"_s)});
    EXPECT_EQ(names(), QStringList(u"x"_s));
    EXPECT_EQ(model.rowCount(), 1);
    model.setCameras({});
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(CameraListDraft, MoveKeepsPersistentIndexesValid) {
    const QPersistentModelIndex first(model.index(0, CameraListModel::name));
    model.move(0, 2);
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"c"_s, u"a"_s, u"d"_s}));
    EXPECT_EQ(first.row(), 2);
    model.move(2, 0);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    EXPECT_EQ(first.row(), 0);
    model.move(1, 1);
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
}

TEST_F(CameraListDraft, DraggedRowIsTransferredAsItsNumberInAPrivateType) {
    EXPECT_EQ(CameraListModel::cameraRowType(),
              QLatin1String(LumvikLog::subsystem) + u".camera-row"_s);
    const std::unique_ptr<QMimeData> data(
        model.mimeData({model.index(2, 0), model.index(2, 1), model.index(2, 2)}));
    ASSERT_TRUE(data);
    EXPECT_EQ(data->formats(), QStringList(CameraListModel::cameraRowType()))
        << "other programs must not accept the row";
    EXPECT_EQ(data->data(CameraListModel::cameraRowType()), "2");
    EXPECT_EQ(model.mimeData({}), nullptr);
}

TEST_F(CameraListDraft, DropAcceptsOnlyMovesOfTableRows) {
    QMimeData row;
    row.setData(CameraListModel::cameraRowType(), "1");
    QMimeData text;
    text.setText(u"1"_s);
    EXPECT_TRUE(model.canDropMimeData(&row, Qt::MoveAction, 0, 0, {}));
    EXPECT_TRUE(model.canDropMimeData(&row, Qt::MoveAction, -1, -1, model.index(2, 1)));
    EXPECT_FALSE(model.canDropMimeData(&row, Qt::CopyAction, 0, 0, {}));
    EXPECT_FALSE(model.canDropMimeData(&text, Qt::MoveAction, 0, 0, {}));
    EXPECT_FALSE(model.dropMimeData(&row, Qt::CopyAction, 0, 0, {}));
    EXPECT_FALSE(model.dropMimeData(&text, Qt::MoveAction, 0, 0, {}));
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    EXPECT_EQ(model.supportedDropActions(), Qt::MoveAction);
}

TEST_F(CameraListDraft, DropIntoAGapMovesTheRowThere) {
    ASSERT_TRUE(drop("0", 3));
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"c"_s, u"a"_s, u"d"_s}));
    ASSERT_TRUE(drop("3", 0));
    EXPECT_EQ(names(), (QStringList{u"d"_s, u"b"_s, u"c"_s, u"a"_s}));
    ASSERT_TRUE(drop("+1", 4));
    EXPECT_EQ(names(), (QStringList{u"d"_s, u"c"_s, u"a"_s, u"b"_s}));
    ASSERT_EQ(dropped.size(), 3);
    EXPECT_EQ(dropped.at(0).first().toInt(), 2);
    EXPECT_EQ(dropped.at(1).first().toInt(), 0);
    EXPECT_EQ(dropped.at(2).first().toInt(), 3);
}

TEST_F(CameraListDraft, DropOntoARowInsertsAboveThatRowAndDropBelowAllRowsAppends) {
    ASSERT_TRUE(drop("3", -1, model.index(1, CameraListModel::address)));
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"d"_s, u"b"_s, u"c"_s}));
    ASSERT_TRUE(drop("0", -1));
    EXPECT_EQ(names(), (QStringList{u"d"_s, u"b"_s, u"c"_s, u"a"_s}));
}

TEST_F(CameraListDraft, DroppingARowAtItsOwnPositionIsAcceptedAndChangesNothing) {
    ASSERT_TRUE(drop("1", 1));
    ASSERT_TRUE(drop("1", 2));
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    ASSERT_EQ(dropped.size(), 2);
    EXPECT_EQ(dropped.at(1).first().toInt(), 1)
        << "the dropped row is reported although it did not move";
}

TEST_F(CameraListDraft, DropOfAnInvalidRowNumberIsRefused) {
    for (const char *text :
         {"4", "-1", "", "one", "1.0", "99999999999", " 1", "\xff", "0x1", "+", "2 "})
        EXPECT_FALSE(drop(text, 0)) << text;
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    EXPECT_EQ(dropped.size(), 0);
}

} // namespace
} // namespace lumvik
