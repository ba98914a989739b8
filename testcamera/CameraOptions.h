#pragma once

#include "testcamera/OnvifOptions.h"
#include "testcamera/VideoCodec.h"

#include <QSize>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <tl/expected.hpp>

namespace lumvik::test {

/// Which transports the camera accepts in SETUP. The camera refuses all others with status 461.
enum class StreamTransport { Any, Tcp, Udp };

/// The options of the test camera's command line.
struct CameraOptions {
    QString address = QStringLiteral("127.0.0.1");
    /// 0 selects any free port.
    std::uint16_t port = 8554;
    QString path = QStringLiteral("/front");
    QString name = QStringLiteral("Front");
    QSize size{1280, 720};
    int framesPerSecond = 25;
    /// The width and the height of one pixel, in any unit.
    QSize pixelRatio = QSize(1, 1);
    /// Frames from one key frame to the next.
    int keyFrameInterval = 25;
    /// The rate that the time stamps claim, in pictures a second; 0 if they are true.
    int stampedRate = 0;
    VideoCodec codec = VideoCodec::H264;
    StreamTransport transport = StreamTransport::Any;
    /// Empty when no password is required.
    QString user;
    QString password;
    /// The number of wrong passwords in a row that locks the camera; 0 never locks it.
    int lockAfter = 0;
    /// For how long the camera is then locked.
    int lockMinutes = 30;
    /// The number of seconds after the start during which all logins are refused.
    int refuseFirst = 0;
    OnvifOptions onvif;
    bool clockPattern = false;
    /// The least number of seconds that are encoded before the camera serves and then repeated. 0
    /// encodes each picture when it is sent.
    int encodedAhead = 0;
    /// Whether to exit when standard input ends. Otherwise the camera keeps serving without
    /// commands.
    bool exitWithStandardInput = false;
    bool showHelp = false;
};

/// Parses the command line, including the program name. The error is a message for the user.
[[nodiscard]] tl::expected<CameraOptions, QString> parseOptions(const QStringList &arguments);

/// Returns the text for --help.
[[nodiscard]] QString optionsHelp();

/// Parses a size such as 1280x720. Width and height must be even, from 64x64 to 4096x2304.
[[nodiscard]] tl::expected<QSize, QString> parseSize(const QString &text);

[[nodiscard]] tl::expected<VideoCodec, QString> parseCodec(const QString &text);

} // namespace lumvik::test
