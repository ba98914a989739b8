#pragma once

#include "testcamera/VideoCodec.h"

#include <QSize>
#include <QString>

#include <tl/expected.hpp>
#include <variant>

namespace lumvik::test {

/// The commands that the test camera accepts on standard input.
namespace CameraCommand {

/// Connections stay open, but no more frames are sent.
struct Freeze {};
/// Frames are sent again after Freeze, starting with the present picture.
struct Thaw {};
/// Every stream ends in an orderly way. Clients that connect later are served.
struct End {};
/// Every connection is closed. Clients that connect later are served.
struct Drop {
    /// `Orderly` sends FIN, and `Reset` sends RST.
    enum class Manner { Orderly, Reset };
    Manner manner = Manner::Orderly;
};
/// Connections are closed, and new connections are refused.
struct Refuse {};
/// The camera listens again after Refuse, on the same port.
struct Accept {};
/// Connections are closed. New connections are accepted but never get a reply.
struct Silent {};
/// New connections are served again after Silent. Connections accepted in the meantime are closed.
struct Speak {};
/// Connections are closed. New connections are closed when they start to play, before the first
/// picture.
struct HangUp {};
/// Clients that start to play are served again after HangUp.
struct Stay {};
/// The picture has the given size from the next frame on, even for clients that are already
/// playing.
struct Resize {
    QSize size;
};
/// Players are told to turn the picture clockwise by 0, 90, 180 or 270 degrees.
struct Rotate {
    int degrees = 0;
};
/// Clients that connect later get a stream in the given codec.
struct UseCodec {
    VideoCodec codec = VideoCodec::H264;
};
/// Each connection carries only so many bytes a second, like a slow network. What does not fit
/// waits in the camera. 0 removes the limit.
struct Throttle {
    int bytesPerSecond = 0;
};
/// From now on, there are so many pictures a second.
struct ChangeRate {
    double picturesPerSecond = 0;
};
/// The time stamps of all streams jump by this much, like those of a camera whose clock was set.
struct JumpClock {
    double seconds = 0;
};
/// Asks how many connections there are.
struct Clients {};
/// Asks for the number of playing connections, the highest number of connections that have played
/// at once, and the number of play requests.
struct Streams {};
/// Asks how many logins were refused so far, and whether the camera is locked.
struct Refusals {};
/// Asks for the address of ONVIF's device service.
struct Onvif {};
struct Quit {};

} // namespace CameraCommand

using AnyCameraCommand =
    std::variant<CameraCommand::Freeze, CameraCommand::Thaw, CameraCommand::End,
                 CameraCommand::Drop, CameraCommand::Refuse, CameraCommand::Accept,
                 CameraCommand::Silent, CameraCommand::Speak, CameraCommand::HangUp,
                 CameraCommand::Stay, CameraCommand::Resize, CameraCommand::Rotate,
                 CameraCommand::UseCodec, CameraCommand::Throttle, CameraCommand::ChangeRate,
                 CameraCommand::JumpClock, CameraCommand::Clients, CameraCommand::Streams,
                 CameraCommand::Refusals, CameraCommand::Onvif, CameraCommand::Quit>;

/// Parses one line. The error describes what is wrong with the line.
[[nodiscard]] tl::expected<AnyCameraCommand, QString> parseCommand(const QString &line);

} // namespace lumvik::test
