#include "updates/TransferErrorText.h"

#include <QMetaEnum>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

TEST(TransferErrorText, DescriptionFromQtBecomesASentence) {
    constexpr auto kind = QNetworkReply::UnknownNetworkError;
    EXPECT_EQ(transferErrorText(kind, u"network unreachable"_s), u"Network unreachable."_s);
    EXPECT_EQ(transferErrorText(kind, u" a\n  b. "_s), u"A b."_s);
    EXPECT_EQ(transferErrorText(kind, u"really?"_s), u"Really?"_s);
}

TEST(TransferErrorText, MissingDescriptionYieldsAGeneralSentence) {
    EXPECT_EQ(transferErrorText(QNetworkReply::UnknownNetworkError, {}),
              u"The update server could not be reached."_s);
}

TEST(TransferErrorText, EveryErrorYieldsASentence) {
    const QMetaEnum kinds = QMetaEnum::fromType<QNetworkReply::NetworkError>();
    for (int n = 0; n < kinds.keyCount(); ++n) {
        const auto kind = static_cast<QNetworkReply::NetworkError>(kinds.value(n));
        for (const QString &words : {QString(), u"some words"_s}) {
            const QString text = transferErrorText(kind, words);
            EXPECT_TRUE(text.front().isUpper() && text.endsWith(u'.')) << kinds.key(n);
        }
    }
}

} // namespace
} // namespace lumvik::test
