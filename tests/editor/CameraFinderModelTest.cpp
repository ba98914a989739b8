#include "editor/CameraFinderModel.h"

#include "editor/FoundStreamModel.h"

#include <QAbstractItemModelTester>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

FoundCamera cameraAt(const QString &host, const QString &name, const QString &hardware = {}) {
    QUrl service(u"http://192.0.2.1/onvif/device_service"_s);
    service.setHost(host);
    return {.identity = u"uuid:"_s + host,
            .serviceAddress = service,
            .name = name,
            .hardware = hardware,
            .location = {}};
}

QStringList rowsOf(const QAbstractItemModel &model) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.append(model.index(row, 0).data(Qt::AccessibleTextRole).toString());
    return rows;
}

class CameraFinderModelTest : public testing::Test {
  protected:
    CameraFinderModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(CameraFinderModelTest, RowsAreSortedByNameAndThenByAddress) {
    model.put(cameraAt(u"192.0.2.31"_s, u"yard"_s, u"X-1"_s));
    model.put(cameraAt(u"192.0.2.9"_s, u"Yard"_s));
    model.put(cameraAt(u"192.0.2.40"_s, u"Cot"_s));
    model.put(cameraAt(u"192.0.2.50"_s, {}, u"Model Z"_s));
    model.put(cameraAt(u"192.0.2.60"_s, u" "_s));
    EXPECT_EQ(rowsOf(model), (QStringList{u"Camera at 192.0.2.60, 192.0.2.60"_s,
                                          u"Cot, 192.0.2.40"_s, u"Model Z, Model Z, 192.0.2.50"_s,
                                          u"Yard, 192.0.2.9"_s, u"yard, X-1, 192.0.2.31"_s}));
}

TEST_F(CameraFinderModelTest, BetterAddressMovesARowAndItsSelection) {
    model.put(cameraAt(u"192.0.2.3"_s, u"Door"_s));
    model.put(cameraAt(u"192.0.2.5"_s, u"Door"_s));
    model.put(cameraAt(u"192.0.2.7"_s, u"Door"_s));
    const QPersistentModelIndex selected = model.index(0, 0);
    FoundCamera moved = cameraAt(u"192.0.2.9"_s, u"Door"_s);
    moved.identity = u"uuid:192.0.2.3"_s;
    model.put(moved);
    EXPECT_EQ(rowsOf(model),
              (QStringList{u"Door, 192.0.2.5"_s, u"Door, 192.0.2.7"_s, u"Door, 192.0.2.9"_s}));
    EXPECT_EQ(selected.row(), 2);
    EXPECT_EQ(model.rowOf(u"uuid:192.0.2.3"_s), 2);
    moved.serviceAddress.setHost(u"192.0.2.1"_s);
    model.put(moved);
    EXPECT_EQ(selected.row(), 0);
    moved.serviceAddress.setHost(u"192.0.2.2"_s);
    model.put(moved);
    EXPECT_EQ(rowsOf(model).first(), u"Door, 192.0.2.2"_s);
    EXPECT_EQ(selected.row(), 0);
}

TEST_F(CameraFinderModelTest, CamerasWhoseHostIsListedAreMarked) {
    model.put(cameraAt(u"192.0.2.1"_s, u"a"_s));
    model.put(cameraAt(u"192.0.2.2"_s, u"b"_s));
    model.put(cameraAt(u"fe80::1%eth0"_s, u"c"_s));
    model.put(cameraAt(u"192.0.2.10"_s, u"d"_s));
    model.setListedAddresses({u"rtsp://me:p@ss@192.0.2.1:8554/live"_s, u"rtsp://[FE80:0::1]/"_s,
                              u"rtsp://cot.example/"_s, u"nonsense"_s, u""_s,
                              u"rtsp://[::ffff:192.0.2.10]/"_s});
    QList<bool> listed;
    for (int row = 0; row < model.rowCount(); ++row)
        listed.append(model.isListed(row));
    EXPECT_EQ(listed, (QList<bool>{true, false, true, true}));
    EXPECT_EQ(rowsOf(model).first(), u"a, 192.0.2.1, In the list"_s);
    model.setListedAddresses({});
    EXPECT_FALSE(model.isListed(0));
    EXPECT_FALSE(model.isListed(-1));
    EXPECT_FALSE(model.isListed(4));
}

OnvifProfile profile(const QString &name, QSize size, const QString &address) {
    return {.token = name,
            .name = name,
            .size = size,
            .framesPerSecond = 12.5,
            .codec = u"H264"_s,
            .address = address};
}

TEST(FoundStreamModelTest, StreamsAreSortedFromTheMainStreamToThoseOfUnknownSize) {
    FoundStreamModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setStreams(usableStreams({profile(u"small"_s, {640, 360}, u"rtsp://192.0.2.1/2"_s),
                                    profile({}, {}, u"rtsp://192.0.2.1/3"_s),
                                    profile(u"large"_s, {1920, 1080}, u"rtsp://192.0.2.1/1"_s)}));
    EXPECT_EQ(rowsOf(model), (QStringList{u"large, Main, 1920 × 1080, 12.5 fps, H.264"_s,
                                          u"small, Sub, 640 × 360, 12.5 fps, H.264"_s,
                                          u"Stream 3, 12.5 fps, H.264"_s}));
    EXPECT_EQ(model.stream(0)->profile.address, u"rtsp://192.0.2.1/1"_s);
    EXPECT_EQ(model.stream(3), nullptr);
    EXPECT_EQ(model.stream(-1), nullptr);
}

TEST(FoundStreamModelTest, StreamsThatTheListDoesNotAcceptAreLeftOut) {
    const auto streams = usableStreams({profile(u"a"_s, {640, 360}, u"rtsps://192.0.2.1/2"_s),
                                        profile(u"b"_s, {320, 180}, u"rtsp://192.0.2.1/1"_s)});
    ASSERT_EQ(streams.size(), 1U);
    EXPECT_EQ(streams.front().profile.name, u"b"_s);
    EXPECT_EQ(streams.front().kind, StreamKind::main) << "the larger one cannot be used";
}

} // namespace
} // namespace lumvik
