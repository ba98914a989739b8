// Tests of saving the camera list, including on full and read-only disks.

#include "StoreFixture.h"

#include <unistd.h>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

/// A file manager that returns other contents when a file is read for the second time.
class ChangingFile : public FileManager {
  public:
    explicit ChangingFile(tl::expected<QByteArray, FileError> second)
        : m_second(std::move(second)) {}
    tl::expected<QByteArray, FileError> contents(const QString &path, qint64 limit) const override {
        return m_readings++ == 0 ? FileManager::contents(path, limit) : m_second;
    }

  private:
    tl::expected<QByteArray, FileError> m_second;
    mutable int m_readings = 0;
};

TEST_F(Store, SaveWritesTheSameBytesToBothFiles) {
    expectSaves(twoCameras());
    EXPECT_EQ(bytesOf(primary()), documentOf(twoCameras()));
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
    EXPECT_EQ(storedNames(), (QStringList{u"cameras.json"_s, u"cameras.last-good.json"_s}));
    EXPECT_EQ(log.lines(),
              QList{line(LogLevel::info,
                         u"Saved 2 cameras and refreshed the owner-only recovery copy."_s)});
}

TEST_F(Store, SavedListCanBeLoaded) {
    expectSaves(twoCameras());
    expectLoads(twoCameras());
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, SavedListKeepsSurroundingSpacesAndDuplicates) {
    const CameraList cameras{{u" a "_s, u" rtsp://x \t"_s}, {u" a "_s, u" rtsp://x \t"_s}};
    expectSaves(cameras);
    expectLoads(cameras);
}

TEST_F(Store, UnknownMembersAreRemovedByTheNextSave) {
    putPrimary(R"({"cameras":[{"name":"n","url":"u","id":5}],"theme":"dark"})");
    const auto loaded = store.load();
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(bytesOf(recovery()).contains("theme"));
    expectSaves(*loaded);
    for (const QString &path : {primary(), recovery()}) {
        EXPECT_FALSE(bytesOf(path).contains("\"id\""));
        EXPECT_FALSE(bytesOf(path).contains("theme"));
    }
}

TEST_F(Store, EmptyListIsSaved) {
    expectSaves({});
    EXPECT_EQ(bytesOf(primary()), documentOf({}));
    EXPECT_EQ(
        log.lines().last(),
        line(LogLevel::info, u"Saved 0 cameras and refreshed the owner-only recovery copy."_s));
    expectLoadFails(CameraConfigurationError::noCameras);
}

TEST_F(Store, SaveReplacesLongerFilesCompletely) {
    expectSaves(manyCameras(100));
    expectSaves(twoCameras());
    EXPECT_EQ(bytesOf(primary()), documentOf(twoCameras()));
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, SaveMakesPublicFilesPrivate) {
    putPrimary("old");
    putRecovery("old");
    setMode(primary(), 0666);
    setMode(recovery(), 0755);
    expectSaves(twoCameras());
    EXPECT_EQ(modeOf(primary()), 0600);
    EXPECT_EQ(modeOf(recovery()), 0600);
}

class StoreWithUmask : public Store, public testing::WithParamInterface<mode_t> {};

TEST_P(StoreWithUmask, FoldersAndFilesHaveExactlyTheRequiredModes) {
    const FileCreationMask mask(GetParam());
    const CameraConfigurationStore deep(folder.path(u"a/b/lumvik"_s));
    ASSERT_TRUE(deep.save(twoCameras()).has_value());
    for (const auto &path : {u"a"_s, u"a/b"_s, u"a/b/lumvik"_s})
        EXPECT_EQ(modeOf(folder.path(path)), 0700) << qPrintable(path);
    EXPECT_EQ(modeOf(folder.path(u"a/b/lumvik/cameras.json"_s)), 0600);
    EXPECT_EQ(modeOf(folder.path(u"a/b/lumvik/cameras.last-good.json"_s)), 0600);
    ASSERT_TRUE(store.exportCameras(twoCameras(), folder.path(u"out.json"_s)).has_value());
    EXPECT_EQ(modeOf(folder.path(u"out.json"_s)), 0600);
}

INSTANTIATE_TEST_SUITE_P(Masks, StoreWithUmask, testing::Values(0000, 0022, 0077, 0277, 0777));

TEST_F(Store, ExistingStorageFolderKeepsItsMode) {
    makeStorage();
    setMode(storage, 0755);
    expectSaves(twoCameras());
    EXPECT_EQ(modeOf(storage), 0755);
    EXPECT_EQ(modeOf(primary()), 0600);
}

TEST_F(Store, StorageFolderMayBeASymbolicLink) {
    ASSERT_TRUE(QDir().mkpath(folder.path(u"elsewhere"_s)));
    ASSERT_EQ(::symlink("elsewhere", qPrintable(storage)), 0);
    expectSaves(twoCameras());
    expectLoads(twoCameras());
    EXPECT_TRUE(QFile::exists(folder.path(u"elsewhere/cameras.json"_s)));
}

TEST_F(Store, SaveThroughASymbolicLinkReplacesTheTargetOfTheLink) {
    makeStorage();
    ASSERT_TRUE(QDir().mkpath(folder.path(u"dotfiles"_s)));
    const QString kept = folder.path(u"dotfiles/lumvik.json"_s);
    putBytes(kept, documentOf(manyCameras(3)));
    ASSERT_EQ(::symlink("../dotfiles/lumvik.json", qPrintable(primary())), 0);
    expectLoads(manyCameras(3));
    expectSaves(twoCameras());
    EXPECT_TRUE(QFileInfo(primary()).isSymLink());
    EXPECT_EQ(bytesOf(kept), documentOf(twoCameras()));
    EXPECT_EQ(modeOf(kept), 0600);
    EXPECT_EQ(TestFolder::namesIn(folder.path(u"dotfiles"_s)), QStringList(u"lumvik.json"_s));
    expectLoads(twoCameras());
}

TEST_F(Store, SaveThroughASymbolicLinkCreatesAMissingTarget) {
    makeStorage();
    const QString kept = folder.path(u"kept.json"_s);
    ASSERT_EQ(::symlink(qPrintable(kept), qPrintable(primary())), 0);
    expectSaves(twoCameras());
    EXPECT_EQ(bytesOf(kept), documentOf(twoCameras()));
    EXPECT_TRUE(QFileInfo(primary()).isSymLink());
}

TEST_F(Store, RecoveryCopyMayBeASymbolicLinkToTheList) {
    expectSaves(manyCameras(3));
    ASSERT_TRUE(QFile::remove(recovery()));
    ASSERT_EQ(::symlink("cameras.json", qPrintable(recovery())), 0);
    expectLoads(manyCameras(3));
    expectSaves(twoCameras());
    expectLoads(twoCameras());
}

TEST_F(Store, ReadOnlyRecoveryCopyDoesNotPreventASave) {
    putRecovery(documentOf(manyCameras(3)));
    setMode(recovery(), 0444);
    expectSaves(twoCameras());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, notRefreshed)});
    EXPECT_EQ(bytesOf(primary()), documentOf(twoCameras()));
    EXPECT_EQ(bytesOf(recovery()), documentOf(manyCameras(3)));
}

TEST_F(Store, FolderInPlaceOfTheRecoveryCopyPreventsNeitherSaveNorLoad) {
    ASSERT_TRUE(QDir().mkpath(recovery()));
    expectSaves(twoCameras());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, notRefreshed)});
    log.clear();
    expectLoads(twoCameras());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::info, u"Loaded 2 cameras."_s)});
    EXPECT_TRUE(QFileInfo(recovery()).isDir());
}

TEST_F(Store, SaveReplacesNeitherAReadOnlyListNorItsRecoveryCopy) {
    expectSaves(twoCameras());
    log.clear();
    setMode(primary(), 0400);
    expectSaveFails(writeError(EACCES));
    EXPECT_EQ(bytesOf(primary()), documentOf(twoCameras()));
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
    EXPECT_EQ(log.lines(), QList<LoggedLine>());
    EXPECT_EQ(storedNames().size(), 2);
}

TEST_F(Store, SaveFailsAndKeepsTheRecoveryCopyIfTheListCannotBeMadePrivate) {
    expectSaves(twoCameras());
    const NoPermissions files(primary());
    const auto saved = CameraConfigurationStore(storage, files).save(manyCameras(3));
    ASSERT_FALSE(saved.has_value());
    EXPECT_EQ(saved.error(),
              StoreError(FileError{FileError::Operation::setPermissions, primary(), EPERM}));
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(Store, RecoveryCopyThatCannotBeMadePrivatePreventsNeitherSaveNorLoad) {
    const NoPermissions files(recovery());
    const CameraConfigurationStore hampered(storage, files);
    EXPECT_TRUE(hampered.save(twoCameras()).has_value());
    EXPECT_EQ(log.lines(), QList{line(LogLevel::error, notRefreshed)});
    EXPECT_TRUE(hampered.load().has_value());
}

TEST_F(Store, LoadCopiesTheListFromASecondReadToTheRecoveryCopy) {
    putPrimary(documentOf(twoCameras()));
    const QByteArray second = documentOf(manyCameras(3, u"New"_s));
    const ChangingFile files(second);
    EXPECT_EQ(CameraConfigurationStore(storage, files).load(), twoCameras());
    EXPECT_EQ(bytesOf(recovery()), second);
}

TEST_F(Store, LoadSucceedsAndKeepsTheRecoveryCopyIfTheSecondReadFails) {
    putPrimary(documentOf(twoCameras()));
    const QByteArray old = documentOf(manyCameras(3, u"Old"_s));
    putRecovery(old);
    const ChangingFile failing(tl::unexpected(readError(EIO)));
    EXPECT_EQ(CameraConfigurationStore(storage, failing).load(), twoCameras());
    const ChangingFile damaged(QByteArray("{"));
    EXPECT_EQ(CameraConfigurationStore(storage, damaged).load(), twoCameras());
    EXPECT_EQ(bytesOf(recovery()), old);
}

// ---- Full and read-only disks ----

TEST_F(Store, SaveToAFullDiskKeepsTheOldListAndLeavesNoTemporaryFile) {
    makeStorage();
    onSmallDisk(storage, 64, [this] {
        expectSaves(twoCameras());
        const auto saved = store.save(manyCameras(10000));
        ASSERT_FALSE(saved.has_value());
        EXPECT_EQ(saved.error(), StoreError(writeError(ENOSPC)));
        EXPECT_EQ(bytesOf(primary()), documentOf(twoCameras()));
        EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
        EXPECT_EQ(storedNames().size(), 2);
        expectLoads(twoCameras());
        expectSaves(manyCameras(3)); // The failed save has released its space.
    });
}

TEST_F(Store, SaveSucceedsIfOnlyTheRecoveryCopyDoesNotFitOnTheDisk) {
    makeStorage();
    onSmallDisk(storage, 64, [this] {
        const CameraList half = manyCameras(350);
        ASSERT_GT(documentOf(half).size(), 33 * 1024);
        ASSERT_LT(documentOf(half).size(), 60 * 1024);
        expectSaves(half);
        EXPECT_EQ(log.lines(), QList{line(LogLevel::error, notRefreshed)});
        EXPECT_EQ(bytesOf(primary()), documentOf(half));
        EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
        log.clear();
        expectLoads(half);
        EXPECT_EQ(log.lines(), QList{line(LogLevel::info, u"Loaded 350 cameras."_s)});
        EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
    });
}

TEST_F(Store, ListOnAReadOnlyDiskCanBeLoadedButNotSaved) {
    makeStorage();
    onSmallDisk(storage, 64, [this] {
        expectSaves(twoCameras());
        makeDiskReadOnly(storage);
        expectLoads(twoCameras());
        expectSaveFails(writeError(EROFS));
        EXPECT_EQ(bytesOf(primary()), documentOf(twoCameras()));
    });
}

} // namespace
} // namespace lumvik
