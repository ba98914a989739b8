// Tests of keeping a file on a file system on which a file has only one name.

#include "SystemCalls.h"
#include "TestFolder.h"
#include "configuration/KeptFile.h"

#include <QTimeZone>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

class KeptFileRename : public testing::Test {
  protected:
    void SetUp() override {
        putBytes(list, "unread");
        systemCalls().before = [](const std::string &call, int) {
            return call == "link" ? EPERM : 0;
        };
    }

    const SystemCallsRestored restored;
    const TestFolder folder;
    const QString list = folder.path(u"cameras.json"_s);
    const QString other = folder.path(u"other.json"_s);
    const FileManager &files = FileManager::standard();
};

TEST_F(KeptFileRename, FileIsRenamedAndGetsItsNameBack) {
    const auto kept = KeptFile::keep(
        files, list, QDateTime(QDate(2026, 11, 21), QTime(1, 2, 3), QTimeZone::utc()));
    ASSERT_TRUE(kept);
    const QString name = u"cameras.unreadable-20261121T010203Z.json"_s;
    EXPECT_EQ(folder.names(), QStringList(name));
    EXPECT_EQ(bytesOf(folder.path(name)), "unread");
    kept->undo();
    EXPECT_EQ(folder.names(), QStringList(u"cameras.json"_s));
    EXPECT_EQ(bytesOf(list), "unread");
}

TEST_F(KeptFileRename, ExistingFileIsNotReplaced) {
    putBytes(other, "older");
    const auto named = files.addName(list, other);
    ASSERT_FALSE(named);
    EXPECT_EQ(named.error().systemError, EEXIST);
    EXPECT_EQ(bytesOf(list), "unread");
    EXPECT_EQ(bytesOf(other), "older");
}

TEST_F(KeptFileRename, NewListIsNotReplacedWhenTheOldOneShouldGetItsNameBack) {
    ASSERT_TRUE(files.addName(list, other));
    putBytes(list, "newer");
    files.removeName(other, list);
    EXPECT_EQ(bytesOf(list), "newer");
}

} // namespace
} // namespace lumvik
