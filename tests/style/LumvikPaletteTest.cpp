#include "style/LumvikPalette.h"

#include "style/Contrast.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

TEST(LumvikPalette, AccentColourIsAnOpaqueWarmRed) {
    EXPECT_EQ(LumvikPalette::mirel().spec(), QColor::Rgb);
    EXPECT_EQ(LumvikPalette::mirel(), QColor(203, 93, 82, 255));
}

TEST(LumvikPalette, WhiteTextIsEasyToReadOnTheShadeForText) {
    EXPECT_EQ(LumvikPalette::mirelBehindText().alpha(), 255);
    EXPECT_GE(contrast(Qt::white, LumvikPalette::mirelBehindText()), 4.5);
    EXPECT_LT(contrast(Qt::white, LumvikPalette::mirel()), 4.5)
        << "if the accent colour is dark enough, the shade is not needed";
}

TEST(LumvikPalette, ShadeForTextHasTheHueOfTheAccentColour) {
    EXPECT_NEAR(LumvikPalette::mirelBehindText().hslHue(), LumvikPalette::mirel().hslHue(), 2);
}

} // namespace
} // namespace lumvik
