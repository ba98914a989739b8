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

    void expectRefusal(const CameraList &cameras) {
        const QByteArray before = bytesOf(primary());
        const auto saved = keeper.save(cameras);
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.error(), StoreError(CameraConfigurationError::changedElsewhere));
        EXPECT_EQ(bytesOf(primary()), before);
        EXPECT_EQ(keptNames(), QStringList());
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
    expectRefusal(twoCameras());
    ASSERT_TRUE(keeper.save(twoCameras(), ChangedList::replace));
    EXPECT_EQ(keptList(), documentOf(manyCameras(3)));
    expectLoads(twoCameras());
}

TEST_F(CameraListKeeperTest, ListOnADiskThatWasMountedAfterTheStartIsKept) {
    ASSERT_EQ(keeper.load(), CameraList());
    putPrimary(documentOf(manyCameras(3)));
    expectRefusal(twoCameras());
    ASSERT_TRUE(keeper.save(twoCameras(), ChangedList::replace));
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

// ---- Lists that are changed elsewhere ----

TEST_F(CameraListKeeperTest, ListThatWasChangedElsewhereIsReplacedOnRequestOnly) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(CameraConfigurationStore(storage).save(manyCameras(4)));
    expectRefusal(twoCameras());
    expectRefusal(twoCameras());
    ASSERT_TRUE(keeper.save(twoCameras(), ChangedList::replace));
    expectLoads(twoCameras());
    EXPECT_EQ(keptNames(), QStringList());
    EXPECT_TRUE(keeper.save(manyCameras(5)));
}

TEST_F(CameraListKeeperTest, ChangeAfterASaveIsNoticed) {
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(keeper.save(twoCameras()));
    ASSERT_TRUE(CameraConfigurationStore(storage).save(manyCameras(4)));
    expectRefusal(twoCameras());
}

TEST_F(CameraListKeeperTest, ReloadedListIsReplaced) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.load());
    putPrimary(documentOf(manyCameras(4)));
    expectRefusal(twoCameras());
    EXPECT_EQ(keeper.load(), manyCameras(4));
    EXPECT_TRUE(keeper.save(twoCameras()));
}

TEST_F(CameraListKeeperTest, NewTimeStampIsNoChange) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.load());
    QFile file(primary());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(1),
                                 QFileDevice::FileModificationTime));
    file.close();
    EXPECT_TRUE(keeper.save(twoCameras()));
}

TEST_F(CameraListKeeperTest, ChangeWithAnOldTimeStampAndTheSameSizeIsNoticed) {
    const auto listed = [](const QString &name) {
        return documentOf({{name, u"rtsp://camera.example/"_s}});
    };
    putPrimary(listed(u"one"_s));
    const QDateTime time = QFileInfo(primary()).lastModified();
    ASSERT_TRUE(keeper.load());
    putPrimary(listed(u"two"_s));
    QFile file(primary());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(time, QFileDevice::FileModificationTime));
    file.close();
    expectRefusal(twoCameras());
}

TEST_F(CameraListKeeperTest, ListThatWasRemovedElsewhereIsSavedAgain) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.load());
    ASSERT_TRUE(QFile::remove(primary()));
    EXPECT_TRUE(keeper.save(twoCameras()));
    expectLoads(twoCameras());
}

TEST_F(CameraListKeeperTest, ListThatWasDamagedElsewhereIsKeptWithoutAQuestion) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(keeper.load());
    putPrimary("damaged");
    EXPECT_TRUE(keeper.save(twoCameras()));
    EXPECT_EQ(keptList(), "damaged");
}

TEST_F(CameraListKeeperTest, ListThatWasRepairedElsewhereIsNotReplacedUnasked) {
    putPrimary("damaged");
    putRecovery(documentOf(manyCameras(2)));
    ASSERT_TRUE(keeper.load());
    putPrimary(documentOf(manyCameras(3)));
    expectRefusal(twoCameras());
    ASSERT_TRUE(keeper.save(twoCameras(), ChangedList::replace));
    EXPECT_EQ(keptList(), documentOf(manyCameras(3)));
}

TEST_F(CameraListKeeperTest, ListOfAnIncompleteSaveIsNotSomeoneElses) {
    const NoPermissions files(primary());
    const CameraConfigurationStore hampered(storage, files);
    CameraListKeeper other(hampered, userDefaults);
    ASSERT_TRUE(other.load());
    ASSERT_FALSE(other.save(twoCameras()));
    ASSERT_EQ(bytesOf(primary()), documentOf(twoCameras()));
    const auto again = other.save(manyCameras(3));
    ASSERT_FALSE(again);
    EXPECT_TRUE(std::holds_alternative<FileError>(again.error()));
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
