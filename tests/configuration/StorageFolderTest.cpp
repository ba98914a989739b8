// Tests of the folder in which the camera list is stored.

#include "StoreFixture.h"

#include <pwd.h>
#include <unistd.h>

namespace lumvik {
namespace {

using namespace test;

TEST(SharedStore, IsTheSameInstanceEveryTime) {
    EXPECT_EQ(&CameraConfigurationStore::shared(), &CameraConfigurationStore::shared());
}

TEST(StorageFolder, IsTheOverrideIfOneIsGiven) {
    EXPECT_EQ(CameraConfigurationStore(u"/some/where"_s).appSupportDirectory(), u"/some/where"_s);
}

/// Sets environment variables for the duration of a test. An empty value unsets the variable.
class Environment {
  public:
    Environment(const QByteArray &home, const QByteArray &dataHome)
        : m_home(qgetenv("HOME"))
        , m_dataHome(qgetenv("XDG_DATA_HOME")) {
        put("HOME", home);
        put("XDG_DATA_HOME", dataHome);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    ~Environment() {
        put("HOME", m_home);
        put("XDG_DATA_HOME", m_dataHome);
    }

  private:
    static void put(const char *name, const QByteArray &value) {
        if (value.isEmpty())
            qunsetenv(name);
        else
            qputenv(name, value);
    }

    QByteArray m_home;
    QByteArray m_dataHome;
};

QString defaultFolder() {
    return CameraConfigurationStore::shared().appSupportDirectory();
}

TEST(StorageFolder, IsInsideXdgDataHome) {
    const Environment environment("/home/me", "/data/me");
    EXPECT_EQ(defaultFolder(), u"/data/me/lumvik"_s);
}

TEST(StorageFolder, IsInsideTheHomeFolderByDefault) {
    const Environment environment("/home/me", "");
    EXPECT_EQ(defaultFolder(), u"/home/me/.local/share/lumvik"_s);
}

TEST(StorageFolder, RelativeXdgDataHomeIsIgnored) {
    const Environment environment("/home/me", "data");
    EXPECT_EQ(defaultFolder(), u"/home/me/.local/share/lumvik"_s);
}

TEST(StorageFolder, HomeFolderComesFromTheUserDatabaseIfHomeIsUnset) {
    const passwd *entry = ::getpwuid(::geteuid());
    if (!entry)
        GTEST_SKIP() << "this user is not in the user database";
    const Environment environment("", "");
    EXPECT_EQ(defaultFolder(),
              QDir::cleanPath(QFile::decodeName(entry->pw_dir) + u"/.local/share/lumvik"_s));
}

TEST(StorageFolder, ProcessIsAbortedIfTheUserHasNoHomeFolder) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can switch to a user without a home folder";
    const Environment environment("", "");
    EXPECT_DEATH(
        {
            constexpr uid_t unknownUser = 2000000000;
            if (::setuid(unknownUser) == 0)
                static_cast<void>(defaultFolder());
            std::_Exit(0);
        },
        "There is no home folder");
}

TEST(StorageFolder, IsCreatedOnlyByASave) {
    const TestFolder folder;
    const Environment environment(folder.path().toUtf8(), "");
    static_cast<void>(defaultFolder());
    EXPECT_EQ(folder.names(), QStringList());
    ASSERT_TRUE(CameraConfigurationStore::shared().load().has_value());
    EXPECT_EQ(folder.names(), QStringList());
    ASSERT_TRUE(CameraConfigurationStore::shared().save(twoCameras()).has_value());
    EXPECT_EQ(modeOf(folder.path(u".local/share/lumvik"_s)), 0700);
    EXPECT_EQ(modeOf(folder.path(u".local/share/lumvik/cameras.json"_s)), 0600);
}

} // namespace
} // namespace lumvik
