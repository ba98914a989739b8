#include "updates/LumvikUpdateService.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

LumvikUpdateManifest manifest(const QString &version, std::int64_t build) {
    return {.version = version, .build = build, .downloadPage = u"https://a.example/lumvik"_s};
}

bool isOffered(const QString &version, std::int64_t build, const InstalledVersion &installed) {
    const LumvikUpdateManifest offered = manifest(version, build);
    const LumvikUpdateCheckResult result = updateCheckResult(offered, installed);
    EXPECT_EQ(result.available.value_or(offered), offered);
    return result.available.has_value();
}

TEST(UpdateCheckResult, SameVersionAndBuildIsCurrent) {
    EXPECT_FALSE(isOffered(u"1.5"_s, 7, {u"1.5"_s, u"7"_s}));
    EXPECT_FALSE(isOffered(u"1.5.0"_s, 7, {u"1.5"_s, u"7"_s}));
}

TEST(UpdateCheckResult, HigherBuildOfTheSameVersionIsAvailable) {
    EXPECT_TRUE(isOffered(u"1.5"_s, 7, {u"1.5"_s, u"6"_s}));
    EXPECT_FALSE(isOffered(u"1.5"_s, 7, {u"1.5"_s, u"8"_s}));
}

TEST(UpdateCheckResult, EarlierVersionIsNeverAvailable) {
    EXPECT_FALSE(isOffered(u"1.4.9"_s, 999, {u"1.5"_s, u"1"_s}));
}

TEST(UpdateCheckResult, LaterVersionIsAvailableWhateverTheBuilds) {
    EXPECT_TRUE(isOffered(u"1.10"_s, 1, {u"1.9"_s, u"999"_s}));
}

TEST(UpdateCheckResult, MissingVersionCountsAsZero) {
    EXPECT_TRUE(isOffered(u"0.0.1"_s, 1, {}));
    EXPECT_TRUE(isOffered(u"0.0"_s, 1, {}));
    EXPECT_FALSE(isOffered(u"0.0"_s, 1, {QString(), u"1"_s}));
}

TEST(UpdateCheckResult, BuildThatIsNotANumberCountsAsZero) {
    for (const QString &build : {u"seven"_s, u"7.0"_s, u" 7"_s, u"9223372036854775808"_s, u""_s})
        EXPECT_TRUE(isOffered(u"1.5"_s, 1, {u"1.5"_s, build})) << qPrintable(build);
    EXPECT_FALSE(isOffered(u"1.5"_s, 7, {u"1.5"_s, u"+7"_s}));
    EXPECT_TRUE(isOffered(u"1.5"_s, 1, {u"1.5"_s, u"-1"_s}));
}

TEST(UpdateCheckResult, BuildsAreComparedInSixtyFourBits) {
    EXPECT_TRUE(isOffered(u"1.5"_s, std::numeric_limits<std::int64_t>::max(),
                          {u"1.5"_s, u"9223372036854775806"_s}));
    EXPECT_FALSE(isOffered(u"1.5"_s, 9007199254740992, {u"1.5"_s, u"9007199254740993"_s}));
}

TEST(RunningVersion, CanBeComparedWithAManifest) {
    const InstalledVersion running = LumvikUpdateSettings::runningVersion();
    EXPECT_GE(running.buildNumber(), 1);
    EXPECT_TRUE(isOffered(running.versionText() + u".1"_s, 1, running));
    EXPECT_FALSE(isOffered(running.versionText(), running.buildNumber(), running));
}

} // namespace
} // namespace lumvik::test
