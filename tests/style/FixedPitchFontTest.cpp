#include "style/FixedPitchFont.h"

#include "style/Symbols.h"

#include <QFontDatabase>
#include <QFontMetricsF>

#include <gtest/gtest.h>

#include <optional>

namespace lumvik {
namespace {

/// Returns a font of an installed family whose letters i and W have the same width, or have not.
std::optional<QFont> installedFont(bool hasEqualWidths) {
    for (const QString &family : QFontDatabase::families()) {
        QFont font(family);
        font.setPixelSize(12);
        const QFontMetricsF metrics(font);
        if (metrics.inFont(QLatin1Char('i')) &&
            (metrics.horizontalAdvance(QLatin1Char('i')) ==
             metrics.horizontalAdvance(QLatin1Char('W'))) == hasEqualWidths)
            return font;
    }
    return std::nullopt;
}

TEST(FixedPitchFont, OfTheDesktopIsUsedIfItHasAFixedPitch) {
    const auto fixed = installedFont(true);
    if (!fixed)
        GTEST_SKIP() << "no monospaced font is installed";
    EXPECT_TRUE(isFixedPitch(*fixed)) << qPrintable(fixed->family());
    const QFont chosen = fixedPitchFont(*fixed, 12, 13);
    EXPECT_EQ(chosen.family(), fixed->family());
    EXPECT_EQ(chosen.pixelSize(), 12);
}

TEST(FixedPitchFont, IsReplacedIfItHasLettersOfDifferentWidths) {
    const auto proportional = installedFont(false);
    if (!proportional)
        GTEST_SKIP() << "no proportional font is installed";
    EXPECT_FALSE(isFixedPitch(*proportional)) << qPrintable(proportional->family());
    EXPECT_EQ(fixedPitchFont(*proportional, 12, 13), systemFont(13, QFont::Normal));
}

TEST(FixedPitchFont, ThatOnlyClaimsToHaveAFixedPitchIsReplaced) {
    const auto proportional = installedFont(false);
    if (!proportional)
        GTEST_SKIP() << "no proportional font is installed";
    QFont claimed = *proportional;
    claimed.setFixedPitch(true);
    claimed.setStyleHint(QFont::Monospace);
    const QFontMetricsF metrics(claimed);
    if (metrics.horizontalAdvance(QLatin1Char('i')) == metrics.horizontalAdvance(QLatin1Char('W')))
        GTEST_SKIP() << "the font was replaced by a monospaced one";
    EXPECT_FALSE(isFixedPitch(claimed));
}

} // namespace
} // namespace lumvik
