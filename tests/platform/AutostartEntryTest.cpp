#include "platform/AutostartEntry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

QByteArray lineOf(const QByteArray &text, const QByteArray &key) {
    for (const QByteArray &line : text.split('\n')) {
        if (line.startsWith(key + '='))
            return line.sliced(key.size() + 1);
    }
    return "missing";
}

class AutostartEntryTest : public testing::Test {
  protected:
    [[nodiscard]] QString path() const {
        return folder.filePath(u"config/autostart/com.tandrel.Lumvik.desktop"_s);
    }
    [[nodiscard]] QByteArray contents() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void put(const QByteArray &bytes) const {
        ASSERT_TRUE(QDir().mkpath(folder.filePath(u"config/autostart"_s)));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    const QTemporaryDir folder;
    const AutostartEntry entry{folder.filePath(u"config/autostart"_s), u"/usr/bin/lumvik"_s};
};

TEST_F(AutostartEntryTest, IsSwitchedOnAndOffByItsFile) {
    EXPECT_FALSE(entry.isOn());
    ASSERT_TRUE(entry.setOn(true));
    EXPECT_TRUE(entry.isOn());
    EXPECT_EQ(lineOf(contents(), "Exec"), "\"/usr/bin/lumvik\" --at-login");
    EXPECT_EQ(lineOf(contents(), "TryExec"), "/usr/bin/lumvik");
    ASSERT_TRUE(entry.setOn(true)) << "once more";
    ASSERT_TRUE(entry.setOn(false));
    EXPECT_FALSE(entry.isOn());
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_TRUE(entry.setOn(false)) << "There is nothing to do.";
}

TEST_F(AutostartEntryTest, EntryThatTheDesktopHasSwitchedOffIsOff) {
    put(autostartEntryText(u"/usr/bin/lumvik"_s) + "X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(entry.isOn());
    ASSERT_TRUE(entry.setOn(true));
    EXPECT_TRUE(entry.isOn());
}

TEST_F(AutostartEntryTest, FolderThatCannotBeWrittenIsReported) {
    const AutostartEntry nowhere(u"/proc/autostart"_s, u"/usr/bin/lumvik"_s);
    const auto changed = nowhere.setOn(true);
    ASSERT_FALSE(changed);
    EXPECT_FALSE(changed.error().isEmpty());
    EXPECT_FALSE(nowhere.isOn());
}

TEST_F(AutostartEntryTest, ProgramWithoutAPathIsNotAvailable) {
    EXPECT_TRUE(entry.isAvailable());
    EXPECT_FALSE(AutostartEntry(folder.path(), {}).isAvailable());
    qputenv("FLATPAK_ID", "com.tandrel.Lumvik");
    EXPECT_FALSE(AutostartEntry::standard().isAvailable());
    qunsetenv("FLATPAK_ID");
    EXPECT_TRUE(AutostartEntry::standard().isAvailable());
}

TEST(AutostartEntryText, PathsAreQuotedAsTheDesktopEntrySpecificationDemands) {
    const struct {
        QString program;
        QByteArray exec;
        QByteArray tryExec;
    } cases[] = {
        {u"/opt/my programs/lumvik"_s, "\"/opt/my programs/lumvik\"", "/opt/my programs/lumvik"},
        {u"/opt/100%/lumvik"_s, "\"/opt/100%%/lumvik\"", "/opt/100%/lumvik"},
        {u"/opt/$HOME/lumvik"_s, R"("/opt/\\$HOME/lumvik")", "/opt/$HOME/lumvik"},
        {u"/opt/a\"b/lumvik"_s, R"("/opt/a\\"b/lumvik")", "/opt/a\"b/lumvik"},
        {u"/opt/`id`/lumvik"_s, R"("/opt/\\`id\\`/lumvik")", "/opt/`id`/lumvik"},
        {u"/opt/a\\b/lumvik"_s, R"("/opt/a\\\\b/lumvik")", R"(/opt/a\\b/lumvik)"},
        {u"/opt/a\nExec=b"_s, R"("/opt/a\nExec=b")", R"(/opt/a\nExec=b)"},
        {u"/opt/ü/lumvik"_s, "\"/opt/ü/lumvik\"", "/opt/ü/lumvik"},
    };
    for (const auto &[program, exec, tryExec] : cases) {
        const QByteArray text = autostartEntryText(program);
        EXPECT_EQ(lineOf(text, "Exec"), exec + " --at-login");
        EXPECT_EQ(lineOf(text, "TryExec"), tryExec);
    }
}

TEST(AutostartEntryText, IsActiveUnlessAKeySaysOtherwise) {
    const QByteArray group = "[Desktop Entry]\n";
    EXPECT_TRUE(isActiveAutostartEntry(autostartEntryText(u"/usr/bin/lumvik"_s)));
    EXPECT_TRUE(isActiveAutostartEntry(group + "Hidden=false\nX-GNOME-Autostart-enabled=true\n"));
    EXPECT_FALSE(isActiveAutostartEntry(group + "Hidden=true\n"));
    EXPECT_FALSE(isActiveAutostartEntry(group + " Hidden = true \r\n"));
    EXPECT_FALSE(isActiveAutostartEntry(group + "X-GNOME-Autostart-enabled=false\n"));
    EXPECT_TRUE(isActiveAutostartEntry(group + "[Desktop Action x]\nHidden=true\n"));
    EXPECT_FALSE(isActiveAutostartEntry("Exec=lumvik\n"));
    EXPECT_FALSE(isActiveAutostartEntry(""));
}

} // namespace
} // namespace lumvik::test
