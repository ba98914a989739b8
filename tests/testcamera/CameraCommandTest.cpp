#include "testcamera/CameraCommand.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

TEST(CameraCommand, EveryCommandIsParsed) {
    for (const char *line : {"freeze",     "thaw",
                             "end",        "drop",
                             "drop reset", "refuse",
                             "accept",     "silent",
                             "speak",      "size 640x360",
                             "rotate 0",   "rotate 270",
                             "codec h265", "hangup",
                             "stay",       "clients",
                             "streams",    "refusals",
                             "onvif",      "throttle 0",
                             "fps 14.2",   "clock-jump -3.5",
                             "quit",       "  drop  reset "})
        EXPECT_TRUE(parseCommand(QLatin1String(line))) << line;
    const auto rotate = parseCommand(QStringLiteral("rotate 90"));
    ASSERT_TRUE(rotate);
    EXPECT_EQ(std::get<CameraCommand::Rotate>(*rotate).degrees, 90);
    const auto throttle = parseCommand(QStringLiteral("throttle 20000"));
    ASSERT_TRUE(throttle);
    EXPECT_EQ(std::get<CameraCommand::Throttle>(*throttle).bytesPerSecond, 20000);
    const auto rate = parseCommand(QStringLiteral("fps 14.2"));
    ASSERT_TRUE(rate);
    EXPECT_EQ(std::get<CameraCommand::ChangeRate>(*rate).picturesPerSecond, 14.2);
    const auto jump = parseCommand(QStringLiteral("clock-jump -3.5"));
    ASSERT_TRUE(jump);
    EXPECT_EQ(std::get<CameraCommand::JumpClock>(*jump).seconds, -3.5);
    const auto resize = parseCommand(QStringLiteral("size 704x576"));
    ASSERT_TRUE(resize);
    EXPECT_EQ(std::get<CameraCommand::Resize>(*resize).size, QSize(704, 576));
}

TEST(CameraCommand, InvalidCommandIsAnError) {
    for (const char *line : {"", "jump", "size", "size 1x1", "rotate", "rotate 45", "codec vp8",
                             "throttle", "throttle fast", "throttle -1", "fps", "fps 0", "fps many",
                             "clock-jump", "clock-jump 90000", "freeze now", "drop reset now"})
        EXPECT_FALSE(parseCommand(QLatin1String(line))) << line;
}

} // namespace
} // namespace lumvik::test
