#include "platform/UserDefaults.h"

#include "configuration/ChildCase.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

class UserDefaultsTest : public testing::Test {
  protected:
    void write(const QByteArray &content) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    [[nodiscard]] QByteArray read() const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("deep/er/lumvik.conf"));
    QString key = QStringLiteral("selectedCameraIndex");
};

TEST_F(UserDefaultsTest, ValuesAreAbsentWithoutAFile) {
    const UserDefaults defaults(path);
    EXPECT_EQ(defaults.integer(key), std::nullopt);
    EXPECT_FALSE(defaults.boolean(key));
    EXPECT_TRUE(defaults.string(key).isNull());
}

TEST_F(UserDefaultsTest, KeepsValuesAcrossInstances) {
    {
        UserDefaults defaults(path);
        defaults.set(key, 3);
        defaults.set(QStringLiteral("staysOnTop"), true);
        defaults.set(QStringLiteral("mainWindowFrame"), QStringLiteral("1 2 3 4 0 0 5 6"));
        EXPECT_EQ(defaults.integer(key), 3);
        EXPECT_TRUE(defaults.boolean(QStringLiteral("staysOnTop")));
        EXPECT_EQ(defaults.string(QStringLiteral("mainWindowFrame")),
                  QStringLiteral("1 2 3 4 0 0 5 6"));
    }
    const UserDefaults defaults(path);
    EXPECT_EQ(defaults.integer(key), 3);
    EXPECT_TRUE(defaults.boolean(QStringLiteral("staysOnTop")));
    EXPECT_EQ(defaults.string(QStringLiteral("mainWindowFrame")),
              QStringLiteral("1 2 3 4 0 0 5 6"));
}

TEST_F(UserDefaultsTest, WritesTheFileAfterAShortDelay) {
    UserDefaults defaults(path);
    for (int n = 0; n < 1000; ++n)
        defaults.set(key, n);
    EXPECT_TRUE(QTest::qWaitFor([&] { return read().contains("selectedCameraIndex=999"); }, 5000));
}

TEST_F(UserDefaultsTest, KeysAreWrittenToTheGeneralSection) {
    UserDefaults defaults(path);
    defaults.set(key, 7);
    defaults.synchronize();
    EXPECT_EQ(read(), "[General]\nselectedCameraIndex=7\n");
}

TEST_F(UserDefaultsTest, ValuesOfTheWrongTypeCountAsAbsent) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    write("[General]\nselectedCameraIndex=many\nstaysOnTop=perhaps\n");
    const UserDefaults defaults(path);
    EXPECT_EQ(defaults.integer(key), std::nullopt);
    EXPECT_FALSE(defaults.boolean(QStringLiteral("staysOnTop")));
}

TEST_F(UserDefaultsTest, DatesAreStoredInUtcAsReadableText) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    const QDateTime date(QDate(2026, 11, 21), QTime(23, 59, 58, 250), QTimeZone(3600));
    {
        UserDefaults defaults(path);
        EXPECT_EQ(defaults.date(key), std::nullopt);
        defaults.set(key, date);
        EXPECT_EQ(defaults.date(key), date);
    }
    EXPECT_EQ(UserDefaults(path).date(key), date);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains("2026-11-21T22:59:58.250Z"));
}

TEST_F(UserDefaultsTest, InvalidDatesCountAsAbsent) {
    UserDefaults defaults(folder.filePath(QStringLiteral("lumvik.conf")));
    for (const char *text : {"", "yesterday", "2026-13-01T00:00:00Z", "86400"}) {
        defaults.set(key, QString::fromLatin1(text));
        EXPECT_EQ(defaults.date(key), std::nullopt) << text;
    }
}

TEST_F(UserDefaultsTest, StoresValuesInAMalformedFile) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    write(QByteArray("\x00\xff[[[=\n====\n[General\nx", 22));
    {
        UserDefaults defaults(path);
        EXPECT_EQ(defaults.integer(key), std::nullopt);
        defaults.set(key, 1);
    }
    EXPECT_EQ(UserDefaults(path).integer(key), 1);
}

TEST_F(UserDefaultsTest, KeepsValuesInMemoryWhenTheFileCannotBeWritten) {
    UserDefaults defaults(QStringLiteral("/proc/no/such/lumvik.conf"));
    defaults.set(key, 1);
    defaults.synchronize();
    EXPECT_EQ(defaults.integer(key), 1);
}

TEST_F(UserDefaultsTest, FileKeepsItsContentsWhenTheDiskIsFull) {
    const QString disk = folder.filePath(QStringLiteral("disk"));
    ASSERT_TRUE(QDir().mkpath(disk));
    path = disk + QStringLiteral("/lumvik.conf");
    test::onSmallDisk(disk, 64, [&] {
        UserDefaults defaults(path);
        defaults.set(key, 1);
        defaults.synchronize();
        const QByteArray before = read();
        QFile filler(disk + QStringLiteral("/filler"));
        ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        filler.write(QByteArray(44 * 1024, 'x')); // leaves less than the new values need
        const QString longText(20'000, QLatin1Char('y'));
        defaults.set(key, 2);
        defaults.set(QStringLiteral("mainWindowFrame"), longText);
        defaults.synchronize();
        EXPECT_EQ(read(), before);
        EXPECT_EQ(QDir(disk).entryList(QDir::Files | QDir::Hidden).size(), 2)
            << "a temporary file is left";
        EXPECT_EQ(defaults.integer(key), 2) << "the value is kept in memory";
        ASSERT_TRUE(filler.remove());
        defaults.synchronize();
        EXPECT_EQ(UserDefaults(path).integer(key), 2);
        EXPECT_EQ(UserDefaults(path).string(QStringLiteral("mainWindowFrame")), longText);
    });
}

TEST_F(UserDefaultsTest, UnreadableFileIsNotReplaced) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    write("[General]\nselectedCameraIndex=4\n");
    ASSERT_TRUE(QFile::setPermissions(path, QFile::WriteOwner));
    test::asOrdinaryUser(folder.path(), [&] {
        UserDefaults defaults(path);
        defaults.set(QStringLiteral("staysOnTop"), true);
        defaults.synchronize();
        EXPECT_TRUE(defaults.boolean(QStringLiteral("staysOnTop")));
        ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
        EXPECT_EQ(read(), "[General]\nselectedCameraIndex=4\n");
    });
}

TEST_F(UserDefaultsTest, ValuesAreKeptWhileTheFileCannotBeRead) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    write("[General]\nselectedCameraIndex=4\n");
    test::asOrdinaryUser(folder.path(), [&] {
        UserDefaults defaults(path);
        const auto selected = [&] {
            return defaults.integer(QStringLiteral("selectedCameraIndex"));
        };
        EXPECT_EQ(selected(), 4);
        ASSERT_TRUE(QFile::setPermissions(path, QFile::WriteOwner));
        defaults.refresh();
        EXPECT_EQ(selected(), 4);
    });
}

TEST_F(UserDefaultsTest, ValuesOfOthersAreKept) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    write("[General]\nnewer=\"a, b\"\n\n[Other]\nx=1\n");
    UserDefaults defaults(path);
    write("[General]\nnewer=\"a, c\"\n\n[Other]\nx=1\n"); // another instance
    defaults.set(key, 3);
    defaults.synchronize();
    EXPECT_EQ(read(), "[General]\nnewer=\"a, c\"\nselectedCameraIndex=3\n\n[Other]\nx=1\n");
}

TEST_F(UserDefaultsTest, ValueIsWrittenOnlyOnce) {
    UserDefaults defaults(path);
    defaults.set(key, 3);
    defaults.synchronize();
    UserDefaults other(path);
    other.set(key, 4);
    other.synchronize();
    defaults.set(QStringLiteral("staysOnTop"), true);
    defaults.synchronize();
    EXPECT_EQ(UserDefaults(path).integer(key), 4);
    EXPECT_EQ(defaults.integer(key), 4) << "the file was read again";
}

TEST_F(UserDefaultsTest, QuickChangesOfTheSameSizeAreSeen) {
    UserDefaults defaults(path);
    UserDefaults other(path);
    for (int value = 100; value < 200; ++value) {
        UserDefaults &writer = value % 2 == 0 ? defaults : other;
        UserDefaults &reader = value % 2 == 0 ? other : defaults;
        writer.set(key, value);
        writer.synchronize();
        reader.refresh();
        ASSERT_EQ(reader.integer(key), value);
        ASSERT_EQ(UserDefaults(path).integer(key), value);
    }
}

TEST_F(UserDefaultsTest, FileIsWrittenOnlyWhenAValueWasSet) {
    path = folder.filePath(QStringLiteral("lumvik.conf"));
    { const UserDefaults defaults(path); }
    EXPECT_FALSE(QFile::exists(path));
}

} // namespace
} // namespace lumvik
