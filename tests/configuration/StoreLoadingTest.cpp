// Loading the camera list, whatever stands on the disk.

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

TEST_F(Store, FirstRunIsAnEmptyListAndMakesNothing) {
    expectLoads({});
    EXPECT_EQ(folder.names(), QStringList());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, noneYet)});
}

TEST_F(Store, MissingListDoesNotConsultTheRecoveryCopy) {
    putRecovery(documentOf(twoCameras()));
    expectLoads({});
    EXPECT_EQ(storedNames(), QStringList(u"cameras.last-good.json"_s));
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, noneYet)});
}

TEST_F(Store, GoodListIsReturned) {
    putPrimary(documentOf(twoCameras()));
    expectLoads(twoCameras());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, u"Loaded 2 cameras."_s)});
}

TEST_F(Store, GoodListIsCopiedByteForByteOverTheRecoveryCopy) {
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

TEST_F(Store, LoadingLeavesTheListsOwnPermissionsAlone) {
    putPrimary(documentOf(twoCameras()));
    setMode(primary(), 0644);
    expectLoads(twoCameras());
    EXPECT_EQ(modeOf(primary()), 0644);
}

TEST_F(Store, EmptyListIsRecovered) {
    putPrimary(emptyDocument);
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    EXPECT_EQ(bytesOf(primary()), emptyDocument);
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, DamagedListIsRecoveredAndLeftAsItIs) {
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

TEST_F(Store, RecoveryIsRepeatedUntilTheNextSave) {
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

TEST_F(Store, DamagedListWithoutRecoveryCopyFailsWithWhatIsWrong) {
    putPrimary("damaged");
    expectLoadFails(DecodingError::notJson);
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, primaryInvalid)});
    EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
}

TEST_F(Store, EmptyListWithoutRecoveryCopyHasNoCameras) {
    putPrimary(emptyDocument);
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, DamagedListAndDamagedCopyFailWithTheListsError) {
    putPrimary(R"({"cameras":[{}]})");
    putRecovery("damaged");
    expectLoadFails(DecodingError::badCamera);
    EXPECT_EQ(bytesOf(recovery()), "damaged");
}

TEST_F(Store, EmptyListAndDamagedCopyHaveNoCameras) {
    putPrimary(emptyDocument);
    putRecovery("damaged");
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, DamagedListAndEmptyCopyHaveNoCameras) {
    putPrimary("damaged");
    putRecovery(emptyDocument);
    expectLoadFails(CameraConfigurationError::noCameras);
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, primaryInvalid)});
}

TEST_F(Store, EmptyListAndEmptyCopyHaveNoCameras) {
    putPrimary(emptyDocument);
    putRecovery(emptyDocument);
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, UnusableCopyCountsAsDamagedWhateverItIs) {
    putPrimary("damaged");
    ASSERT_TRUE(QDir().mkpath(recovery()));
    expectLoadFails(DecodingError::notJson);
}

TEST_F(Store, ListCutOffAnywhereIsRecovered) {
    const QByteArray whole = documentOf({{u"n"_s, u"rtsp://a"_s}});
    putRecovery(documentOf(twoCameras()));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        putPrimary(whole.first(length));
        expectLoads(twoCameras());
    }
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, ListThatIsNotUtf8IsRecovered) {
    putPrimary("{\"cameras\":[{\"name\":\"K\xFC"
               "che\",\"url\":\"u\"}]}");
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
}

// Things other than a file in the list's place.

TEST_F(Store, FolderInTheListsPlaceIsDamage) {
    ASSERT_TRUE(QDir().mkpath(primary()));
    expectLoadFails(readError(EISDIR));
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    expectSaveFails(writeError(EISDIR));
}

TEST_F(Store, PipeInTheListsPlaceIsDamageAndDoesNotHang) {
    makeStorage();
    ASSERT_EQ(::mkfifo(qPrintable(primary()), 0600), 0);
    expectLoadFails(readError(ENODEV));
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
    expectSaveFails(writeError(ENODEV));
}

TEST_F(Store, PipeInTheCopysPlaceDoesNotHang) {
    putPrimary("damaged");
    ASSERT_EQ(::mkfifo(qPrintable(recovery()), 0600), 0);
    expectLoadFails(DecodingError::notJson);
    expectSaves(twoCameras());
    EXPECT_EQ(log.lines().last(), line(LogLevel::error, notRefreshed));
    expectLoads(twoCameras());
}

TEST_F(Store, SocketInTheListsPlaceIsDamage) {
    makeStorage();
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(primary()), sizeof address.sun_path);
    ASSERT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    expectLoadFails(readError(ENODEV));
    ::close(descriptor);
}

TEST_F(Store, EndlessDeviceInTheListsPlaceIsDamage) {
    makeStorage();
    ASSERT_EQ(::symlink("/dev/zero", qPrintable(primary())), 0);
    expectLoadFails(readError(ENODEV));
    expectSaveFails(writeError(ENODEV));
}

TEST_F(Store, ListLargerThanSixtyFourMebibytesIsDamage) {
    putPrimary({});
    ASSERT_EQ(::truncate(qPrintable(primary()), 64 * 1024 * 1024 + 1), 0);
    expectLoadFails(readError(EFBIG));
    putRecovery(documentOf(twoCameras()));
    expectLoads(twoCameras());
}

TEST_F(Store, ListTooLargeToBeLoadedAgainIsRefusedAndTheOldOneStays) {
    expectSaves(twoCameras());
    const CameraList huge{{u"Long"_s, QString(65 * 1024 * 1024, QLatin1Char('x'))}};
    const auto saved = store.save(huge);
    ASSERT_FALSE(saved.has_value());
    EXPECT_EQ(saved.error(), StoreError(writeError(EFBIG)));
    expectLoads(twoCameras());
    const QString file = folder.path(u"export.json"_s);
    EXPECT_FALSE(store.exportCameras(huge, file).has_value());
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(Store, LinkThatLeadsNowhereIsNoList) {
    putRecovery(documentOf(twoCameras()));
    ASSERT_EQ(::symlink("nowhere", qPrintable(primary())), 0);
    expectLoads({});
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, noneYet)});
}

TEST_F(Store, LinkInACircleIsNoListAndIsNotReplaced) {
    makeStorage();
    ASSERT_EQ(::symlink("cameras.json", qPrintable(primary())), 0);
    expectLoads({});
    expectSaveFails(writeError(ELOOP));
}

TEST_F(Store, FileInTheFoldersPlaceIsNoListAndRefusesASave) {
    putBytes(storage, "mine");
    expectLoads({});
    expectSaveFails({FileError::Operation::createFolder, storage, ENOTDIR});
    EXPECT_EQ(bytesOf(storage), "mine");
}

// Permissions that bind: as a user other than the superuser.

TEST_F(Store, UnreadableListIsRecovered) {
    putPrimary(documentOf(manyCameras(3)));
    setMode(primary(), 0000);
    asOrdinaryUser(folder.path(), [this] { expectLoadFails(readError(EACCES)); });
    putRecovery(documentOf(twoCameras()));
    asOrdinaryUser(folder.path(), [this] { expectLoads(twoCameras()); });
}

TEST_F(Store, UnreadableCopyCountsAsDamaged) {
    putPrimary("damaged");
    putRecovery(documentOf(twoCameras()));
    setMode(recovery(), 0000);
    asOrdinaryUser(folder.path(), [this] { expectLoadFails(DecodingError::notJson); });
}

TEST_F(Store, FolderThatCannotBeEnteredIsNoFirstRun) {
    putPrimary(documentOf(twoCameras()));
    setMode(storage, 0000);
    asOrdinaryUser(folder.path(), [this] {
        expectLoadFails(readError(EACCES));
        expectSaveFails(writeError(EACCES));
    });
    setMode(storage, 0700);
}

TEST_F(Store, FolderThatCannotBeWrittenStillLoads) {
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

TEST_F(Store, FolderThatCannotBeMadeRefusesASave) {
    setMode(folder.path(), 0500);
    asOrdinaryUser(folder.path(), [this] {
        expectSaveFails({FileError::Operation::createFolder, storage, EACCES});
    });
    setMode(folder.path(), 0700);
    EXPECT_EQ(folder.names(), QStringList());
}

TEST_F(Store, SavesAsAnOrdinaryUser) {
    asOrdinaryUser(folder.path(), [this] {
        expectSaves(twoCameras());
        expectLoads(twoCameras());
        EXPECT_EQ(modeOf(primary()), 0600);
        EXPECT_EQ(modeOf(recovery()), 0600);
    });
}

} // namespace
} // namespace lumvik
