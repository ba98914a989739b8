#include "platform/PreferenceFile.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

const QString index = u"selectedCameraIndex"_s;
const QString frame = u"mainWindowFrame"_s;

TEST(PreferenceFile, NewFileHasOneSection) {
    EXPECT_EQ(withPreferences({}, {{index, u"2"_s}, {frame, u"1 2 3 4"_s}}),
              "[General]\nmainWindowFrame=1 2 3 4\nselectedCameraIndex=2\n");
}

TEST(PreferenceFile, ValueIsReplaced) {
    EXPECT_EQ(withPreferences("[General]\nselectedCameraIndex=1\nx=y\n", {{index, u"2"_s}}),
              "[General]\nx=y\nselectedCameraIndex=2\n");
    EXPECT_EQ(withPreferences("[General]\nselectedCameraIndex = 1\nselectedCameraIndex=5",
                              {{index, u"2"_s}}),
              "[General]\nselectedCameraIndex=2\n");
}

TEST(PreferenceFile, OtherSectionsAndCommentsStay) {
    const QByteArray file = "; mine\n[General]\nx=\"a, b\"\n\n[Other]\nselectedCameraIndex=7\n";
    EXPECT_EQ(withPreferences(file, {{index, u"2"_s}}),
              "; mine\n[General]\nx=\"a, b\"\nselectedCameraIndex=2\n\n[Other]\n"
              "selectedCameraIndex=7\n");
}

TEST(PreferenceFile, SectionIsAddedBeforeTheOthers) {
    EXPECT_EQ(withPreferences("[Other]\nx=1\n", {{index, u"2"_s}}),
              "[General]\nselectedCameraIndex=2\n\n[Other]\nx=1\n");
}

TEST(PreferenceFile, LinesBeforeTheFirstSectionBelongToTheGeneralOne) {
    EXPECT_EQ(withPreferences("selectedCameraIndex=1\nx=1\n[Other]\n", {{index, u"2"_s}}),
              "x=1\nselectedCameraIndex=2\n[Other]\n");
}

TEST(PreferenceFile, LineEndsOfOtherSystemsAreUnderstood) {
    const QByteArray file =
        withPreferences("[General]\r\nselectedCameraIndex=1\r\nx=1\r\n", {{index, u"2"_s}});
    EXPECT_FALSE(file.contains("Index=1"));
    EXPECT_TRUE(file.contains("selectedCameraIndex=2\n"));
}

/// Texts that must survive writing here and reading with QSettings.
class PreferenceText : public testing::TestWithParam<QString> {};

TEST_P(PreferenceText, IsReadBackByQSettings) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"lumvik.conf"_s);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(withPreferences({}, {{u"key"_s, GetParam()}, {u"next"_s, u"1"_s}}));
    file.close();
    const QSettings settings(path, QSettings::IniFormat);
    EXPECT_EQ(settings.status(), QSettings::NoError);
    EXPECT_EQ(settings.value(u"key"_s).toString(), GetParam());
    EXPECT_EQ(settings.value(u"key"_s).typeId(), QMetaType::QString);
    EXPECT_EQ(settings.value(u"next"_s).toString(), u"1"_s);
}

INSTANTIATE_TEST_SUITE_P(All, PreferenceText,
                         testing::Values(u""_s, u"7"_s, u"true"_s, u"31 17 640 360 0 0 800 800"_s,
                                         u"{{1, 2}, {3, 4}}"_s, u"2026-11-21T22:59:58.250Z"_s,
                                         u" surrounding "_s, u"a;b=c"_s,
                                         u"\"quoted\" \\ back\\slash\\n"_s,
                                         u"two\nlines\r\tand\u0001f"_s, u"Tür 😀"_s,
                                         u"@Variant(x)"_s, u"@@"_s, u"@Invalid()"_s, u"[General]"_s,
                                         u"%20"_s, u"a, b"_s, u"end\\"_s));

} // namespace
} // namespace lumvik
