#include "updates/LumvikUpdateManifest.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

constexpr const char *page = "https://updates.example/lumvik";

QByteArray json(const QByteArray &version, const QByteArray &build,
                const QByteArray &downloadPage = '"' + QByteArray(page) + '"') {
    return R"({"version": )" + version + R"(, "build": )" + build + R"(, "downloadPage": )" +
           downloadPage + "}";
}

std::optional<std::int64_t> decodedBuild(const QByteArray &build) {
    const auto manifest = decodeUpdateManifest(json(R"("1.4")", build));
    return manifest ? std::optional(manifest->build) : std::nullopt;
}

void expectSentence(const tl::expected<LumvikUpdateManifest, QString> &decoded,
                    const QByteArray &input) {
    ASSERT_FALSE(decoded) << input.constData();
    EXPECT_TRUE(decoded.error().startsWith(u"The update information ")) << input.constData();
    EXPECT_TRUE(decoded.error().endsWith(u'.')) << input.constData();
}

TEST(ManifestDecoding, ReadsAllThreeValues) {
    const auto manifest = decodeUpdateManifest(json(R"("1.4.2")", "7"));
    ASSERT_TRUE(manifest);
    EXPECT_EQ(*manifest, (LumvikUpdateManifest{u"1.4.2"_s, 7, QString::fromLatin1(page)}));
    EXPECT_EQ(manifest->downloadUrl(), QUrl(QString::fromLatin1(page)));
}

TEST(ManifestDecoding, IgnoresOtherKeysAndWhitespace) {
    const QByteArray text = " \n\t{\"notes\": [1, {\"build\": 2}], \"build\" :7, \"Version\": 3, "
                            "\"downloadPage\": \"x\", \"version\": \"1.4\"}\r\n  ";
    const auto manifest = decodeUpdateManifest(text);
    ASSERT_TRUE(manifest);
    EXPECT_EQ(*manifest, (LumvikUpdateManifest{u"1.4"_s, 7, u"x"_s}));
}

TEST(ManifestDecoding, RefusesInvalidJson) {
    for (const QByteArray &input :
         {QByteArray(), QByteArray("   "), QByteArray("<html></html>"), QByteArray("{"),
          json(R"("1.4")", "7").chopped(1), json(R"("1.4")", "7") + "x", json(R"("1.4")", "07"),
          json(R"("1.4")", "+7"), json(R"("1.4")", "0x7"), json(R"("1.4")", "NaN"),
          json(R"("1.4)", "7"), json("\"\xff\"", "7"), QByteArray(70'000, '[')})
        expectSentence(decodeUpdateManifest(input), input.left(80));
}

TEST(ManifestDecoding, RefusesInvalidJsonThatQtAccepts) {
    for (const QByteArray input : {"7.", ".5", "-.5", "7.e1", "[7.]"})
        expectSentence(decodeUpdateManifest(json(R"("1.4")", input)), input);
    for (const QByteArray &input :
         {QByteArray("\"1.4\n\""), QByteArray("\"1\t.4\""), QByteArray("\"1.4\0\"", 6),
          QByteArray(R"("\q")"), QByteArray(R"("1.4\")"), QByteArray(R"("\u12")")})
        expectSentence(decodeUpdateManifest(json(input, "7")), input);
}

TEST(ManifestDecoding, AcceptsDotsAndEscapeSequencesInStrings) {
    const auto manifest = decodeUpdateManifest(
        json(R"(".\"\\\/\b\f\n\r\t\u0034.")", "7", R"("https:\/\/updates.example\/lumvik")"));
    ASSERT_TRUE(manifest);
    EXPECT_EQ(manifest->version, u".\"\\/\b\f\n\r\t4."_s);
    EXPECT_EQ(manifest->downloadPage, QString::fromLatin1(page));
}

TEST(ManifestDecoding, RefusesJsonThatIsNotAnObject) {
    for (const QByteArray input : {"[]", "null", "7", "\"text\"", "true"})
        expectSentence(decodeUpdateManifest(input), input);
    const QByteArray array = '[' + json(R"("1.4")", "7") + ']';
    expectSentence(decodeUpdateManifest(array), array);
}

TEST(ManifestDecoding, RequiresEveryKey) {
    for (const QByteArray input :
         {R"({"build": 7, "downloadPage": "x"})", R"({"version": "1.4", "downloadPage": "x"})",
          R"({"version": "1.4", "build": 7})", "{}"})
        expectSentence(decodeUpdateManifest(input), input);
}

TEST(ManifestDecoding, ErrorNamesTheUnreadableKey) {
    EXPECT_TRUE(decodeUpdateManifest(json("7", "7")).error().contains(u"“version”"));
    EXPECT_TRUE(decodeUpdateManifest(json(R"("1")", "null")).error().contains(u"“build”"));
    EXPECT_TRUE(decodeUpdateManifest(json(R"("1")", "7", "7")).error().contains(u"“downloadPage”"));
}

TEST(ManifestDecoding, RequiresTheVersionToBeAString) {
    for (const QByteArray input : {"1.4", "14", "null", "true", "[]", "{}"})
        expectSentence(decodeUpdateManifest(json(input, "7")), input);
    // The content of the string is checked by validation, not by decoding.
    EXPECT_TRUE(decodeUpdateManifest(json(R"("")", "7")));
}

TEST(ManifestDecoding, RequiresTheBuildToBeAWholeNumber) {
    EXPECT_EQ(decodedBuild("7"), 7);
    EXPECT_EQ(decodedBuild("-7"), -7);
    EXPECT_EQ(decodedBuild("0"), 0);
    EXPECT_EQ(decodedBuild("7.0"), 7);
    EXPECT_EQ(decodedBuild("70e-1"), 7);
    EXPECT_EQ(decodedBuild("7e2"), 700);
    for (const QByteArray input : {"7.5", "\"7\"", "true", "false", "null", "[7]", "{}", "1e-300"})
        EXPECT_EQ(decodedBuild(input), std::nullopt) << input.constData();
}

TEST(ManifestDecoding, RequiresTheBuildToFitIntoSixtyFourBits) {
    EXPECT_EQ(decodedBuild("9007199254740993"), 9007199254740993);
    EXPECT_EQ(decodedBuild("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(decodedBuild("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    for (const QByteArray input :
         {"9223372036854775808", "-9223372036854777856", "1e30", "1e19", "-1e30", "1e400"})
        EXPECT_EQ(decodedBuild(input), std::nullopt) << input.constData();
}

TEST(ManifestDecoding, RequiresTheDownloadPageToBeAUrl) {
    for (const QByteArray input : {"\"lumvik\"", "\"//host/\"", "\"mailto:a@b.example\""})
        EXPECT_TRUE(decodeUpdateManifest(json(R"("1.4")", "7", input))) << input.constData();
    for (const QByteArray input : {"7", "null", "{}", "\"\"", "\"https://a b/\"", "\"https://[1\"",
                                   "\"https://a.example:port/\"", "\"https://a/%zz\""})
        expectSentence(decodeUpdateManifest(json(R"("1.4")", "7", input)), input);
}

// ---- Validation ----

const QString manifestHost = u"updates.example"_s;

tl::expected<void, ManifestFault> validated(const QString &version, std::int64_t build,
                                            const QString &downloadPage) {
    return validateUpdateManifest({version, build, downloadPage}, manifestHost);
}

/// An address that is printed as text, because GoogleTest would print a QString as numbers.
struct Page {
    QString address;

    friend void PrintTo(const Page &parameter, std::ostream *stream) {
        *stream << testing::PrintToString(parameter.address.toStdString());
    }
};

class DownloadPage : public testing::TestWithParam<Page> {};
class AcceptedDownloadPage : public DownloadPage {};
class RefusedDownloadPage : public DownloadPage {};

TEST_P(AcceptedDownloadPage, IsValid) {
    EXPECT_TRUE(validated(u"1.4"_s, 1, GetParam().address));
}

TEST_P(RefusedDownloadPage, IsReportedAsTheFault) {
    const auto result = validated(u"1.4"_s, 1, GetParam().address);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), ManifestFault::downloadPage);
}

// Only the scheme, the host and the path are checked.
INSTANTIATE_TEST_SUITE_P(Pages, AcceptedDownloadPage,
                         testing::Values(Page{u"https://updates.example/lumvik"_s},
                                         Page{u"https://updates.example/lumvik?from=check"_s},
                                         Page{u"https://updates.example/lumvik#new"_s},
                                         Page{u"https://updates.example:443/lumvik"_s},
                                         Page{u"https://user@updates.example/lumvik"_s}));

INSTANTIATE_TEST_SUITE_P(
    Pages, RefusedDownloadPage,
    testing::Values(
        Page{u""_s}, Page{u"/lumvik"_s}, Page{u"lumvik"_s}, Page{u"//updates.example/lumvik"_s},
        Page{u"https:/lumvik"_s}, Page{u"http://updates.example/lumvik"_s},
        Page{u"HTTPS://updates.example/lumvik"_s}, Page{u"httpss://updates.example/lumvik"_s},
        Page{u"file:///lumvik"_s}, Page{u"https://www.updates.example/lumvik"_s},
        Page{u"https://Updates.example/lumvik"_s}, Page{u"https://updates.example./lumvik"_s},
        Page{u"https://updates.example.evil.example/lumvik"_s},
        Page{u"https://updates.example@evil.example/lumvik"_s},
        Page{u"https://updates.example:x@evil.example/lumvik"_s},
        Page{u"https://evil.example#@updates.example/lumvik"_s},
        Page{u"https://evil.example\\@updates.example/lumvik"_s},
        Page{u"https://evil.example?@updates.example/lumvik"_s},
        Page{u"https://updates%2Eexample/lumvik"_s}, Page{u"https://updates.example"_s},
        Page{u"https://updates.example/"_s}, Page{u"https://updates.example/Lumvik"_s},
        Page{u"https://updates.example/lumvik/"_s}, Page{u"https://updates.example/lumvik/more"_s},
        Page{u"https://updates.example//lumvik"_s}, Page{u"https://updates.example/a/../lumvik"_s},
        Page{u"https://updates.example/%6Cumvik"_s}, Page{u"https://updates.example/lumvik;x"_s},
        Page{u" https://updates.example/lumvik"_s}, Page{u"https://updates.example/lumvik "_s},
        Page{u"https://updates.example/lumvik\n"_s},
        Page{u"javascript:https://updates.example/lumvik"_s}));

TEST(ManifestValidation, RequiresTheBuildToBeAtLeastOne) {
    const QString good = QString::fromLatin1(page);
    EXPECT_TRUE(validated(u"1.2.3.4"_s, 1, good));
    EXPECT_TRUE(validated(u"1.2"_s, std::numeric_limits<std::int64_t>::max(), good));
    for (const std::int64_t build :
         {std::int64_t(0), std::int64_t(-1), std::numeric_limits<std::int64_t>::min()})
        EXPECT_EQ(validated(u"1.4"_s, build, good).error(), ManifestFault::build) << build;
}

TEST(ManifestValidation, RequiresTheVersionToHaveTwoToFourNumbers) {
    const QString good = QString::fromLatin1(page);
    for (const QString &version : {u"1.4"_s, u"1.4.2"_s, u"1.2.3.4"_s, u"0.0"_s, u"01.002"_s,
                                   u"1."_s + QString(60'000, u'9')})
        EXPECT_TRUE(validated(version, 1, good)) << qPrintable(version.left(40));
    for (const QString &version : {u""_s,          u"2"_s,
                                   u"1.2.3.4.5"_s, u"1."_s,
                                   u".1"_s,        u"1..2"_s,
                                   u"1.2."_s,      u"1.x"_s,
                                   u"v1.2"_s,      u"1.2b"_s,
                                   u" 1.2"_s,      u"1.2 "_s,
                                   u"1.2\n"_s,     u"1.2\r\n"_s,
                                   u"1.2\n3.4"_s,  u"-1.2"_s,
                                   u"+1.2"_s,      u"1,2"_s,
                                   u"١.٢"_s,       u"１.２"_s,
                                   u"1.2\u200d"_s, u"1.2"_s + QChar(u'\0')})
        EXPECT_EQ(validated(version, 1, good).error(), ManifestFault::version)
            << qPrintable(version);
}

TEST(ManifestValidation, ReportsTheFirstFault) {
    EXPECT_EQ(validated(u"2"_s, 0, u"x"_s).error(), ManifestFault::downloadPage);
    EXPECT_EQ(validated(u"2"_s, 0, QString::fromLatin1(page)).error(), ManifestFault::build);
}

TEST(ManifestValidation, RequiresTheGivenHost) {
    const LumvikUpdateManifest manifest{u"1.4"_s, 1, u"https://other.example/lumvik"_s};
    EXPECT_TRUE(validateUpdateManifest(manifest, u"other.example"_s));
    EXPECT_FALSE(validateUpdateManifest(manifest, manifestHost));
    EXPECT_FALSE(validateUpdateManifest(manifest, QString()));
}

} // namespace
} // namespace lumvik::test
