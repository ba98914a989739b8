#include "configuration/FileManager.h"

#include "TestFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

/// A limit in bytes that no file in these tests exceeds.
constexpr qint64 defaultLimit = 1024 * 1024;

class FileManagerTest : public testing::Test {
  protected:
    [[nodiscard]] tl::expected<QByteArray, FileError> contents(const QString &path,
                                                               qint64 limit = defaultLimit) const {
        return files.contents(path, limit);
    }

    const TestFolder folder;
    const QString file = folder.path(u"file"_s);
    const FileManager &files = FileManager::standard();
};

TEST_F(FileManagerTest, StandardReturnsTheSameInstanceEveryTime) {
    EXPECT_EQ(&files, &FileManager::standard());
}

TEST_F(FileManagerTest, FileExistsFollowsLinks) {
    EXPECT_FALSE(files.fileExists(file));
    EXPECT_TRUE(files.fileExists(folder.path()));
    ASSERT_EQ(::symlink("file", qPrintable(folder.path(u"link"_s))), 0);
    EXPECT_FALSE(files.fileExists(folder.path(u"link"_s)));
    putBytes(file, "x");
    EXPECT_TRUE(files.fileExists(file));
    EXPECT_TRUE(files.fileExists(folder.path(u"link"_s)));
    EXPECT_FALSE(files.fileExists(file + u"/below"_s));
}

TEST_F(FileManagerTest, ContentsReturnsEveryByte) {
    QByteArray bytes;
    for (int index = 0; index < 100000; ++index)
        bytes.append(static_cast<char>(index * 7));
    putBytes(file, bytes);
    EXPECT_EQ(contents(file).value(), bytes);
    putBytes(file, "");
    EXPECT_EQ(contents(file).value(), "");
}

TEST_F(FileManagerTest, ContentsRefusesAFileBeyondTheLimit) {
    putBytes(file, QByteArray(1000, 'x'));
    EXPECT_EQ(contents(file, 1000).value().size(), 1000);
    EXPECT_EQ(contents(file, 999).error(), (FileError{FileError::Operation::read, file, EFBIG}));
}

TEST_F(FileManagerTest, ContentsDoesNotRelyOnTheReportedSize) {
    // The reported size of this file is 0, but it has about a thousand bytes.
    const QString sizeless = u"/proc/self/status"_s;
    EXPECT_TRUE(contents(sizeless).value().startsWith("Name:"));
    EXPECT_TRUE(contents(sizeless).value().endsWith('\n'));
    EXPECT_EQ(contents(sizeless, 100).error().systemError, EFBIG);
}

TEST_F(FileManagerTest, ContentsRefusesAnythingButARegularFile) {
    EXPECT_EQ(contents(file).error().systemError, ENOENT);
    EXPECT_EQ(contents(folder.path()).error().systemError, EISDIR);
    EXPECT_EQ(contents(u"/dev/zero"_s).error().systemError, ENODEV);
    ASSERT_EQ(::mkfifo(qPrintable(file), 0600), 0);
    EXPECT_EQ(contents(file).error().systemError, ENODEV);
}

TEST_F(FileManagerTest, CreateDirectoryAlsoCreatesMissingParents) {
    for (const QString &name : {u"a/b/c"_s, u"d/"_s, u"e//f"_s, u"g/./h"_s}) {
        EXPECT_TRUE(files.createDirectory(folder.path() + u'/' + name, 0700).has_value());
        EXPECT_EQ(modeOf(folder.path() + u'/' + name), 0700) << qPrintable(name);
    }
    EXPECT_EQ(modeOf(folder.path(u"a"_s)), 0700);
}

TEST_F(FileManagerTest, CreateDirectoryKeepsThePermissionsOfAnExistingFolder) {
    ASSERT_TRUE(QDir().mkpath(folder.path(u"a"_s)));
    setMode(folder.path(u"a"_s), 0751);
    EXPECT_TRUE(files.createDirectory(folder.path(u"a/b"_s), 0700).has_value());
    EXPECT_TRUE(files.createDirectory(folder.path(u"a"_s), 0700).has_value());
    EXPECT_EQ(modeOf(folder.path(u"a"_s)), 0751);
}

TEST_F(FileManagerTest, CreateDirectoryFailsWhereAFileExists) {
    putBytes(file, "x");
    const QString below = file + u"/below"_s;
    EXPECT_EQ(files.createDirectory(file, 0700).error(),
              (FileError{FileError::Operation::createFolder, file, ENOTDIR}));
    EXPECT_EQ(files.createDirectory(below, 0700).error().systemError, ENOTDIR);
    ASSERT_EQ(::symlink("nowhere", qPrintable(folder.path(u"link"_s))), 0);
    EXPECT_EQ(files.createDirectory(folder.path(u"link"_s), 0700).error().systemError, EEXIST);
}

TEST_F(FileManagerTest, SetPermissionsSetsExactlyTheGivenBits) {
    putBytes(file, "x");
    EXPECT_TRUE(files.setPermissions(file, 0640).has_value());
    EXPECT_EQ(modeOf(file), 0640);
    EXPECT_EQ(files.setPermissions(folder.path(u"none"_s), 0600).error(),
              (FileError{FileError::Operation::setPermissions, folder.path(u"none"_s), ENOENT}));
}

TEST_F(FileManagerTest, FileNamesAreEncodedInUtf8) {
    const QString odd = folder.path(u"Küche \" 😀\n"_s);
    EXPECT_TRUE(files.writeAtomically("x", odd).has_value());
    EXPECT_TRUE(files.fileExists(odd));
    EXPECT_EQ(contents(odd).value(), "x");
    EXPECT_EQ(folder.names(), QStringList(u"Küche \" 😀\n"_s));
}

} // namespace
} // namespace lumvik
