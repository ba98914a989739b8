#pragma once

#include "testcamera/VideoCodec.h"

#include <QSize>
#include <QString>

#include <tl/expected.hpp>
#include <variant>

namespace lumvik::test {

/// What a line on standard input can ask the test camera to do.
namespace CameraCommand {

/// Connections stay, frames stop.
struct Freeze {};
/// Frames go on, with the present time.
struct Thaw {};
/// Every stream ends in order; later clients are served.
struct End {};
/// Every connection is closed; later clients are served.
struct Drop {
    /// Orderly sends FIN, Reset sends RST.
    enum class Manner { Orderly, Reset };
    Manner manner = Manner::Orderly;
};
/// Connections are closed and new ones refused.
struct Refuse {};
/// Listens again, on the same port.
struct Accept {};
/// Connections are closed; new ones are taken and never answered.
struct Silent {};
/// Answers again; the connections taken during the silence are closed.
struct Speak {};
/// Connections are closed; new ones may play and are closed then, before the first picture.
struct HangUp {};
/// Those that play are served again.
struct Stay {};
/// The picture has this size from the next frame on, for running clients too.
struct Resize {
    QSize size;
};
/// Players are told to turn the picture clockwise by 0, 90, 180 or 270 degrees.
struct Rotate {
    int degrees = 0;
};
/// The codec for the clients that come next.
struct UseCodec {
    VideoCodec codec = VideoCodec::H264;
};
/// Asks how many connections there are.
struct Clients {};
/// Asks how many connections play, how many ever did at once, and how many times one began to.
struct Streams {};
struct Quit {};

} // namespace CameraCommand

using AnyCameraCommand = std::variant<
    CameraCommand::Freeze, CameraCommand::Thaw, CameraCommand::End, CameraCommand::Drop,
    CameraCommand::Refuse, CameraCommand::Accept, CameraCommand::Silent, CameraCommand::Speak,
    CameraCommand::HangUp, CameraCommand::Stay, CameraCommand::Resize, CameraCommand::Rotate,
    CameraCommand::UseCodec, CameraCommand::Clients, CameraCommand::Streams, CameraCommand::Quit>;

/// Reads one line; the error says what is wrong with it.
[[nodiscard]] tl::expected<AnyCameraCommand, QString> parseCommand(const QString &line);

} // namespace lumvik::test
