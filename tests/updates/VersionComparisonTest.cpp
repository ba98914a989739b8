#include "updates/VersionComparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <ostream>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();

TEST(DecimalInteger, ConsistsOfDigitsAndAtMostOneSign) {
    EXPECT_EQ(decimalInteger(u"7"), 7);
    EXPECT_EQ(decimalInteger(u"007"), 7);
    EXPECT_EQ(decimalInteger(u"-7"), -7);
    EXPECT_EQ(decimalInteger(u"+7"), 7);
    for (const QStringView text : {u"", u"+", u"-", u"+-7", u"-+7", u"++7", u" 7", u"7 ", u"7\n",
                                   u"7.0", u"0x7", u"7a", u"seven", u"٧", u"７"})
        EXPECT_EQ(decimalInteger(text), std::nullopt) << text.toUtf8().constData();
    EXPECT_EQ(decimalInteger(u"7"_s + QChar(u'\0')), std::nullopt);
}

TEST(DecimalInteger, MustFitIntoSixtyFourBits) {
    EXPECT_EQ(decimalInteger(u"9223372036854775807"), largest);
    EXPECT_EQ(decimalInteger(u"-9223372036854775808"), smallest);
    EXPECT_EQ(decimalInteger(u"9223372036854775808"), std::nullopt);
    EXPECT_EQ(decimalInteger(u"-9223372036854775809"), std::nullopt);
    EXPECT_EQ(decimalInteger(QString(10'000, u'9')), std::nullopt);
}

TEST(NumericVersionParts, AreTheNumbersBetweenTheDots) {
    EXPECT_THAT(numericVersionParts(u"1.4.2"_s), ElementsAre(1, 4, 2));
    EXPECT_THAT(numericVersionParts(u"7"_s), ElementsAre(7));
    EXPECT_THAT(numericVersionParts(u"1.2.3.4.5.6.7.8"_s), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(numericVersionParts(u"01.004"_s), ElementsAre(1, 4));
}

TEST(NumericVersionParts, TextWithoutPiecesHasNoNumbers) {
    EXPECT_THAT(numericVersionParts(QString()), IsEmpty());
    EXPECT_THAT(numericVersionParts(u""_s), IsEmpty());
    EXPECT_THAT(numericVersionParts(u"..."_s), IsEmpty());
}

TEST(NumericVersionParts, EmptyPiecesAreSkipped) {
    EXPECT_THAT(numericVersionParts(u".1..2."_s), ElementsAre(1, 2));
}

TEST(NumericVersionParts, OnlyTheLeadingDigitsOfAPieceCount) {
    EXPECT_THAT(numericVersionParts(u"4rc1.2-beta.3 "_s), ElementsAre(4, 2, 3));
    EXPECT_THAT(numericVersionParts(u"1e3.0x10"_s), ElementsAre(1, 0));
}

TEST(NumericVersionParts, PieceWithoutALeadingNumberCountsAsZero) {
    EXPECT_THAT(numericVersionParts(u"v1.beta.-2.+3. 4.2"_s), ElementsAre(0, 0, 0, 0, 0, 2));
}

TEST(NumericVersionParts, PieceWithDigitsOfOtherScriptsCountsAsZero) {
    EXPECT_THAT(numericVersionParts(u"٧.７.1"_s), ElementsAre(0, 0, 1));
    EXPECT_THAT(numericVersionParts(u"1٧.2½.3Ⅳ.4\U0001D7D8"_s), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(numericVersionParts(u"1x٧"_s), ElementsAre(1));
}

TEST(NumericVersionParts, NumberBeyondSixtyFourBitsCountsAsZero) {
    EXPECT_THAT(numericVersionParts(u"9223372036854775807.9223372036854775808"_s),
                ElementsAre(largest, 0));
    EXPECT_THAT(numericVersionParts(u"1."_s + QString(60'000, u'9')), ElementsAre(1, 0));
}

TEST(NumericVersionParts, UnpairedSurrogateEndsTheNumber) {
    EXPECT_THAT(numericVersionParts(u"12"_s + QChar(0xD835) + u".3"_s), ElementsAre(12, 3));
}

struct VersionPair {
    QString first;
    QString second;

    friend void PrintTo(const VersionPair &pair, std::ostream *stream) {
        *stream << '"' << pair.first.toStdString() << "\" and \"" << pair.second.toStdString()
                << '"';
    }
};

class EarlierVersion : public testing::TestWithParam<VersionPair> {};

TEST_P(EarlierVersion, ComparesAsLess) {
    const auto &[earlier, later] = GetParam();
    EXPECT_EQ(compareVersions(earlier, later), std::strong_ordering::less);
    EXPECT_EQ(compareVersions(later, earlier), std::strong_ordering::greater);
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, EarlierVersion,
    testing::Values(VersionPair{u"1.9"_s, u"1.10"_s}, VersionPair{u"1.4.9"_s, u"1.5"_s},
                    VersionPair{u"1.2"_s, u"1.2.0.1"_s}, VersionPair{u"0"_s, u"0.0.0.1"_s},
                    VersionPair{u""_s, u"0.1"_s}, VersionPair{u"1.99"_s, u"2"_s},
                    VersionPair{u"1.2beta"_s, u"1.3alpha"_s},
                    VersionPair{u"1.9"_s, u"1.9223372036854775807"_s},
                    VersionPair{u"1.9223372036854775808"_s, u"1.1"_s}));

class EquivalentVersions : public testing::TestWithParam<VersionPair> {};

TEST_P(EquivalentVersions, CompareAsEqual) {
    const auto &[one, other] = GetParam();
    EXPECT_EQ(compareVersions(one, other), std::strong_ordering::equal);
    EXPECT_EQ(compareVersions(other, one), std::strong_ordering::equal);
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, EquivalentVersions,
    testing::Values(VersionPair{u"1.2"_s, u"1.2.0"_s}, VersionPair{u"1.2"_s, u"1.2"_s},
                    VersionPair{u"1.02"_s, u"1.2"_s}, VersionPair{u"1..2"_s, u"1.2"_s},
                    VersionPair{u""_s, u"0.0.0"_s}, VersionPair{u"1.2rc1"_s, u"1.2"_s},
                    VersionPair{u"unknown"_s, u"0"_s}));

} // namespace
} // namespace lumvik::test
