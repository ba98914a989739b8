// Tests of loading the camera list from intact, damaged and missing files.

#include "StoreFixture.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

const QString noneYet = u"No camera configuration exists yet."_s;
const QByteArray emptyDocument = R"({"cameras":[]})";

TEST_F(Store, FirstRunLoadsAnEmptyListAndCreatesNoFiles) {
    expectLoads({});
    EXPECT_EQ(folder.names(), QStringList());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, noneYet)});
}

TEST_F(Store, MissingListIsNotReplacedByTheRecoveryCopy) {
    putRecovery(documentOf(twoCameras()));
    expectLoads({});
    EXPECT_EQ(storedNames(), QStringList(u"cameras.last-good.json"_s));
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, noneYet)});
}

TEST_F(Store, GoodListIsLoaded) {
    putPrimary(documentOf(twoCameras()));
    expectLoads(twoCameras());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, u"Loaded 2 cameras."_s)});
}

TEST_F(Store, LoadedListReplacesTheRecoveryCopyByteForByte) {
    const QByteArray handMade =
        "\r\n {\"cameras\":[{\"url\":\"u\",\"name\":\"n\",\"id\":1}],\"x\":2}\n\n";
    putPrimary(handMade);
    putRecovery(documentOf(twoCameras()));
    setMode(recovery(), 0644);
    expectLoads({{u"n"_s, u"u"_s}});
    EXPECT_EQ(bytesOf(primary()), handMade);
    EXPECT_EQ(bytesOf(recovery()), handMade);
    EXPECT_EQ(modeOf(recovery()), 0600);
    EXPECT_EQ(storedNames().size(), 2);
}

TEST_F(Store, LoadingDoesNotChangeThePermissionsOfTheList) {
    putPrimary(documentOf(twoCameras()));
    setMode(primary(), 0644);
    expectLoads(twoCameras());
    EXPECT_EQ(modeOf(primary()), 0644);
}

TEST_F(Store, RecoveryCopyIsLoadedWhenTheListIsEmpty) {
    putPrimary(emptyDocument);
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    EXPECT_EQ(bytesOf(primary()), emptyDocument);
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, RecoveryCopyIsLoadedWhenTheListIsDamagedAndNeitherFileIsChanged) {
    putPrimary("not JSON at all");
    putRecovery(documentOf(twoCameras()));
    setMode(recovery(), 0640);
    expectLoads(twoCameras());
    EXPECT_EQ(bytesOf(primary()), "not JSON at all");
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
    EXPECT_EQ(modeOf(recovery()), 0640);
    EXPECT_EQ(log.lines(),
              (QList{line(LogLevel::error, primaryInvalid),
                     line(LogLevel::standard,
                          u"Recovered 2 cameras from the last-known-good configuration."_s)}));
}

TEST_F(Store, RecoveryCopyIsLoadedEveryTimeUntilTheNextSave) {
    putPrimary("damaged");
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    expectLoads(twoCameras());
    EXPECT_EQ(log.texts(u"configuration"_s).count(primaryInvalid), 2);
    expectSaves(twoCameras());
    log.clear();
    expectLoads(twoCameras());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, u"Loaded 2 cameras."_s)});
}

TEST_F(Store, LoadOfADamagedListWithoutRecoveryCopyFailsWithTheErrorOfTheList) {
    putPrimary("damaged");
    expectLoadFails(DecodingError::notJson);
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, primaryInvalid)});
    EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
}

TEST_F(Store, LoadOfAnEmptyListWithoutRecoveryCopyFailsWithNoCameras) {
    putPrimary(emptyDocument);
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, LoadOfDamagedListAndRecoveryCopyFailsWithTheErrorOfTheList) {
    putPrimary(R"({"cameras":[{}]})");
    putRecovery("damaged");
    expectLoadFails(DecodingError::badCamera);
    EXPECT_EQ(bytesOf(recovery()), "damaged");
}

TEST_F(Store, LoadOfEmptyListAndDamagedRecoveryCopyFailsWithNoCameras) {
    putPrimary(emptyDocument);
    putRecovery("damaged");
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, LoadOfDamagedListAndEmptyRecoveryCopyFailsWithNoCameras) {
    putPrimary("damaged");
    putRecovery(emptyDocument);
    expectLoadFails(CameraConfigurationError::noCameras);
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, primaryInvalid)});
}

TEST_F(Store, LoadOfEmptyListAndRecoveryCopyFailsWithNoCameras) {
    putPrimary(emptyDocument);
    putRecovery(emptyDocument);
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, FolderInPlaceOfTheRecoveryCopyCountsAsDamagedCopy) {
    putPrimary("damaged");
    ASSERT_TRUE(QDir().mkpath(recovery()));
    expectLoadFails(DecodingError::notJson);
}

TEST_F(Store, RecoveryCopyIsLoadedWhenTheListIsTruncatedAtAnyByte) {
    const QByteArray whole = documentOf({{u"n"_s, u"rtsp://a"_s}});
    putRecovery(documentOf(twoCameras()));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        putPrimary(whole.first(length));
        expectLoads(twoCameras());
    }
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, RecoveryCopyIsLoadedWhenTheListIsNotUtf8) {
    putPrimary("{\"cameras\":[{\"name\":\"K\xFC"
               "che\",\"url\":\"u\"}]}");
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
}

// ---- Something other than a regular file in the place of the list ----

TEST_F(Store, FolderInPlaceOfTheListCountsAsDamagedList) {
    ASSERT_TRUE(QDir().mkpath(primary()));
    expectLoadFails(readError(EISDIR));
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    expectSaveFails(writeError(EISDIR));
}

TEST_F(Store, PipeInPlaceOfTheListCountsAsDamagedListAndDoesNotBlock) {
    makeStorage();
    ASSERT_EQ(::mkfifo(qPrintable(primary()), 0600), 0);
    expectLoadFails(readError(ENODEV));
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    expectSaveFails(writeError(ENODEV));
}

TEST_F(Store, PipeInPlaceOfTheRecoveryCopyDoesNotBlock) {
    putPrimary("damaged");
    ASSERT_EQ(::mkfifo(qPrintable(recovery()), 0600), 0);
    expectLoadFails(DecodingError::notJson);
    expectSaves(twoCameras());
    EXPECT_EQ(log.lines().last(), line(LogLevel::error, notRefreshed));
    expectLoads(twoCameras());
}

TEST_F(Store, SocketInPlaceOfTheListCountsAsDamagedList) {
    makeStorage();
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(primary()), sizeof address.sun_path);
    ASSERT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    expectLoadFails(readError(ENODEV));
    ::close(descriptor);
}

TEST_F(Store, EndlessDeviceInPlaceOfTheListCountsAsDamagedList) {
    makeStorage();
    ASSERT_EQ(::symlink("/dev/zero", qPrintable(primary())), 0);
    expectLoadFails(readError(ENODEV));
    expectSaveFails(writeError(ENODEV));
}

TEST_F(Store, ListLargerThanSixtyFourMebibytesCountsAsDamagedList) {
    putPrimary({});
    ASSERT_EQ(::truncate(qPrintable(primary()), 64 * 1024 * 1024 + 1), 0);
    expectLoadFails(readError(EFBIG));
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
}

TEST_F(Store, ListTooLargeToBeLoadedIsNotSavedAndTheOldListIsKept) {
    expectSaves(twoCameras());
    const CameraList huge(9000, {u"Long"_s, u"rtsp://"_s + QString(8000, QLatin1Char('x'))});
    ASSERT_EQ(excessOf(huge), std::nullopt);
    const auto saved = store.save(huge);
    ASSERT_FALSE(saved.has_value());
    EXPECT_EQ(saved.error(), StoreError(writeError(EFBIG)));
    expectLoads(twoCameras());
    const QString file = folder.path(u"export.json"_s);
    EXPECT_FALSE(store.exportCameras(huge, file).has_value());
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(Store, ListThatExceedsItsBoundsCountsAsDamagedList) {
    const CameraList many = manyCameras(10'001);
    putPrimary(documentOf(many));
    expectLoadFails(
        CameraListExcess{CameraListExcess::Kind::tooManyCameras, 10'000, many.last().name});
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    EXPECT_EQ(bytesOf(primary()), documentOf(many));
}

TEST_F(Store, LargestListCanBeSavedAndLoaded) {
    expectSaves(manyCameras(10'000));
    expectLoads(manyCameras(10'000));
}

TEST_F(Store, ListThatExceedsItsBoundsIsNeitherSavedNorExported) {
    expectSaves(twoCameras());
    for (const CameraList &cameras :
         {manyCameras(10'001), CameraList{{QString(1001, u'n'), u"rtsp://a/"_s}},
          CameraList{{u"Yard"_s, QString(8193, u'a')}}}) {
        const StoreError excess = excessOf(cameras).value_or(CameraListExcess());
        const auto saved = store.save(cameras);
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.error(), excess);
        const QString file = folder.path(u"export.json"_s);
        const auto exported = store.exportCameras(cameras, file);
        ASSERT_FALSE(exported);
        EXPECT_EQ(exported.error(), excess);
        EXPECT_FALSE(QFile::exists(file));
    }
    expectLoads(twoCameras());
}

TEST_F(Store, BrokenLinkCountsAsAMissingList) {
    putRecovery(documentOf(twoCameras()));
    ASSERT_EQ(::symlink("nowhere", qPrintable(primary())), 0);
    expectLoads({});
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, noneYet)});
}

TEST_F(Store, CyclicLinkCountsAsAMissingListAndIsNotReplaced) {
    makeStorage();
    ASSERT_EQ(::symlink("cameras.json", qPrintable(primary())), 0);
    expectLoads({});
    expectSaveFails(writeError(ELOOP));
}

TEST_F(Store, FileInPlaceOfTheFolderCountsAsMissingListAndPreventsASave) {
    putBytes(storage, "mine");
    expectLoads({});
    expectSaveFails({FileError::Operation::createFolder, storage, ENOTDIR});
    EXPECT_EQ(bytesOf(storage), "mine");
}

// ---- Permissions, as a user other than the superuser ----

TEST_F(Store, RecoveryCopyIsLoadedWhenTheListIsUnreadable) {
    putPrimary(documentOf(manyCameras(3)));
    setMode(primary(), 0000);
    asOrdinaryUser(folder.path(), [this] { expectLoadFails(readError(EACCES)); });
    putRecovery(documentOf(twoCameras()));
    asOrdinaryUser(folder.path(), [this] { expectLoads(twoCameras()); });
}

TEST_F(Store, UnreadableRecoveryCopyCountsAsDamagedCopy) {
    putPrimary("damaged");
    putRecovery(documentOf(twoCameras()));
    setMode(recovery(), 0000);
    asOrdinaryUser(folder.path(), [this] { expectLoadFails(DecodingError::notJson); });
}

TEST_F(Store, InaccessibleFolderIsAnErrorAndDoesNotCountAsFirstRun) {
    putPrimary(documentOf(twoCameras()));
    setMode(storage, 0000);
    asOrdinaryUser(folder.path(), [this] {
        expectLoadFails(readError(EACCES));
        expectSaveFails({FileError::Operation::keep, primary(), EACCES});
    });
    setMode(storage, 0700);
}

TEST_F(Store, ListInAReadOnlyFolderCanStillBeLoaded) {
    expectSaves(twoCameras());
    setMode(storage, 0500);
    asOrdinaryUser(folder.path(), [this] {
        expectLoads(twoCameras());
        expectSaveFails(writeError(EACCES));
        expectLoads(twoCameras());
    });
    setMode(storage, 0700);
    EXPECT_EQ(storedNames().size(), 2);
}

TEST_F(Store, SaveFailsIfTheFolderCannotBeCreated) {
    setMode(folder.path(), 0500);
    asOrdinaryUser(folder.path(), [this] {
        expectSaveFails({FileError::Operation::createFolder, storage, EACCES});
    });
    setMode(folder.path(), 0700);
    EXPECT_EQ(folder.names(), QStringList());
}

TEST_F(Store, OrdinaryUserCanSaveAndLoad) {
    asOrdinaryUser(folder.path(), [this] {
        expectSaves(twoCameras());
        expectLoads(twoCameras());
        EXPECT_EQ(modeOf(primary()), 0600);
        EXPECT_EQ(modeOf(recovery()), 0600);
    });
}

} // namespace
} // namespace lumvik
