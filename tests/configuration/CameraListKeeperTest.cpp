#include "configuration/CameraListKeeper.h"

#include "StoreFixture.h"

#include <unistd.h>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

class CameraListKeeperTest : public Store {
  protected:
    [[nodiscard]] QStringList keptNames() const {
        return storedNames().filter(u"cameras.unreadable-"_s);
    }
    [[nodiscard]] QByteArray keptList() const {
        return keptNames().size() == 1 ? bytesOf(storage + u'/' + keptNames().first())
                                       : QByteArray("not exactly one list was kept");
    }
    /// Loads the list as at the next start of the program.
    [[nodiscard]] CameraListCondition conditionAtNextStart() {
        CameraListKeeper next(store, userDefaults);
        static_cast<void>(next.load());
        return next.condition();
    }

    UserDefaults userDefaults{folder.path(u"lumvik.conf"_s)};
    CameraListKeeper keeper{store, userDefaults};
};

TEST_F(CameraListKeeperTest, FirstStartFindsNoList) {
    EXPECT_EQ(keeper.load(), CameraList());
    EXPECT_EQ(keeper.condition(), CameraListCondition::none);
    EXPECT_FALSE(userDefaults.boolean(u"cameraListExists"_s));
}

TEST_F(CameraListKeeperTest, GoodListIsLoadedAndItsExistenceIsRemembered) {
    putPrimary(documentOf(twoCameras()));
    EXPECT_EQ(keeper.load(), twoCameras());
    EXPECT_EQ(keeper.condition(), CameraListCondition::loaded);
    EXPECT_TRUE(userDefaults.boolean(u"cameraListExists"_s));
}

TEST_F(CameraListKeeperTest, ListFromTheRecoveryCopyCountsAsLoaded) {
    putPrimary("damaged");
    putRecovery(documentOf(twoCameras()));
    EXPECT_EQ(keeper.load(), twoCameras());
    EXPECT_EQ(keeper.condition(), CameraListCondition::loaded);
}

TEST_F(CameraListKeeperTest, DamagedListIsUnreadable) {
    putPrimary("damaged");
    EXPECT_FALSE(keeper.load());
    EXPECT_EQ(keeper.condition(), CameraListCondition::unreadable);
}

TEST_F(CameraListKeeperTest, ListWithoutPermissionIsUnreadable) {
    putPrimary(documentOf(twoCameras()));
    setMode(storage, 0000);
    asOrdinaryUser(folder.path(), [this] {
        EXPECT_FALSE(keeper.load());
        EXPECT_EQ(keeper.condition(), CameraListCondition::unreadable);
    });
    setMode(storage, 0700);
}

TEST_F(CameraListKeeperTest, ListWithoutCamerasIsNotUnreadable) {
    putPrimary(R"({"cameras":[]})");
    EXPECT_FALSE(keeper.load());
    EXPECT_EQ(keeper.condition(), CameraListCondition::none);
}

TEST_F(CameraListKeeperTest, FolderThatHasDisappearedIsAMissingList) {
    putPrimary(documentOf(twoCameras()));
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(QDir().rename(storage, folder.path(u"unmounted"_s)));
    EXPECT_EQ(conditionAtNextStart(), CameraListCondition::missing);
    ASSERT_TRUE(QDir().mkpath(storage)); // the folder on which the disk is mounted
    EXPECT_EQ(conditionAtNextStart(), CameraListCondition::missing);
    putRecovery(documentOf(twoCameras()));
    EXPECT_EQ(conditionAtNextStart(), CameraListCondition::none)
        << "the folder is there, and somebody has removed the list from it";
}

TEST_F(CameraListKeeperTest, SavedListIsMissingWhenItsFolderDisappears) {
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(keeper.save(twoCameras()));
    EXPECT_EQ(keeper.condition(), CameraListCondition::loaded);
    ASSERT_TRUE(QDir(storage).removeRecursively());
    EXPECT_EQ(conditionAtNextStart(), CameraListCondition::missing);
}

TEST_F(CameraListKeeperTest, LinkToAMissingDiskIsAMissingList) {
    putPrimary(documentOf(twoCameras()));
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(QFile::remove(primary()));
    ASSERT_EQ(::symlink("/no/such/disk/cameras.json", qPrintable(primary())), 0);
    EXPECT_EQ(conditionAtNextStart(), CameraListCondition::missing);
}

TEST_F(CameraListKeeperTest, ListThatBecameReadableAfterTheStartIsKept) {
    putPrimary("damaged");
    ASSERT_FALSE(keeper.load());
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.save(twoCameras()));
    EXPECT_EQ(keptList(), documentOf(manyCameras(3)));
    expectLoads(twoCameras());
}

TEST_F(CameraListKeeperTest, ListOnADiskThatWasMountedAfterTheStartIsKept) {
    ASSERT_EQ(keeper.load(), CameraList());
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.save(twoCameras()));
    EXPECT_EQ(keptList(), documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.save(manyCameras(4)));
    EXPECT_EQ(keptNames().size(), 1) << "the list of the second save replaces that of the first";
}

TEST_F(CameraListKeeperTest, ListThatWasLoadedIsReplaced) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(keeper.save(twoCameras()));
    EXPECT_EQ(keptNames(), QStringList());
}

TEST_F(CameraListKeeperTest, FailedSaveChangesNothing) {
    putBytes(storage, "a file in the place of the folder");
    ASSERT_TRUE(keeper.load());
    EXPECT_FALSE(keeper.save(twoCameras()));
    EXPECT_EQ(keeper.condition(), CameraListCondition::none);
    EXPECT_FALSE(userDefaults.boolean(u"cameraListExists"_s));
}

} // namespace
} // namespace lumvik
