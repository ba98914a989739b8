// Tests that a camera list which cannot be read is never lost: a save keeps it under another name.

#include "StoreFixture.h"
#include "configuration/KeptFile.h"

#include <QRegularExpression>
#include <QTimeZone>

#include <unistd.h>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

/// A file manager that cannot read one file, as on a disk with a fault.
class FailingDisk : public FileManager {
  public:
    FailingDisk(QString path, int error) : m_path(std::move(path)), m_error(error) {}
    tl::expected<QByteArray, FileError> contents(const QString &path, qint64 limit) const override {
        if (path == m_path)
            return tl::unexpected(FileError{FileError::Operation::read, path, m_error});
        return FileManager::contents(path, limit);
    }

  private:
    QString m_path;
    int m_error;
};

/// A file manager that can give no file a second name.
class NoSecondName : public FileManager {
  public:
    tl::expected<void, FileError> addName(const QString &path, const QString &) const override {
        return tl::unexpected(FileError{FileError::Operation::keep, path, EIO});
    }
};

class UnreadableList : public Store {
  protected:
    [[nodiscard]] QStringList keptNames() const {
        const QRegularExpression kept(u"^cameras\\.unreadable-\\d{8}T\\d{6}Z(-\\d+)?\\.json$"_s);
        return storedNames().filter(kept);
    }
    [[nodiscard]] QList<QByteArray> keptContents() const {
        QList<QByteArray> contents;
        for (const QString &name : keptNames())
            contents.append(bytesOf(storage + u'/' + name));
        return contents;
    }
};

TEST_F(UnreadableList, SaveKeepsADamagedList) {
    putPrimary("{\"cameras\": [{\"na");
    setMode(primary(), 0644);
    expectSaves(twoCameras());
    EXPECT_EQ(keptContents(), QList<QByteArray>{"{\"cameras\": [{\"na"});
    EXPECT_EQ(modeOf(storage + u'/' + keptNames().value(0)), 0600);
    EXPECT_EQ(storedNames().size(), 3);
    EXPECT_TRUE(
        log.texts(u"configuration"_s)
            .contains(u"The previous camera list is kept as “%1”."_s.arg(keptNames().value(0))));
    expectLoads(twoCameras());
}

TEST_F(UnreadableList, SaveKeepsBothFilesIfBothAreDamaged) {
    putPrimary("first");
    putRecovery("second");
    expectSaves(twoCameras());
    EXPECT_EQ(keptContents(), (QList<QByteArray>{"second", "first"})); // "…Z-2" sorts before "…Z."
    EXPECT_EQ(bytesOf(recovery()), documentOf(twoCameras()));
}

TEST_F(UnreadableList, KeptListIsNeverReplacedByALaterOne) {
    for (const QByteArray damage : {"one", "two", "three"}) {
        putPrimary(damage);
        expectSaves(twoCameras());
    }
    QList<QByteArray> kept = keptContents();
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(kept, (QList<QByteArray>{"one", "three", "two"}));
}

TEST_F(UnreadableList, KeptFileHasTheTimeInItsNameAndANumberIfTheNameIsInUse) {
    const QDateTime now(QDate(2026, 11, 21), QTime(13, 4, 5), QTimeZone(3600));
    makeStorage();
    QStringList names;
    for (int attempt = 0; attempt < 3; ++attempt) {
        putPrimary(QByteArray::number(attempt));
        const auto kept = KeptFile::keep(FileManager::standard(), primary(), now);
        ASSERT_TRUE(kept);
        names.append(kept->name());
        ASSERT_TRUE(QFile::remove(primary()));
    }
    EXPECT_EQ(names, (QStringList{u"cameras.unreadable-20261121T120405Z.json"_s,
                                  u"cameras.unreadable-20261121T120405Z-2.json"_s,
                                  u"cameras.unreadable-20261121T120405Z-3.json"_s}));
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_EQ(bytesOf(storage + u'/' + names.at(attempt)), QByteArray::number(attempt));
}

TEST_F(UnreadableList, ListThatIsReadableIsReplaced) {
    putPrimary(documentOf(manyCameras(3)));
    expectSaves(twoCameras());
    EXPECT_EQ(keptNames(), QStringList());
}

TEST_F(UnreadableList, ListThatIsReadableIsKeptOnRequest) {
    putPrimary(documentOf(manyCameras(3)));
    ASSERT_TRUE(store.save(twoCameras(), CameraConfigurationStore::ReadableList::keep));
    EXPECT_EQ(keptContents(), QList<QByteArray>{documentOf(manyCameras(3))});
    expectLoads(twoCameras());
}

TEST_F(UnreadableList, DamagedRecoveryCopyOfAReadableListIsReplaced) {
    putPrimary(documentOf(manyCameras(3)));
    putRecovery("damaged");
    expectSaves(twoCameras());
    EXPECT_EQ(keptNames(), QStringList());
}

TEST_F(UnreadableList, SaveKeepsAListThatTheDiskDoesNotReturn) {
    for (const int error : {EIO, ESTALE, EACCES, EFBIG}) {
        putPrimary(documentOf(manyCameras(error)));
        const FailingDisk files(primary(), error);
        const CameraConfigurationStore failing(storage, files);
        ASSERT_TRUE(failing.save(twoCameras()));
        EXPECT_TRUE(keptContents().contains(documentOf(manyCameras(error)))) << error;
    }
    EXPECT_EQ(keptNames().size(), 4);
}

TEST_F(UnreadableList, SaveKeepsAListWithoutPermissionToReadIt) {
    putPrimary(documentOf(manyCameras(3)));
    setMode(primary(), 0000);
    asOrdinaryUser(folder.path(), [this] {
        expectSaves(twoCameras());
        EXPECT_EQ(keptContents(), QList<QByteArray>{documentOf(manyCameras(3))});
        expectLoads(twoCameras());
    });
}

TEST_F(UnreadableList, SaveFailsIfTheListCannotBeKept) {
    putPrimary("damaged");
    putRecovery("also damaged");
    const NoSecondName files;
    const auto saved = CameraConfigurationStore(storage, files).save(twoCameras());
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error(), StoreError(FileError{FileError::Operation::keep, primary(), EIO}));
    EXPECT_TRUE(errorDescription(saved.error())
                    .startsWith(u"The file “cameras.json” cannot be read, and it could not be kept "
                                "under another name: "_s));
    EXPECT_EQ(bytesOf(primary()), "damaged");
    EXPECT_EQ(bytesOf(recovery()), "also damaged");
}

TEST_F(UnreadableList, KeptListThatCannotBeMadePrivateIsAFailureWithoutEffect) {
    putPrimary("damaged");
    /// Like NoPermissions, but for the names of kept files.
    class NoPrivacy : public FileManager {
        tl::expected<void, FileError> setPermissions(const QString &path,
                                                     mode_t mode) const override {
            if (path.contains(u"unreadable"_s))
                return tl::unexpected(FileError{FileError::Operation::setPermissions, path, EPERM});
            return FileManager::setPermissions(path, mode);
        }
    } files;
    const auto saved = CameraConfigurationStore(storage, files).save(twoCameras());
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error(), StoreError(FileError{FileError::Operation::keep, primary(), EPERM}));
    EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
    EXPECT_EQ(bytesOf(primary()), "damaged");
}

TEST_F(UnreadableList, FailedSaveLeavesTheListUnderItsOwnNameOnly) {
    makeStorage();
    onSmallDisk(storage, 64, [this] {
        putPrimary("damaged");
        ASSERT_FALSE(store.save(manyCameras(10000)));
        EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
        EXPECT_EQ(bytesOf(primary()), "damaged");
    });
}

TEST_F(UnreadableList, FailedSaveGivesARenamedListItsNameBack) {
    putPrimary("damaged");
    const QString kept = storage + u"/other.json"_s;
    ASSERT_TRUE(QFile::rename(primary(), kept));
    FileManager::standard().removeName(kept, primary());
    EXPECT_EQ(storedNames(), QStringList(u"cameras.json"_s));
    EXPECT_EQ(bytesOf(primary()), "damaged");
}

TEST_F(UnreadableList, SecondNameIsNotGivenToAFileThatExists) {
    putPrimary("list");
    putRecovery("copy");
    const auto named = FileManager::standard().addName(primary(), recovery());
    ASSERT_FALSE(named);
    EXPECT_EQ(named.error().systemError, EEXIST);
    EXPECT_EQ(bytesOf(recovery()), "copy");
}

TEST_F(UnreadableList, TargetOfALinkIsKeptInItsOwnFolder) {
    makeStorage();
    ASSERT_TRUE(QDir().mkpath(folder.path(u"dotfiles"_s)));
    putBytes(folder.path(u"dotfiles/list.json"_s), "damaged");
    ASSERT_EQ(::symlink("../dotfiles/list.json", qPrintable(primary())), 0);
    expectSaves(twoCameras());
    EXPECT_TRUE(QFileInfo(primary()).isSymLink());
    const QStringList names = TestFolder::namesIn(folder.path(u"dotfiles"_s));
    ASSERT_EQ(names.size(), 2) << qPrintable(names.join(u' '));
    EXPECT_EQ(bytesOf(folder.path(u"dotfiles/"_s + names.at(0))), "damaged");
    expectLoads(twoCameras());
}

} // namespace
} // namespace lumvik
