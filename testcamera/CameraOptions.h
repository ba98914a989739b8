#pragma once

#include "testcamera/VideoCodec.h"

#include <QSize>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <tl/expected.hpp>

namespace lumvik::test {

/// What the test camera was asked to be on its command line.
struct CameraOptions {
    QString address = QStringLiteral("127.0.0.1");
    /// 0 takes any free port.
    std::uint16_t port = 8554;
    QString path = QStringLiteral("/front");
    QString name = QStringLiteral("Front");
    QSize size{1280, 720};
    int framesPerSecond = 25;
    /// Frames from one key frame to the next.
    int keyFrameInterval = 25;
    VideoCodec codec = VideoCodec::H264;
    /// Empty: everybody may watch.
    QString user;
    QString password;
    bool clockPattern = false;
    /// End when standard input ends; otherwise the camera serves on without commands.
    bool exitWithStandardInput = false;
    bool showHelp = false;
};

/// Reads the command line, program name first; the error is a sentence for the user.
[[nodiscard]] tl::expected<CameraOptions, QString> parseOptions(const QStringList &arguments);

/// The text for --help.
[[nodiscard]] QString optionsHelp();

/// A size such as 1280x720: even, from 64x64 to 4096x2304.
[[nodiscard]] tl::expected<QSize, QString> parseSize(const QString &text);

[[nodiscard]] tl::expected<VideoCodec, QString> parseCodec(const QString &text);

} // namespace lumvik::test
