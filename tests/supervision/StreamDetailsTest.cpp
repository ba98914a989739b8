#include "supervision/StreamDetails.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

const QDate today(2026, 3, 9);

QString value(const StreamDetails &details, const QString &label) {
    for (const StreamDetailsRow &row : streamDetailsRows(details, today)) {
        if (row.label == label)
            return row.value;
    }
    ADD_FAILURE() << "no row " << qPrintable(label);
    return {};
}

TEST(StreamDetails, UnknownValuesHaveADash) {
    for (const QString &label : {u"Camera"_s, u"Host"_s, u"Picture"_s, u"Codec"_s, u"Resolution"_s,
                                 u"Frame rate"_s, u"Bit rate"_s, u"Decoder"_s, u"Renderer"_s,
                                 u"Arrival to screen"_s, u"Lateness"_s, u"Playing for"_s})
        EXPECT_EQ(value({}, label), u"–"_s) << qPrintable(label);
    EXPECT_EQ(value({}, u"Recoveries today"_s), u"0"_s);
    EXPECT_EQ(value({}, u"Last recovery"_s), u"none"_s);
}

TEST(StreamDetails, ValuesHaveTheirUnits) {
    const StreamDetails details{.camera = u"Front Door"_s,
                                .host = u"192.0.2.7"_s,
                                .port = 554,
                                .state = u"Live"_s,
                                .codec = u"h264"_s,
                                .size = {1280, 720},
                                .decoder = u"software"_s,
                                .renderer = u"OpenGL"_s,
                                .picturesPerSecond = 24.96,
                                .bitsPerSecond = 1'840'000,
                                .delay = 0.0064,
                                .lateness = 1.84,
                                .uptime = 3725,
                                .recoveriesToday = 3,
                                .lastRecovery = u"no first video frame"_s,
                                .lastRecoveryTime = QDateTime(today, QTime(17, 3, 5))};
    EXPECT_EQ(value(details, u"Host"_s), u"192.0.2.7:554"_s);
    EXPECT_EQ(value(details, u"Resolution"_s), u"1280 × 720"_s);
    EXPECT_EQ(value(details, u"Frame rate"_s), u"25.0 fps"_s);
    EXPECT_EQ(value(details, u"Bit rate"_s), u"1.8 Mbit/s"_s);
    EXPECT_EQ(value(details, u"Arrival to screen"_s), u"6 ms"_s);
    EXPECT_EQ(value(details, u"Lateness"_s), u"1.8 s"_s);
    EXPECT_EQ(value(details, u"Playing for"_s), u"1:02:05"_s);
    EXPECT_EQ(value(details, u"Recoveries today"_s), u"3"_s);
    EXPECT_EQ(value(details, u"Last recovery"_s), u"17:03:05, no first video frame"_s);
}

TEST(StreamDetails, ValuesOfEveryMagnitudeAreReadable) {
    EXPECT_EQ(value({.host = u"2001:db8::7"_s, .port = 8554}, u"Host"_s), u"[2001:db8::7]:8554"_s);
    EXPECT_EQ(value({.bitsPerSecond = 311'200}, u"Bit rate"_s), u"311 kbit/s"_s);
    EXPECT_EQ(value({.lateness = 0.04}, u"Lateness"_s), u"none"_s) << "jitter";
    EXPECT_EQ(value({.uptime = 59.9}, u"Playing for"_s), u"0:00:59"_s);
    EXPECT_EQ(value({.uptime = 2 * 86400 + 3 * 3600 + 4 * 60 + 5}, u"Playing for"_s),
              u"2 d 3:04:05"_s);
    EXPECT_EQ(value({.lastRecovery = u"system wake"_s,
                     .lastRecoveryTime = QDateTime(today.addDays(-1), QTime(17, 3, 5))},
                    u"Last recovery"_s),
              u"8 March 17:03:05, system wake"_s);
}

TEST(StreamDetails, DiagnosisHasRowsVersionsAndLog) {
    EXPECT_EQ(diagnosisText({{u"Camera"_s, u"Yard"_s}}, {{u"Lumvik"_s, u"1.5 (7)"_s}},
                            {u"one"_s, u"two"_s}),
              u"Camera: Yard\n\nLumvik: 1.5 (7)\n\none\ntwo\n"_s);
}

} // namespace
} // namespace lumvik::test
