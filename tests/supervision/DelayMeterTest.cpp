#include "supervision/DelayMeter.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

/// Feeds the meter with pictures of which each is shown `delay` seconds after its arrival, and
/// reports the arrivals a quarter of a second late, like the link.
void feed(DelayMeter &meter, double from, int pictures, double interval, double delay) {
    for (int picture = 0; picture < pictures; ++picture) {
        meter.frameWasShown(from + picture * interval + delay);
        const int reported = picture - 6;
        if (reported >= 0)
            meter.pictureArrived(from + reported * interval);
    }
}

TEST(DelayMeter, KnowsNothingAtFirst) {
    DelayMeter meter;
    EXPECT_FALSE(meter.median());
    feed(meter, 100, 8, 0.04, 0.01);
    EXPECT_FALSE(meter.median()) << "two arrivals were reported";
}

TEST(DelayMeter, MeasuresTheDelayBelowAnInterval) {
    for (const double delay : {0.0, 0.003, 0.02, 0.039}) {
        DelayMeter meter;
        feed(meter, 100, 200, 0.04, delay);
        ASSERT_TRUE(meter.median());
        EXPECT_NEAR(*meter.median(), delay, 1e-6);
    }
}

TEST(DelayMeter, SlowCamerasMayBeDelayedForLonger) {
    DelayMeter meter;
    for (int picture = 0; picture < 20; ++picture) {
        meter.pictureArrived(100.0 + picture);
        meter.frameWasShown(100.4 + picture);
    }
    EXPECT_NEAR(meter.median().value_or(-1), 0.4, 1e-6);
}

TEST(DelayMeter, FewSlowPicturesDoNotCount) {
    DelayMeter meter;
    for (int picture = 0; picture < 50; ++picture) {
        const double arrival = 100 + picture * 0.04;
        meter.pictureArrived(arrival);
        meter.frameWasShown(arrival + (picture % 10 == 0 ? 0.035 : 0.006));
    }
    EXPECT_NEAR(meter.median().value_or(-1), 0.006, 1e-6);
}

TEST(DelayMeter, ForgetsWhatIsOld) {
    DelayMeter meter;
    feed(meter, 100, 100, 0.04, 0.03);
    feed(meter, 110, 100, 0.04, 0.01);
    EXPECT_NEAR(meter.median().value_or(-1), 0.01, 1e-6);
}

} // namespace
} // namespace lumvik::test
