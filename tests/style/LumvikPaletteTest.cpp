#include "style/LumvikPalette.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

TEST(LumvikPalette, AccentColourIsAnOpaqueWarmRed) {
    EXPECT_EQ(LumvikPalette::mirel().spec(), QColor::Rgb);
    EXPECT_EQ(LumvikPalette::mirel(), QColor(203, 93, 82, 255));
}

} // namespace
} // namespace lumvik
