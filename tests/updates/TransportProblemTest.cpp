#include "updates/TransportProblem.h"

#include <QMetaEnum>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

TEST(TransportProblem, TheToolkitsWordsBecomeASentence) {
    constexpr auto kind = QNetworkReply::UnknownNetworkError;
    EXPECT_EQ(transportProblem(kind, u"network unreachable"_s), u"Network unreachable."_s);
    EXPECT_EQ(transportProblem(kind, u" a\n  b. "_s), u"A b."_s);
    EXPECT_EQ(transportProblem(kind, u"really?"_s), u"Really?"_s);
}

TEST(TransportProblem, WithoutAnyWordsThereIsASentenceAllTheSame) {
    EXPECT_EQ(transportProblem(QNetworkReply::UnknownNetworkError, {}),
              u"The update server could not be reached."_s);
}

TEST(TransportProblem, EveryKindGivesASentence) {
    const QMetaEnum kinds = QMetaEnum::fromType<QNetworkReply::NetworkError>();
    for (int n = 0; n < kinds.keyCount(); ++n) {
        const auto kind = static_cast<QNetworkReply::NetworkError>(kinds.value(n));
        for (const QString &words : {QString(), u"some words"_s}) {
            const QString text = transportProblem(kind, words);
            EXPECT_TRUE(text.front().isUpper() && text.endsWith(u'.')) << kinds.key(n);
        }
    }
}

} // namespace
} // namespace lumvik::test
